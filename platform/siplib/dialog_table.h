// Which dialogs there are (RFC 3261 section 12): found by Call-ID, local and remote tag.
//
// Thread   any; one lock of its own.
// Memory   entries point to shells of the dialog pool.
#ifndef SIPLIB_DIALOG_TABLE_H_INCLUDED
#define SIPLIB_DIALOG_TABLE_H_INCLUDED

#include "siplib/clock.h"
#include "siplib/cseq_table.h"

#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace siplib {

class Dialog;

class DialogTable {
public:
    void add(const DialogKey& key, Dialog* dialog, Time expires);
    Dialog* find(const DialogKey& key) const; // null when there is none
    bool remove(const DialogKey& key);
    void set_expiry(const DialogKey& key, Time expires);
    std::size_t size() const;

    // Takes out the dialogs whose time is over.
    std::vector<Dialog*> take_expired(Time now);

private:
    struct Entry {
        Dialog* dialog;
        Time expires;
    };
    mutable std::mutex mutex_;
    std::unordered_map<std::string, Entry> entries_;
    Time earliest_ = Time::max(); // nothing expires before
};

} // namespace siplib

#endif
