// Publishing this daemon's capabilities.
#include "core/IMS_User_Agent.h"
#include "include/text.h"

#include <cstdarg>
#include <cstdio>

using imsua::text;

int IMS_User_Agent::write_cap_file(const std::vector<std::pair<std::string, std::string>>& lines)
{
    const std::string name = std::string(text(__d_progname)) + ".cap";
    // The whole text in one write: another daemon that reads the file meanwhile sees all of it or nothing.
    std::string content;
    for (const auto& line : lines)
        content += line.first + ": " + line.second + "\n";
    std::FILE* const file = std::fopen(name.c_str(), "we");
    if (!file) {
        IMS_log::loginfo(3, "create_cap_file", "error opening file %s", name.c_str());
        return 0;
    }
    std::setvbuf(file, nullptr, _IONBF, 0);
    std::fwrite(content.data(), 1, content.size(), file);
    std::fclose(file);
    return 1;
}

int IMS_User_Agent::create_cap_file(int count, ...)
{
    std::vector<std::pair<std::string, std::string>> lines;
    std::va_list texts;
    va_start(texts, count);
    for (; count >= 2; count -= 2) {
        const char* const name = va_arg(texts, const char*);
        const char* const value = va_arg(texts, const char*);
        lines.emplace_back(text(name), text(value));
    }
    va_end(texts);
    return write_cap_file(lines);
}
