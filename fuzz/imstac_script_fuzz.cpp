// A script of imstac: whatever the file holds, it is steps or a refusal with the place of the mistake.
#include "tools/imstac/script.h"

#include <cstdint>
#include <cstdlib>
#include <sstream>

namespace {

void demand(bool holds)
{
    if (!holds) std::abort();
}

void check(const imstac::Step& step)
{
    demand(step.times > 0 && step.message.body.size() <= imstac::BODY_MAX && !step.source.empty());
    demand((step.verb == imstac::Verb::raw) == !step.bytes.empty());
    demand((step.verb != imstac::Verb::pause) || step.time);
    demand(!shown(step).empty());
    // What is shown is a statement again, unless a body was cut for people.
    imstac::Step again;
    std::string why;
    if (shown(step).find("...") == std::string::npos && step.verb != imstac::Verb::raw &&
        step.verb != imstac::Verb::pause)
        demand(imstac::parse_step(shown(step), again, why) == imstac::Parsed::step &&
               shown(again) == shown(step));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
    imstac::Steps steps;
    std::string why;
    const bool good = imstac::parse_script(in, "s", steps, why);
    demand(good || why.compare(0, 2, "s:") == 0);
    for (const imstac::Step& step : steps)
        check(step);
    return 0;
}
