#include "daemons/common/random_tag.h"

#include <cstdio>
#include <random>

std::string random_tag()
{
    std::random_device source; // getrandom(2)
    char text[17];
    std::snprintf(text, sizeof text, "%08x%08x", static_cast<unsigned>(source()),
                  static_cast<unsigned>(source()));
    return text;
}
