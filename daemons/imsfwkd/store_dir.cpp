#include "daemons/imsfwkd/store_dir.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace imsfwkd {

namespace {

const std::string SUFFIX = ".xml";
const std::string LEFTOVER_SUFFIX = ".xml.tmp";
constexpr mode_t NEW_FILE_MODE = 0644;

// A descriptor that is closed at the end of its scope.
class File {
public:
    explicit File(int fd) : fd_(fd) {}
    ~File()
    {
        if (fd_ >= 0) ::close(fd_);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    operator int() const { return fd_; }

private:
    int fd_;
};

bool ends_with(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

bool failed(const std::string& what, std::string& why)
{
    char words[128] = "";
    why = what + ": " + ::strerror_r(errno, words, sizeof words);
    return false;
}

FileStamp stamp_of(const struct stat& info)
{
    return {info.st_dev, info.st_ino, info.st_size, info.st_mtim};
}

bool write_all(int fd, const std::string& text)
{
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t n = ::write(fd, text.data() + done, text.size() - done);
        if (n < 0 && errno != EINTR) return false;
        if (n > 0) done += static_cast<std::size_t>(n);
    }
    return true;
}

} // namespace

bool is_document_name(const std::string& name)
{
    const auto allowed = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
               c == '_' || c == '.';
    };
    return !name.empty() && name.size() <= MAX_DOCUMENT_NAME && name[0] != '.' &&
           std::all_of(name.begin(), name.end(), allowed);
}

std::string document_of_file(const std::string& file)
{
    if (!ends_with(file, SUFFIX)) return "";
    const std::string name = file.substr(0, file.size() - SUFFIX.size());
    return is_document_name(name) ? name : "";
}

bool FileStamp::operator==(const FileStamp& other) const
{
    return device == other.device && inode == other.inode && size == other.size &&
           changed.tv_sec == other.changed.tv_sec && changed.tv_nsec == other.changed.tv_nsec;
}

StoreDir::~StoreDir()
{
    if (fd_ >= 0) ::close(fd_);
}

bool StoreDir::open(std::string& why)
{
    fd_ = ::open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd_ < 0) return failed(path_, why);
    if (::flock(fd_, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK) return failed(path_, why);
        why = path_ + ": another daemon serves this store";
        return false;
    }
    remove_leftovers();
    return true;
}

std::vector<std::string> StoreDir::names() const
{
    std::vector<std::string> found;
    DIR* const dir = ::opendir(path_.c_str());
    if (dir == nullptr) return found;
    while (const dirent* entry = ::readdir(dir)) // NOLINT(concurrency-mt-unsafe): a stream of its own
        found.emplace_back(entry->d_name);
    ::closedir(dir);
    std::sort(found.begin(), found.end());
    return found;
}

// Safe under the lock: nobody else is writing one.
void StoreDir::remove_leftovers() const
{
    for (const std::string& name : names())
        if (name[0] == '.' && ends_with(name, LEFTOVER_SUFFIX)) ::unlinkat(fd_, name.c_str(), 0);
}

std::vector<std::string> StoreDir::documents() const
{
    std::vector<std::string> found;
    for (const std::string& name : names())
        if (const std::string document = document_of_file(name); !document.empty()) found.push_back(document);
    return found;
}

FileStamp StoreDir::stamp(const std::string& document) const
{
    struct stat info {};
    if (::fstatat(fd_, (document + SUFFIX).c_str(), &info, 0) != 0) return {};
    return stamp_of(info);
}

// O_NONBLOCK: a FIFO in the directory must not stop the daemon.
bool StoreDir::read(const std::string& document, std::size_t limit, std::string& text, FileStamp& stamp,
                    std::string& why) const
{
    const std::string name = document + SUFFIX;
    const File file(::openat(fd_, name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat info {};
    if (file < 0 || ::fstat(file, &info) != 0) return failed(name, why);
    stamp = stamp_of(info);
    if (!S_ISREG(info.st_mode)) {
        why = name + ": not a regular file";
        return false;
    }
    text.clear();
    char chunk[16384];
    while (text.size() <= limit) {
        const ssize_t n = ::read(file, chunk, sizeof chunk);
        if (n < 0) return failed(name, why);
        if (n == 0) return true;
        text.append(chunk, static_cast<std::size_t>(n));
    }
    why = name + ": larger than " + std::to_string(limit) + " bytes";
    return false;
}

// The new file is complete and on the disk before it takes the old one's name; the name's change is on the
// disk before the caller hears of success.
bool StoreDir::replace(const std::string& document, const std::string& text, std::string& why) const
{
    const std::string name = document + SUFFIX;
    const std::string temporary = "." + document + LEFTOVER_SUFFIX;
    if (!write_new(temporary, text, name, why)) {
        ::unlinkat(fd_, temporary.c_str(), 0);
        return false;
    }
    if (::renameat(fd_, temporary.c_str(), fd_, name.c_str()) != 0) {
        failed(name, why);
        ::unlinkat(fd_, temporary.c_str(), 0);
        return false;
    }
    return ::fsync(fd_) == 0 || failed(path_, why);
}

bool StoreDir::write_new(const std::string& name, const std::string& text, const std::string& like,
                         std::string& why) const
{
    ::unlinkat(fd_, name.c_str(), 0);
    const int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    const File file(::openat(fd_, name.c_str(), flags, NEW_FILE_MODE));
    if (file < 0) return failed(name, why);
    struct stat old {};
    if (::fstatat(fd_, like.c_str(), &old, 0) == 0) {
        if (::fchown(file, old.st_uid, old.st_gid) != 0 && errno != EPERM) return failed(name, why);
        if (::fchmod(file, old.st_mode & 07777) != 0) return failed(name, why);
    }
    if (!write_all(file, text) || ::fsync(file) != 0) return failed(name, why);
    return true;
}

} // namespace imsfwkd
