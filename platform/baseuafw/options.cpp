#include "baseuafw/options.h"

#include <cstring>

namespace baseuafw {

void take_options(int argc, char** argv, const Option* rows, std::size_t count)
{
    for (int i = 1; argv && i < argc; ++i) {
        const char* value = i + 1 < argc ? argv[i + 1] : nullptr;
        for (std::size_t r = 0; argv[i] && r < count; ++r) {
            if (std::strcmp(argv[i], rows[r].name) != 0) continue;
            if (!rows[r].has_value)
                rows[r].take("");
            else if (value)
                rows[r].take(value);
        }
    }
}

} // namespace baseuafw
