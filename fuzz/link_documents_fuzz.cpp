// The two documents about the access link: whatever parses must encode, and what is encoded of plain values
// must be read back as the same values.
#include "fuzz/quiet.h"
#include "xml/DALinkAvailEvXmlData.h"
#include "xml/DALinkEvXmlData.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

using fuzz::demand;

namespace {

int parse(XmlData& document, const std::string& text)
{
    std::string received = text; // on the heap, exactly as long as it says
    document.buffer = received.data();
    document.buffer_length = static_cast<int>(received.size());
    const int status = document.parseXml();
    document.buffer = nullptr;
    return status;
}

std::string encode(XmlData& document)
{
    demand(document.encodeXml() == 0);
    demand(reinterpret_cast<char*>(document.encoded_buffer) == document.buffer);
    demand(std::strlen(document.buffer) == static_cast<std::size_t>(document.buffer_length));
    return document.buffer;
}

// Short, and without what counts as markup or is not kept by a text.
bool plain(const std::string& text)
{
    return text.size() < 4096 && text.find('&') == text.npos;
}

bool same(const DALinkEvXmlData& a, const DALinkEvXmlData& b)
{
    return a.name == b.name && a.profile_id == b.profile_id && a.link_reference == b.link_reference &&
           a.access_network == b.access_network && a.ieee.ap == b.ieee.ap &&
           a.device.ue_mac == b.device.ue_mac && a.device.ip_address == b.device.ip_address &&
           a.device.status == b.device.status && a.device.cause == b.device.cause;
}

void try_event(const std::string& text)
{
    DALinkEvXmlData d;
    if (parse(d, text) != 0) return;
    const std::string first = encode(d);
    demand(encode(d) == first);
    const THREEGPP_INFO_T coverage = d.coverage;
    d.coverage.access_type.clear();
    DALinkEvXmlData again;
    const bool read = parse(again, encode(d)) == 0;
    const bool all_plain = plain(d.name) && plain(d.access_network) && plain(d.ieee.ap) &&
                           plain(d.device.name) && plain(d.device.ue_mac) && plain(d.device.ip_address) &&
                           plain(d.device.status) && plain(d.device.cause) && d.proxy_list.empty();
    if (all_plain) demand(read && same(d, again));
    if (coverage.access_type.empty() || !plain(coverage.access_type) || !plain(coverage.hplmn) ||
        !plain(coverage.utran_cell_id))
        return;
    d.coverage = coverage;
    demand(parse(again, encode(d)) == 0);
    demand(again.coverage.access_type == coverage.access_type);
    if (!coverage.hplmn.empty()) demand(again.coverage.hplmn == coverage.hplmn);
}

void try_availability(const std::string& text)
{
    DALinkAvailEvXmlData d;
    if (parse(d, text) != 0) return;
    const std::string written = encode(d);
    DALinkAvailEvXmlData again;
    const bool read = parse(again, written) == 0;
    if (d.access_network == "3GPP")
        demand(!read);
    else if (plain(d.access_network) && plain(d.ieee.ap))
        demand(read && again.access_network == d.access_network && again.ieee.ap == d.ieee.ap);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size > 4096) return 0; // internal entities grow with the square of the text
    fuzz::be_quiet();
    const std::string text(reinterpret_cast<const char*>(data), size);
    try_event(text);
    fuzz::be_quiet();
    try_availability(text);
    DALinkEvXmlData proxies;
    proxies.parse_proxy_list(text);
    return 0;
}
