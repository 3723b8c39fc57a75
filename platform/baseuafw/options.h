// Walking a command line by a table of options.
#ifndef BASEUAFW_OPTIONS_H_INCLUDED
#define BASEUAFW_OPTIONS_H_INCLUDED

#include <cstddef>

namespace baseuafw {

struct Option {
    const char* name;
    bool has_value; // false: a flag, taken with ""
    void (*take)(const char* value);
};

// Calls `take` of the row that argv[i] names exactly, for i from 1 on. As the agents do, every argument is
// examined, an option's value too, and an option that lacks its value is ignored. Null `argv` and null
// arguments are skipped.
void take_options(int argc, char** argv, const Option* rows, std::size_t count);

} // namespace baseuafw

#endif
