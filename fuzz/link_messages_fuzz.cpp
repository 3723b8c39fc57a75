// The kernel's routing messages, as the link notifier follows them.
#include "daemons/imslinkevd/link_sync.h"

#include <cstdlib>
#include <cstring>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// The first byte says how many receives the rest makes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 1) return 0;
    Link_sync sync;
    sync.start();
    const std::size_t parts = 1 + data[0] % 4;
    const std::size_t each = (size - 1) / parts;
    for (std::size_t i = 0; i < parts; ++i) {
        // A copy of its own, aligned and exactly as long as it is, so that reading beyond it shows.
        std::vector<std::uint32_t> copy((each + 3) / 4);
        if (each > 0) std::memcpy(copy.data(), data + 1 + i * each, each);
        if (sync.take(copy.data(), each) == Link_sync::Wants::start_over) sync.start();
    }
    sync.take_changed();
    for (const auto& link : sync.links())
        if (link.index <= 0 || link.addresses.size() > Link_table::MAX_ADDRESSES) std::abort();
    return 0;
}
