#include "tools/imswatch/watch_options.h"

#include <CLI/CLI.hpp>

namespace {

constexpr const char* ABOUT =
    "Subscribes to an event package of a daemon on this device and prints each NOTIFY.\n"
    "The daemon is found through the capability files (*.cap) in the working directory.";

constexpr const char* STATUSES =
    "Exit status: 0 what was asked for came; 1 too little came; 2 wrong command line;\n"
    "3 nobody serves the package; 4 the subscription was refused.";

} // namespace

bool parse_options(int argc, const char* const* argv, Watch_options& o, int& status)
{
    CLI::App app{ABOUT, "imswatch"};
    app.footer(STATUSES);
    app.add_option("PACKAGE", o.package, "event package, e.g. kiv-link-event")->required();
    app.add_option("--dir", o.dir, "folder with the capability files")->check(CLI::ExistingDirectory);
    app.add_option("--uri", o.uri, "subscribe there instead, e.g. sip:imslinkevd@127.0.0.1:5080");
    app.add_option("--expires", o.expires, "seconds to ask for; 0 fetches the state once")
        ->check(CLI::Range(0u, 2147483647u))
        ->capture_default_str();
    app.add_option("--transport", o.transport, "udp or tcp")
        ->check(CLI::IsMember({"udp", "tcp"}))
        ->capture_default_str();
    app.add_option("--profile", o.profile, "Kiv-Profile-ID of the SUBSCRIBE")->capture_default_str();
    app.add_option("--count", o.count, "end after so many NOTIFYs");
    app.add_option("--for", o.seconds, "end after so many seconds")->check(CLI::NonNegativeNumber);
    app.add_option("--port", o.port, "first of the 100 ports that are tried")
        ->check(CLI::Range(1, 65535))
        ->capture_default_str();
    app.add_option("--siptrace", o.siptrace, "record every SIP message into this file");
    app.add_flag("--json", o.json, "one JSON object a line");
    app.add_flag("--verbose", o.verbose, "the library's log, on standard error");
    try {
        app.parse(argc, argv);
        return true;
    } catch (const CLI::ParseError& error) {
        status = app.exit(error) == 0 ? 0 : 2;
        return false;
    }
}
