// imstac's command line.
#ifndef IMSTAC_OPTIONS_H_INCLUDED
#define IMSTAC_OPTIONS_H_INCLUDED

#include "tools/imstac/conversation.h"

#include <string>
#include <vector>

namespace imstac {

struct Options {
    std::string agent; // name of the program, or path of its socket
    std::vector<Channel> order = {Channel::async, Channel::sync}; // in which the channels are connected
    Steps steps; // of the command line and the files, in order
    Conversation::Rules rules;
    Duration connect_within = std::chrono::seconds(5);
    Duration linger{0}; // after the last step; with no step and 0: until the agent or a signal ends it
    unsigned count = 0; // end after so many messages have arrived; 0 = never
    std::string record; // file; "" = none
    bool json = false;
    bool quiet = false;
};

// True: go on with `options`. False: the program ends with `status` (help: 0; a wrong command line, script or
// record: 2); what there was to say has been printed.
bool parse_options(int argc, const char* const* argv, Options& options, int& status);

} // namespace imstac

#endif
