// imswatch's command line.
#ifndef IMSWATCH_WATCH_OPTIONS_H_INCLUDED
#define IMSWATCH_WATCH_OPTIONS_H_INCLUDED

#include <string>

struct Watch_options {
    std::string package;
    std::string dir;               // capability files and our own socket files; "" = the working directory
    std::string uri;               // "" = from the capability files
    std::string transport = "udp"; // or "tcp"
    std::string siptrace;          // "" = none
    unsigned expires = 3600;       // seconds asked for
    int profile = 1;               // Kiv-Profile-ID
    unsigned count = 0;            // end after so many NOTIFYs; 0 = never
    double seconds = 0;            // end after so long; 0 = never
    int port = 5600;               // first of the 100 ports that are tried
    bool json = false;
    bool verbose = false;
};

// True: go on with `options`. False: the program ends with `status` (help: 0; a wrong command line: 2); what
// there was to say has been printed.
bool parse_options(int argc, const char* const* argv, Watch_options& options, int& status);

#endif
