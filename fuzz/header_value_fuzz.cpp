// Header values from the network, as the notifier and the subscriber take them apart.
#include "daemons/common/header_value.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    Header_value value;
    if (parse_header_value(text, value)) {
        if (value.value.empty()) std::abort();
        for (const auto& parameter : value.parameters)
            if (parameter.first.empty() || value.parameter(parameter.first.c_str()) == nullptr) std::abort();
    } else if (!value.value.empty() || !value.parameters.empty()) {
        std::abort(); // a failure leaves the output alone
    }
    for (const auto& element : split_list(text))
        if (element.empty()) std::abort();
    std::uint32_t seconds = 0;
    parse_seconds(text, seconds);
    tag_of(text);
    uri_of(text);
    return 0;
}
