#include "baseuafw/kept_text.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace baseuafw {
namespace {

struct Kept {
    Kept* next;
    char* text;
};

std::atomic<Kept*> all{nullptr}; // grows at the head, never shrinks

} // namespace

const char* kept_text(const char* text)
{
    for (const Kept* k = all.load(std::memory_order_acquire); k; k = k->next)
        if (std::strcmp(k->text, text) == 0) return k->text;
    auto* node = static_cast<Kept*>(std::malloc(sizeof(Kept)));
    char* copy = ::strdup(text);
    if (!node || !copy) {
        std::free(node);
        std::free(copy);
        return nullptr;
    }
    node->text = copy;
    node->next = all.load(std::memory_order_relaxed);
    while (
        !all.compare_exchange_weak(node->next, node, std::memory_order_release, std::memory_order_relaxed)) {
    }
    return copy;
}

} // namespace baseuafw
