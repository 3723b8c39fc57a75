// What this daemon can be told: on its command line, else in the configuration store, else the defaults.
//
// Thread   main, at start-up.
// Errors   a value that is no number or out of its range is told in `why`; the daemon does not start with it.
#ifndef IMSLINKEVD_SETTINGS_H_INCLUDED
#define IMSLINKEVD_SETTINGS_H_INCLUDED

#include "daemons/imslinkevd/subscribe_request.h"

#include <functional>

struct Settings {
    int first_port = 5080;                // -port: the first of the 100 ports that are tried
    std::string links;                    // -links: names or patterns, see Link_filter
    int profile_id = 1;                   // -profile: Kiv-Profile-ID and kiv-profile-id of the documents
    std::string profile_name = "default"; // -profilename
    Expires_limits expires;               // -defaultexpires, -minexpires, -maxexpires: seconds
    int max_subscribers = 1000;           // -maxsubscribers
    int min_interval = 100;               // -mininterval: ms between two NOTIFYs about one link
};

// Reads the command line: "-name value", as the agents do; unknown options are others' business, an option
// without a value is ignored. False: `why` says which value is wrong.
bool read_options(int argc, char** argv, Settings& settings, std::string& why);

// Reads the same names from the configuration: `find` gives the value of a path of the document "config",
// "/config/linkev/<name>" with the option's name without its dash; "" or false if there is none. A wrong
// value is told and the setting kept.
using Find_value = std::function<bool(const std::string& path, std::string& value)>;
bool read_configuration(const Find_value& find, Settings& settings, std::string& why);

// One line for each option, without line feed, as the usage shows it.
std::vector<std::string> option_lines();

#endif
