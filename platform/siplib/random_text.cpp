#include "siplib/random_text.h"

#include <cstddef>
#include <ctime>
#include <mutex>
#include <sys/random.h>

namespace siplib {
namespace {

std::mutex mutex;
unsigned char store[256]; // one system call serves many identifiers
std::size_t left = 0;

void fill()
{
    const ssize_t got = getrandom(store, sizeof store, 0);
    left = got > 0 ? static_cast<std::size_t>(got) : 0;
}

unsigned char draw()
{
    if (left == 0) fill();
    if (left == 0) return static_cast<unsigned char>(std::clock()); // no kernel does this to 256 bytes
    return store[--left];
}

} // namespace

std::string random_text(unsigned digits)
{
    constexpr char hex[] = "0123456789abcdef";
    if (digits > 64) digits = 64;
    std::string text;
    text.reserve(digits);
    std::lock_guard<std::mutex> guard(mutex);
    for (unsigned i = 0; i < digits; i += 2) {
        const unsigned char byte = draw();
        text += hex[byte >> 4];
        if (i + 1 < digits) text += hex[byte & 15];
    }
    return text;
}

void renew_randomness()
{
    std::lock_guard<std::mutex> guard(mutex);
    left = 0;
}

} // namespace siplib
