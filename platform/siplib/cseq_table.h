// The last CSeq number of every dialog and would-be dialog (RFC 3261 sections 8.1.1.5 and 12.2.1.1).
//
// Thread   any; one lock of its own.
// Memory   bounded: beyond `capacity` the entry used longest ago goes. What comes after it for that dialog is
//          still higher than all it has had, because new entries then start above every number ever dropped.
#ifndef SIPLIB_CSEQ_TABLE_H_INCLUDED
#define SIPLIB_CSEQ_TABLE_H_INCLUDED

#include <cstdint>
#include <list>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>

namespace siplib {

// What numbers a request: the Call-ID and the two tags; the remote one is empty before the first response.
struct DialogKey {
    std::string_view call_id, local_tag, remote_tag;
};

class CSeqTable {
public:
    explicit CSeqTable(std::size_t capacity) : capacity_(capacity) {}

    // The next number. A dialog that has just got its remote tag goes on where it was without one.
    std::uint32_t next(const DialogKey& key);

    // The caller has set a number himself: later ones are higher.
    void note(const DialogKey& key, std::uint32_t number);

private:
    struct Entry {
        std::string key;
        std::uint32_t number;
    };
    Entry& touch(const DialogKey& key);
    void drop_oldest();

    const std::size_t capacity_;
    std::mutex mutex_;
    std::list<Entry> entries_; // the one used last in front
    std::unordered_map<std::string_view, std::list<Entry>::iterator> index_;
    std::uint32_t floor_ = 0;
    std::string joined_; // the key that is looked for; keeps its memory
};

} // namespace siplib

#endif
