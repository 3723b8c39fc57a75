// A record of imstac: each line is something that happened, and is written again as it was, or is refused.
#include "tools/imstac/print.h"
#include "tools/imstac/record.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <sstream>

namespace {

void demand(bool holds)
{
    if (!holds) std::abort();
}

// Nothing that a terminal obeys, whatever the messages held.
bool is_printable(const std::string& text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return c == '\n' || (c >= 0x20 && c < 0x7F); });
}

void check_line(const std::string& line)
{
    imstac::Happening happening;
    std::string why;
    if (!imstac::parse_json_line(line, happening, why)) {
        demand(!why.empty());
        return;
    }
    const std::string written = imstac::json_line(happening);
    imstac::Happening again;
    demand(imstac::parse_json_line(written, again, why) && imstac::json_line(again) == written);
    demand(is_printable(imstac::print(happening)));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        check_line(line);
    for (const bool checked : {false, true}) {
        std::istringstream in(text);
        imstac::Steps steps;
        std::string why;
        const bool good = imstac::parse_record(in, "r", checked, steps, why);
        demand(good || why.compare(0, 2, "r:") == 0);
        for (const imstac::Step& step : steps)
            demand(step.at.count() >= 0 && !shown(step).empty());
    }
    return 0;
}
