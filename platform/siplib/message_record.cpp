#include "siplib/message_record.h"

#include "baseuafw/baseuafw.h"

#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <mutex>
#include <new>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace siplib {

std::atomic<bool> MessageRecord::enabled_{false};

namespace {

// Constant-initialised and trivially destroyed: usable from the first to the last moment of the process.
std::mutex lock;
int file = -1;
bool line_is_open = false; // the file ends inside a torn line
bool failing = false;      // the last line could not be written, and that has been logged

// Every byte comes back: those beyond ASCII as the code point of the same number.
void append_escaped(std::string& line, std::string_view text)
{
    static constexpr char hex[] = "0123456789ABCDEF";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            line += '\\';
            line += c;
        } else if (c == '\r') {
            line += "\\r";
        } else if (c == '\n') {
            line += "\\n";
        } else if (byte < 0x20 || byte >= 0x7F) {
            line += "\\u00";
            line += hex[byte >> 4];
            line += hex[byte & 15];
        } else {
            line += c;
        }
    }
}

void append_field(std::string& line, const char* name, std::string_view text)
{
    line += ",\"";
    line += name;
    line += "\":\"";
    append_escaped(line, text);
    line += '"';
}

std::string_view or_empty(const char* text)
{
    return text ? text : "";
}

std::string_view program_name()
{
    const char* name = __atomic_load_n(&IMS_daemon::__d_progname, __ATOMIC_ACQUIRE);
    return name && *name ? name : program_invocation_short_name;
}

std::string microseconds_now()
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return std::to_string(static_cast<long long>(now.tv_sec) * 1000000 + now.tv_nsec / 1000);
}

// Under the lock. 0, or the errno of the failure; a line of which only a part was written is a failure too.
int append_line(const std::string& line)
{
    // A torn line is ended in the same write that starts the next one.
    const char* start = line.data() + (line_is_open ? 0 : 1);
    const std::size_t size = line.size() - (line_is_open ? 0 : 1);
    ssize_t written = -1;
    do {
        written = ::write(file, start, size);
    } while (written < 0 && errno == EINTR);
    if (written == static_cast<ssize_t>(size)) {
        line_is_open = false;
        return 0;
    }
    if (written > 0) line_is_open = true;
    return written < 0 ? errno : ENOSPC;
}

void write_line(const std::string& line)
{
    int error = 0;
    bool tell = false;
    {
        const std::lock_guard<std::mutex> guard(lock);
        if (file < 0) return;
        error = append_line(line);
        tell = error != 0 && !failing;
        failing = error != 0;
    }
    if (tell)
        IMS_log::loginfo(4, "write", "failed: message record: errno=%d, further failures are not logged",
                         error);
}

bool ends_inside_a_line(int fd, const struct stat& about)
{
    char last = '\n';
    return S_ISREG(about.st_mode) && about.st_size > 0 && pread(fd, &last, 1, about.st_size - 1) == 1 &&
           last != '\n';
}

int refused(int fd, int error)
{
    ::close(fd);
    errno = error;
    return -1;
}

// Opened without waiting: a pipe without a reader would hold the caller for ever.
int open_file(const char* path, bool& inside_a_line)
{
    const int fd = ::open(path, O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0600);
    if (fd < 0) return -1;
    struct stat about {};
    if (fstat(fd, &about) != 0) return refused(fd, errno);
    if (!S_ISREG(about.st_mode) && !S_ISCHR(about.st_mode)) return refused(fd, EINVAL);
    inside_a_line = ends_inside_a_line(fd, about);
    return fd;
}

void swap_file(int fd, bool inside_a_line)
{
    const std::lock_guard<std::mutex> guard(lock);
    if (file >= 0) ::close(file);
    file = fd;
    line_is_open = inside_a_line;
    failing = false;
}

} // namespace

bool MessageRecord::open(const char* path)
{
    if (!path) {
        errno = EINVAL;
        return false;
    }
    bool inside_a_line = false;
    const int fd = open_file(path, inside_a_line);
    if (fd < 0) return false;
    swap_file(fd, inside_a_line);
    enabled_.store(true);
    return true;
}

void MessageRecord::close()
{
    enabled_.store(false);
    swap_file(-1, false);
}

void MessageRecord::write(bool sent, const char* transport, const char* local, const char* peer,
                          const char* bytes, std::size_t size)
{
    if (!enabled()) return;
    try {
        std::string line;
        line.reserve(256 + size + size / 8);
        line += "\n{\"time\":" + microseconds_now();
        append_field(line, "program", program_name());
        line += ",\"pid\":" + std::to_string(getpid());
        append_field(line, "direction", sent ? "sent" : "received");
        append_field(line, "transport", or_empty(transport));
        append_field(line, "local", or_empty(local));
        append_field(line, "peer", or_empty(peer));
        append_field(line, "message", bytes ? std::string_view(bytes, size) : std::string_view());
        line += "}\n";
        write_line(line);
    } catch (const std::bad_alloc&) {
        IMS_log::loginfo(4, "write", "failed: message record: no memory for a line");
    }
}

} // namespace siplib
