// Every document that is found by element names: what it reads is what a second, plain reader reads, and what
// it writes of plain values is read back.
#include "fuzz/plain_reader.h"
#include "fuzz/quiet.h"
#include "include/imsua.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

using fuzz::demand;

namespace {

// Where a text field is read from.
template <typename Document>
struct Field {
    const char* element;
    std::string Document::*field;
};

template <typename Document>
using Fields = std::vector<Field<Document>>;

int parse(XmlData& document, const std::string& text)
{
    fuzz::be_quiet();
    std::string received = text; // on the heap, exactly as long as it says
    document.buffer = received.data();
    document.buffer_length = static_cast<int>(received.size());
    const int status = document.parseXml();
    document.buffer = nullptr;
    return status;
}

// Reads `text` into `d` and compares the fields; true when there is something to go on with.
template <typename Document>
bool read_alike(const std::string& text, Document& d, const Fields<Document>& fields, int options = 0)
{
    for (const auto& each : fields)
        d.*each.field = "before";
    const int status = parse(d, text);
    fuzz::be_quiet();
    const fuzz::PlainReader plain(text, options);
    demand((status == 0) == plain.readable());
    if (status == 0 && !plain.comparable()) return true;
    for (const auto& each : fields) {
        std::string wanted = "before";
        plain.read(each.element, wanted);
        demand(d.*each.field == wanted);
    }
    return status == 0;
}

std::string encode(XmlData& document)
{
    demand(document.encodeXml() == 0);
    demand(reinterpret_cast<char*>(document.encoded_buffer) == document.buffer);
    demand(std::strlen(document.buffer) == static_cast<std::size_t>(document.buffer_length));
    return document.buffer;
}

// Without what counts as markup.
template <typename Document>
bool all_plain(const Document& d, const Fields<Document>& fields)
{
    for (const auto& each : fields)
        if ((d.*each.field).size() > 4096 || (d.*each.field).find('&') != std::string::npos) return false;
    return true;
}

// Writes `d` and reads it back as the same values.
template <typename Document>
void write_and_read(Document& d, const Fields<Document>& fields)
{
    fuzz::be_quiet();
    const std::string text = encode(d);
    if (!all_plain(d, fields)) return;
    Document again;
    demand(parse(again, text) == 0);
    for (const auto& each : fields)
        demand(again.*each.field == d.*each.field);
}

template <typename Document>
void try_both_ways(const std::string& text, const Fields<Document>& fields)
{
    Document d;
    if (read_alike(text, d, fields)) write_and_read(d, fields);
}

// ---- the documents

void try_ua_info(const std::string& text)
{
    using D = RegUaXmlData;
    const Fields<D> fields = {{"aor", &D::aor},         {"name", &D::name},
                              {"methods", &D::methods}, {"content-type", &D::content_type},
                              {"events", &D::events},   {"ua-section-in-network-profile", &D::ua_section}};
    D d;
    if (!read_alike(text, d, fields)) return;
    const fuzz::PlainReader plain(text, 0);
    std::string line;
    plain.read("sip-headers", line);
    const std::size_t colon = line.find(':');
    const bool pair = colon != line.npos && line.find(':', colon + 1) == line.npos;
    if (plain.comparable()) {
        demand(d.header_name == (pair ? line.substr(0, colon) : ""));
        demand(d.header_value == (pair ? line.substr(colon + 1) : ""));
    }
    d.header_name = d.header_value = "h";
    write_and_read(d, fields);
}

// The proxies of "address:kind:port,..." in `text`.
std::vector<IMS_DA_PROXY_INFO> proxies_of(const std::string& text)
{
    std::vector<IMS_DA_PROXY_INFO> all;
    for (std::size_t at = 0; at <= text.size() && !text.empty();) {
        const std::size_t end = std::min(text.find(',', at), text.size());
        const std::string entry = text.substr(at, end - at);
        const std::size_t one = entry.find(':');
        const std::size_t two = one == entry.npos ? one : entry.find(':', one + 1);
        if (two != entry.npos && entry.find(':', two + 1) == entry.npos)
            all.push_back({entry.substr(0, one), fuzz::PlainReader::number(entry.substr(two + 1)),
                           entry.substr(one + 1, two - one - 1)});
        at = end + 1;
    }
    return all;
}

void try_proxy_discovery(const std::string& text)
{
    using D = DAMessageXmlData;
    const Fields<D> fields = {{"name", &D::name},
                              {"napi-profile-name", &D::napi_profile_name},
                              {"action", &D::action},
                              {"disc-pref", &D::disc_pref},
                              {"dns-realm", &D::dns_realm},
                              {"dns-services", &D::dns_services},
                              {"ip-address", &D::ip_address}};
    D d;
    d.profile_id = d.link_reference = -7;
    if (!read_alike(text, d, fields)) return;
    const fuzz::PlainReader plain(text, 0);
    int profile = -7;
    int link = -7;
    plain.read("kiv-profile-id", profile);
    plain.read("link-reference", link);
    if (plain.comparable()) demand(d.profile_id == profile && d.link_reference == link);
    const std::vector<IMS_DA_PROXY_INFO> wanted = proxies_of(d.ip_address);
    demand(wanted.size() == d.proxy_list.size());
    for (std::size_t i = 0; i < wanted.size(); ++i)
        demand(wanted[i].address == d.proxy_list[i].address && wanted[i].kind == d.proxy_list[i].kind &&
               wanted[i].port == d.proxy_list[i].port);
    write_and_read(d, fields);
}

void try_link_event(const std::string& text)
{
    const Fields<DALinkEvXmlData> fields = {{"name", &DALinkEvXmlData::name},
                                            {"access-network", &DALinkEvXmlData::access_network}};
    DALinkEvXmlData d;
    if (!read_alike(text, d, fields)) return;
    const fuzz::PlainReader plain(text, 0);
    if (!plain.comparable()) return;
    const struct {
        const char* element;
        const std::string& got;
        const char* parent;
    } rows[] = {{"access-type", d.coverage.access_type, nullptr},
                {"hplmn", d.coverage.hplmn, nullptr},
                {"utran-cell-id-3gpp", d.coverage.utran_cell_id, nullptr},
                {"AP", d.ieee.ap, nullptr},
                {"name", d.device.name, "device"},
                {"ue-mac", d.device.ue_mac, nullptr},
                {"ip-address", d.device.ip_address, nullptr},
                {"status", d.device.status, nullptr},
                {"cause", d.device.cause, nullptr}};
    for (const auto& row : rows) {
        std::string wanted;
        plain.read(row.element, wanted, row.parent);
        demand(row.got == wanted);
    }
}

void try_registrar_configuration(const std::string& text)
{
    using D = RegistrarToRegUaXmlData;
    D d;
    read_alike<D>(text, d,
                  {{"name", &D::name},
                   {"kiv-profile-id", &D::kiv_profile_id},
                   {"action", &D::action},
                   {"napi-profile-name", &D::napi_profile_name},
                   {"aor", &D::aor},
                   {"reg-expiry", &D::reg_expiry},
                   {"impi", &D::impi},
                   {"impu", &D::impu},
                   {"id", &D::id},
                   {"registrar-address", &D::registrar_address},
                   {"registrar-realm", &D::registrar_realm},
                   {"domain-name", &D::domain_name},
                   {"disc-pref", &D::disc_pref},
                   {"dns-realm", &D::dns_realm},
                   {"ip-address", &D::ip_address},
                   {"ue-sip-port", &D::ue_sip_port},
                   {"max-attempts", &D::max_attempts},
                   {"interval", &D::interval}});
}

void try_registration_values(const std::string& text)
{
    using D = RegUaNotifyData;
    D d;
    read_alike<D>(text, d,
                  {{"registration", &D::registration},
                   {"aor", &D::aor},
                   {"contact", &D::contact},
                   {"state", &D::state},
                   {"xmlns", &D::xmlns},
                   {"version", &D::version},
                   {"duration-registered", &D::duration_registered},
                   {"uri", &D::uri},
                   {"event", &D::event}},
                  XML_PARSE_RECOVER);
}

void try_small_ones(const std::string& text)
{
    using Status = NotifyUaXmlData;
    try_both_ways<Status>(text, {{"name", &Status::name},
                                 {"ip-address", &Status::ip_address},
                                 {"reg-status", &Status::reg_status},
                                 {"access-network", &Status::access_network}});
    using Request = AppToRegUaXmlData;
    try_both_ways<Request>(text, {{"request-type", &Request::request_type},
                                  {"error", &Request::error},
                                  {"diagnostic", &Request::diagnostic}});
    using Route = IMSSetRouteXml;
    try_both_ways<Route>(text, {{"kiv-profile-id", &Route::profile_id},
                                {"action", &Route::action},
                                {"ip-address", &Route::ip_address},
                                {"name", &Route::name},
                                {"ue-sip-port", &Route::ue_sip_port}});
    using Package = IMSComponentPackageInfo;
    try_both_ways<Package>(text, {{"package-info", &Package::package_info}});
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size > 4096) return 0; // internal entities grow with the square of the text
    const std::string text(reinterpret_cast<const char*>(data), size);
    try_ua_info(text);
    try_proxy_discovery(text);
    try_link_event(text);
    try_registrar_configuration(text);
    try_registration_values(text);
    try_small_ones(text);
    return 0;
}
