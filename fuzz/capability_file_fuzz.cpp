// Capability files: the first line of the input is what is matched, the second the field, the rest the file.
// The answer must be that of a plain model of the counting rules.
#include "subscriptions/capability_reader.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace {

struct Answer {
    bool qualifies = false;
    std::string value;
    bool operator==(const Answer& o) const { return qualifies == o.qualifies && value == o.value; }
};

std::string stripped(const std::string& text)
{
    const char* const blanks = " \t\r\n";
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string::npos) return "";
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

// The rules as they are told: a stream, a buffer of 1024, and two searches a line.
Answer model(const std::string& content, const std::string& key, const std::string& match)
{
    std::istringstream in(content);
    char line[1024];
    std::string value;
    int hits = 0;
    while (in.getline(line, sizeof line)) {
        if (line[0] == '\0') continue;
        if (std::strstr(line, key.c_str())) {
            value = line + key.size();
            ++hits;
        }
        if (std::strstr(line, match.c_str())) ++hits;
        if (hits == 2) return {true, stripped(value)};
    }
    return {};
}

// A file without a place in any directory.
class MemoryFile {
public:
    explicit MemoryFile(const std::string& content) : fd_(::memfd_create("cap", MFD_CLOEXEC))
    {
        if (fd_ < 0 || ::write(fd_, content.data(), content.size()) != static_cast<ssize_t>(content.size()))
            std::abort();
    }
    ~MemoryFile() { ::close(fd_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    std::string path() const { return "/proc/self/fd/" + std::to_string(fd_); }

private:
    int fd_;
};

// Texts of callers hold no zero byte: they are names of fields and packages.
std::string take_line(std::string& rest)
{
    const auto end = rest.find('\n');
    std::string line = rest.substr(0, end);
    rest = end == std::string::npos ? "" : rest.substr(end + 1);
    return line.c_str();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::string content(reinterpret_cast<const char*>(data), size);
    const std::string match = take_line(content);
    const std::string key = take_line(content) + ":";
    Answer ours;
    ours.qualifies = imsua::read_capability(MemoryFile(content).path().c_str(), key, match, ours.value);
    if (!(ours == model(content, key, match))) std::abort();
    return 0;
}
