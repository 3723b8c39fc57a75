#include "daemons/imsfwkd/options.h"

#include <cstdlib>

namespace imsfwkd {

namespace {

// 0 to 65535 in decimal digits, or -1.
int port_number(const std::string& text)
{
    if (text.empty() || text.size() > 5 || text.find_first_not_of("0123456789") != std::string::npos)
        return -1;
    const int port = std::atoi(text.c_str());
    return port <= 65535 ? port : -1;
}

bool take(const std::string& name, const std::string& value, Options& options, std::string& why)
{
    const int port = port_number(value);
    if (name == "-store") options.store = value;
    if (name == "-portfile") options.portfile = value;
    if (name == "-syncport") options.sync_port = port;
    if (name == "-asyncport") options.async_port = port;
    if ((name == "-syncport" || name == "-asyncport") && port < 0) {
        why = name + ": no port number: " + value;
        return false;
    }
    return true;
}

bool is_ours(const std::string& name)
{
    return name == "-store" || name == "-portfile" || name == "-syncport" || name == "-asyncport";
}

} // namespace

bool parse_options(int argc, char** argv, Options& options, std::string& why)
{
    for (int i = 1; i < argc; ++i) {
        const std::string name = argv[i];
        if (!is_ours(name)) continue;
        if (i + 1 == argc) {
            why = name + ": its value is missing";
            return false;
        }
        if (!take(name, argv[++i], options, why)) return false;
    }
    if (options.store.empty()) why = "-store DIR is missing";
    return !options.store.empty();
}

} // namespace imsfwkd
