#include "siplib/sofia/root_descriptor.h"

#include "siplib/sip_text.h"

#include <dirent.h>
#include <fstream>
#include <string>

namespace siplib::sofia {
namespace {

// A line "tfd:       12 events: ..." for each watched descriptor (proc(5)).
bool watches(const std::string& info_path, int fd)
{
    std::ifstream info(info_path);
    const std::string wanted = std::to_string(fd);
    for (std::string line; std::getline(info, line);) {
        if (line.compare(0, 4, "tfd:") != 0) continue;
        const std::string_view rest = trimmed(std::string_view(line).substr(4));
        if (rest.substr(0, rest.find(' ')) == wanted) return true;
    }
    return false;
}

} // namespace

int epoll_that_watches(int fd)
{
    const std::string folder = "/proc/self/fdinfo/";
    DIR* directory = opendir(folder.c_str());
    if (!directory) return -1;
    int found = -1;
    while (const dirent* entry = readdir(directory)) { // NOLINT(concurrency-mt-unsafe): the stream is ours
        long number = 0;
        if (found < 0 && read_number(entry->d_name, 1 << 30, number) && watches(folder + entry->d_name, fd))
            found = static_cast<int>(number);
    }
    closedir(directory);
    return found;
}

} // namespace siplib::sofia
