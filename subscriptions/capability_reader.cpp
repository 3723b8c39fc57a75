#include "subscriptions/capability_reader.h"

#include "baseuafw/baseuafw.h"

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace imsua {

namespace {

constexpr std::string::size_type longest_line = 1023;

struct Closing {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, Closing>;

// Null unless `path` is a regular file: opening a FIFO or a device must not hold up start-up.
File open_regular(const char* path)
{
    const int fd = ::open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd < 0) return nullptr;
    struct stat about;
    std::FILE* file = nullptr;
    if (::fstat(fd, &about) == 0 && S_ISREG(about.st_mode)) file = ::fdopen(fd, "r");
    if (!file) ::close(fd);
    return File(file);
}

// The file is ours alone: no lock a character.
int next_character(std::FILE* file)
{
    return getc_unlocked(file); // NOLINT(concurrency-mt-unsafe)
}

// The next line without its line feed; false at the end and on a line that is too long.
bool read_line(std::FILE* file, std::string& line)
{
    line.clear();
    for (int c = next_character(file); c != EOF; c = next_character(file)) {
        if (c == '\n') return true;
        if (line.size() == longest_line) return false;
        line.push_back(static_cast<char>(c));
    }
    return !line.empty();
}

bool holds(const std::string& line, const std::string& text)
{
    return line.find(text) != std::string::npos;
}

} // namespace

bool read_capability(const char* path, const std::string& key, const std::string& match, std::string& value)
{
    const File file = open_regular(path);
    if (!file) return false;
    std::string line;
    std::string found;
    int hits = 0;
    while (read_line(file.get(), line)) {
        line.resize(std::strlen(line.c_str()));
        if (line.empty()) continue;
        if (holds(line, key)) {
            found = line.substr(key.size()); // by position: writers put the name at the start of the line
            ++hits;
        }
        if (holds(line, match)) ++hits;
        if (hits == 2) { // exactly: a jump from 1 to 3 never qualifies
            IMS_utility::skipspaces(found);
            value = found;
            return true;
        }
    }
    return false;
}

} // namespace imsua
