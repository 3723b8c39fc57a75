// Lines of a message record, as imsladder reads them, up to the drawings made of them.
#include "tools/imsladder/json.h"
#include "tools/imsladder/merge.h"
#include "tools/imsladder/read.h"
#include "tools/imsladder/svg.h"
#include "tools/imsladder/text.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

namespace {

void demand(bool condition)
{
    if (!condition) std::abort();
}

// Nothing that a terminal obeys or a browser stumbles over, whatever the messages held.
bool is_printable(const std::string& text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return c == '\n' || (c >= 0x20 && c < 0x7F); });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
    std::vector<imsladder::Record> records;
    imsladder::read_records(in, records);
    if (records.empty()) return 0;
    const std::size_t count = records.size();
    const imsladder::Ladder ladder = imsladder::merge(std::move(records));
    demand(!ladder.arrows.empty() && ladder.arrows.size() <= count);
    demand(is_printable(imsladder::draw_text(ladder, {true, 80})));
    demand(!imsladder::draw_text(ladder, {false, 80}).empty());
    demand(is_printable(imsladder::draw_svg(ladder)));
    demand(!imsladder::draw_json(ladder).empty());
    return 0;
}
