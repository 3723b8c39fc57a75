#include "daemons/imsfwkd/announcement.h"

namespace imsfwkd {

std::vector<std::string> announcements(const Change& change)
{
    const std::string header = "CHANGED " + change.document + '\n';
    std::vector<std::string> texts;
    for (const std::string& path : change.paths) {
        const std::string whole = path + '\n';
        const std::string& line = header.size() + whole.size() <= MAX_ANNOUNCEMENT ? whole : "/\n";
        if (texts.empty() || texts.back().size() + line.size() > MAX_ANNOUNCEMENT) texts.push_back(header);
        texts.back() += line;
    }
    return texts;
}

} // namespace imsfwkd
