#include "daemons/imslinkevd/sip_values.h"

#include "daemons/common/header_value.h"

#include <algorithm>
#include <array>

namespace {

// Straight from the connection: the message wrapper logs an absent header as a failure, and most requests
// leave some of these out. False when the value does not fit.
bool read(SIPLIB_SIPConnection& connection, const char* name, std::string& out)
{
    std::array<char, 2048> value{};
    int length = static_cast<int>(value.size());
    const int status = connection.getHeader(name, value.data(), length);
    out = status == SIPLIB_OK ? value.data() : "";
    return status != SIPLIB_ERR_TRUNCATED;
}

} // namespace

bool read_headers(SIPLIB_SIPConnection& connection, Subscribe_headers& headers)
{
    const struct {
        const char* name;
        std::string& value;
    } rows[] = {
        {"From", headers.from},       {"To", headers.to},           {"Call-ID", headers.call_id},
        {"CSeq", headers.cseq},       {"Contact", headers.contact}, {"Event", headers.event},
        {"Expires", headers.expires}, {"Accept", headers.accept},   {"Require", headers.require},
    };
    return std::all_of(std::begin(rows), std::end(rows),
                       [&](const auto& row) { return read(connection, row.name, row.value); });
}

Seconds retry_after_of(SIPLIB_SIPConnection& connection)
{
    std::string text;
    read(connection, "Retry-After", text);
    text.resize(std::min(text.size(), text.find_first_of(";(")));
    std::uint32_t seconds = 0;
    if (!parse_seconds(text, seconds)) return Seconds(0);
    return Seconds(std::min<std::uint32_t>(seconds, 3600));
}
