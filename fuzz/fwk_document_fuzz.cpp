// A configuration document, a path and a value, as they come from the disk and from a SET:
// path NUL value NUL document.
#include "daemons/imsfwkd/document_diff.h"

#include <cstdint>
#include <cstdlib>

namespace {

void demand(bool holds)
{
    if (!holds) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string all(reinterpret_cast<const char*>(data), size);
    const std::size_t first = all.find('\0');
    const std::size_t second = first == std::string::npos ? first : all.find('\0', first + 1);
    if (second == std::string::npos) return 0;
    const std::string path = all.substr(0, first);
    const std::string value = all.substr(first + 1, second - first - 1);
    std::string why;
    const auto before = imsfwkd::Document::parse(all.substr(second + 1), why);
    if (!before) {
        demand(!why.empty());
        return 0;
    }
    std::string read;
    before->get(path, read);
    demand(imsfwkd::changed_paths(*before, *before).empty());
    const std::string changed = before->with(path, value, why);
    if (changed.empty()) return 0;
    const auto after = imsfwkd::Document::parse(changed, why);
    demand(after != nullptr && after->get(path, read) && read == value);
    const auto paths = imsfwkd::changed_paths(*before, *after);
    demand(paths.size() <= imsfwkd::MAX_CHANGED_PATHS);
    for (const std::string& changed_path : paths)
        demand(changed_path[0] == '/');
    return 0;
}
