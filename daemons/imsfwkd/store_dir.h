// The directory that holds the documents' files: reading them, and replacing one so that a crash at any
// moment leaves the old or the new file, whole.
//
// Thread   one at a time.
// Files    <document>.xml; while one is being replaced also .<document>.xml.tmp.
// Errors   a failure fills `why` with words for the log; nothing here logs.
#ifndef IMSFWKD_STORE_DIR_H_INCLUDED
#define IMSFWKD_STORE_DIR_H_INCLUDED

#include <cstdint>
#include <ctime>
#include <string>
#include <sys/types.h>
#include <vector>

namespace imsfwkd {

constexpr std::size_t MAX_DOCUMENT_NAME = 64;

// 1 to MAX_DOCUMENT_NAME ASCII letters, digits, '-', '_' and '.', not beginning with '.'.
bool is_document_name(const std::string& name);

// The document whose file is called `file`; "" when it is no document's file.
std::string document_of_file(const std::string& file);

// Which state of a file was read: another state has, for all that matters here, another stamp.
struct FileStamp {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = -1;
    timespec changed{};
    bool operator==(const FileStamp& other) const;
    bool operator!=(const FileStamp& other) const { return !(*this == other); }
};

class StoreDir {
public:
    explicit StoreDir(std::string path) : path_(std::move(path)) {}
    ~StoreDir();
    StoreDir(const StoreDir&) = delete;
    StoreDir& operator=(const StoreDir&) = delete;

    // Opens the directory, locks it against a second daemon until this object or the process ends, and
    // removes what an earlier process left half-written.
    bool open(std::string& why);

    const std::string& path() const { return path_; }

    // The documents that have a file, in alphabetical order.
    std::vector<std::string> documents() const;

    // Whole content of a document's file, at most `limit` bytes, and its stamp. False: no such file, no
    // regular file, too large, unreadable. `stamp` is filled whenever there is a file.
    bool read(const std::string& document, std::size_t limit, std::string& text, FileStamp& stamp,
              std::string& why) const;

    // The stamp of the file as it is now; one with size -1 when there is none.
    FileStamp stamp(const std::string& document) const;

    // Replaces the file's content; owner and mode stay. True: the new content is on the disk and survives
    // a power failure. False: `why`; the old content stands, or (only when syncing the directory failed)
    // the new one does, unsecured.
    bool replace(const std::string& document, const std::string& text, std::string& why) const;

private:
    bool write_new(const std::string& name, const std::string& text, const std::string& like,
                   std::string& why) const;
    void remove_leftovers() const;
    std::vector<std::string> names() const;

    std::string path_;
    int fd_ = -1;
};

} // namespace imsfwkd

#endif
