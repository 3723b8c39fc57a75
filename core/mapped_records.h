// Who still needs a mapped telephony record (kind 10): one record may stand in the queue several times, and
// be dispatched and released by the main loop while the telephony interface may still queue it again.
//
// Counted beside the records, since their type is the daemon's own. A record that nobody holds belongs to
// whoever has its pointer, as if held once.
//
// Thread   any; the table is locked inside.
// Memory   records and their bodies come from malloc or calloc. The table keeps its largest size for ever.
#ifndef IMSUA_MAPPED_RECORDS_H_INCLUDED
#define IMSUA_MAPPED_RECORDS_H_INCLUDED

namespace imsua {

// Holds `record` once more; null is held by nobody. False, with nothing changed, when there is no memory.
bool hold_mapped(void* record);

// Gives up one hold. The last one frees the record, its body before it: the body's length and pointer are
// read where IMS_MAPPED_MSG_S has them, as they stand then. Null is ignored.
void drop_mapped(void* record);

// Holds one record at a time, and drops it at the end of its scope.
class MappedHold {
public:
    MappedHold() = default;
    ~MappedHold() { drop_mapped(record_); }
    MappedHold(const MappedHold&) = delete;
    MappedHold& operator=(const MappedHold&) = delete;

    // Takes `record`, which the caller owned, in place of the one held before. False when there is no memory:
    // `record` is then freed, and the one held before stays.
    bool take(void* record);

    void* record() const { return record_; }

private:
    void* record_ = nullptr;
};

} // namespace imsua

#endif
