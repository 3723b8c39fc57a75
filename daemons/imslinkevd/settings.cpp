#include "daemons/imslinkevd/settings.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

// A whole decimal number within its range.
bool read_number(const std::string& text, long least, long most, long& out)
{
    if (text.empty() || text.size() > 10 || text.find_first_not_of("0123456789") != std::string::npos)
        return false;
    const long long value = std::strtoll(text.c_str(), nullptr, 10);
    if (value < least || value > most) return false;
    out = static_cast<long>(value);
    return true;
}

using Store = void (*)(Settings&, const std::string& text, long number);

struct Row {
    const char* name;
    const char* help;
    bool is_number;
    long least, most;
    Store store;
};

constexpr long MONTH = 30L * 24 * 3600; // seconds

// clang-format off
const Row rows[] = {
    {"port", "first of the 100 ports that are tried", true, 1, 65535,
     [](Settings& s, const std::string&, long n) { s.first_port = static_cast<int>(n); }},
    {"links", "names or patterns of the links to watch, separated by commas, preferred first", false, 0, 0,
     [](Settings& s, const std::string& t, long) { s.links = t; }},
    {"profile", "profile identifier of the documents", true, 0, 2147483647L,
     [](Settings& s, const std::string&, long n) { s.profile_id = static_cast<int>(n); }},
    {"profilename", "profile name of the documents, 64 characters at most", false, 0, 0,
     [](Settings& s, const std::string& t, long) { s.profile_name = t.substr(0, 64); }},
    {"defaultexpires", "seconds granted to a SUBSCRIBE without Expires", true, 1, MONTH,
     [](Settings& s, const std::string&, long n) { s.expires.usual = static_cast<std::uint32_t>(n); }},
    {"minexpires", "fewer seconds are refused with 423", true, 1, MONTH,
     [](Settings& s, const std::string&, long n) { s.expires.least = static_cast<std::uint32_t>(n); }},
    {"maxexpires", "more seconds are shortened to this", true, 1, MONTH,
     [](Settings& s, const std::string&, long n) { s.expires.most = static_cast<std::uint32_t>(n); }},
    {"maxsubscribers", "subscriptions at one time; further ones are refused with 503", true, 1, 100000,
     [](Settings& s, const std::string&, long n) { s.max_subscribers = static_cast<int>(n); }},
    {"mininterval", "milliseconds between two NOTIFYs about one link", true, 0, 60000,
     [](Settings& s, const std::string&, long n) { s.min_interval = static_cast<int>(n); }},
};
// clang-format on

bool store(const Row& row, const std::string& value, Settings& settings, std::string& why)
{
    long number = 0;
    if (row.is_number && !read_number(value, row.least, row.most, number)) {
        why = std::string(row.name) + ": '" + value + "' is not a number from " + std::to_string(row.least) +
              " to " + std::to_string(row.most);
        return false;
    }
    row.store(settings, value, number);
    return true;
}

bool is_consistent(const Settings& settings, std::string& why)
{
    const auto& e = settings.expires;
    if (e.least <= e.usual && e.usual <= e.most) return true;
    why = "minexpires, defaultexpires and maxexpires must rise in this order";
    return false;
}

} // namespace

bool read_options(int argc, char** argv, Settings& settings, std::string& why)
{
    for (int i = 1; i + 1 < argc; ++i)
        for (const Row& row : rows)
            if (argv[i][0] == '-' && std::strcmp(argv[i] + 1, row.name) == 0 &&
                !store(row, argv[i + 1], settings, why))
                return false;
    return is_consistent(settings, why);
}

bool read_configuration(const Find_value& find, Settings& settings, std::string& why)
{
    bool all_good = true;
    Settings read = settings;
    for (const Row& row : rows) {
        std::string value;
        if (!find(std::string("/config/linkev/") + row.name, value) || value.empty()) continue;
        if (!store(row, value, read, why)) all_good = false;
    }
    const Expires_limits before = settings.expires;
    settings = read;
    if (is_consistent(settings, why)) return all_good;
    settings.expires = before;
    return false;
}

std::vector<std::string> option_lines()
{
    std::vector<std::string> lines;
    for (const Row& row : rows) {
        std::string line = std::string("    -") + row.name + ":";
        line.resize(std::max<std::size_t>(line.size(), 20), ' ');
        lines.push_back(line + " " + row.help);
    }
    return lines;
}
