// The daemon's own command-line options.
#ifndef IMSFWKD_OPTIONS_H_INCLUDED
#define IMSFWKD_OPTIONS_H_INCLUDED

#include <string>

namespace imsfwkd {

struct Options {
    std::string store;    // -store DIR, demanded
    int sync_port = 0;    // -syncport N; 0: a free one
    int async_port = 0;   // -asyncport N; 0: a free one
    std::string portfile; // -portfile PATH: "SYNC ASYNC" and a line feed is written there
};

// Reads them out of a command line; options of the base daemon and the log are left alone. False when one
// lacks its value or has an impossible one, or no store is given: `why` says which.
bool parse_options(int argc, char** argv, Options& options, std::string& why);

} // namespace imsfwkd

#endif
