// The configuration store: the documents of a directory, held parsed, changed only through their files.
//
// Thread   one at a time.
// Memory   the parsed documents (some ten times their files); MAX_DOCUMENTS of them at most.
// Errors   come back as false; why a request or a file was refused is logged here, once.
//
// What is in memory always equals a file that was whole. A file that was broken by its editor leaves the
// last good version readable, and cannot be changed through SET until it is mended or removed.
#ifndef IMSFWKD_STORE_H_INCLUDED
#define IMSFWKD_STORE_H_INCLUDED

#include "daemons/imsfwkd/document.h"
#include "daemons/imsfwkd/store_dir.h"

#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace imsfwkd {

constexpr std::size_t MAX_DOCUMENTS = 256;

// What has to be announced: never without a path.
struct Change {
    std::string document;
    std::vector<std::string> paths;
};

class Store {
public:
    explicit Store(std::string directory) : dir_(std::move(directory)) {}

    // Takes the directory; the documents are not read yet. False: it is missing or served by another
    // daemon.
    bool open(std::string& why);

    // Reads one document more; true while there may be another. Documents that are there at the start are
    // not announced. get() and set() read theirs themselves if it has not had its turn.
    bool load_next();
    bool is_loaded() const { return loaded_; }

    const std::string& directory() const { return dir_.path(); }

    // The text of the first node at `xpath`, see Document::get.
    bool get(const std::string& document, const std::string& xpath, std::string& value);

    // Changes the document, see Document::with. True: on the disk, and what get() gives from now on.
    // Setting what is there already is true without a write.
    bool set(const std::string& document, const std::string& xpath, const std::string& value);

    // A file has appeared, changed or gone: reads it. What GET shows as before is not announced.
    void reload(const std::string& document);
    // Any of them may have.
    void reload_all();

    // What has changed since the last call, in order.
    std::vector<Change> take_changes();

private:
    struct Entry {
        std::unique_ptr<Document> document; // null: never was readable
        FileStamp stamp;                    // of the file that was read last
        bool broken = false;                // that file was refused
    };

    enum class Announce { no, yes };

    void load(const std::string& name, Announce announce);
    void load_if_waiting(const std::string& name);
    void refresh(const std::string& name);
    void forget(const std::string& name);
    void note(const std::string& name, std::vector<std::string> paths);

    StoreDir dir_;
    std::map<std::string, Entry> entries_;
    std::deque<std::string> to_load_;
    bool loaded_ = false;
    std::vector<Change> changes_;
};

} // namespace imsfwkd

#endif
