#include "daemons/imslinkevd/notify_documents.h"

namespace {

constexpr std::size_t MAX_CHARACTERS = 64;

// Length of the well-formed UTF-8 sequence at `i` (RFC 3629), 0 if there is none.
std::size_t sequence_length(const std::string& text, std::size_t i)
{
    const auto byte = [&](std::size_t k) {
        return k < text.size() ? static_cast<unsigned char>(text[k]) : 0u;
    };
    const unsigned first = byte(i);
    const auto follows = [&](std::size_t k) { return (byte(i + k) & 0xC0u) == 0x80u; };
    if (first < 0x80) return first >= 0x20 && first != 0x7f ? 1 : 0;
    if (first >= 0xC2 && first <= 0xDF) return follows(1) ? 2 : 0;
    if (first >= 0xE0 && first <= 0xEF) {
        const bool overlong = first == 0xE0 && byte(i + 1) < 0xA0;
        const bool surrogate = first == 0xED && byte(i + 1) > 0x9F;
        const bool no_character = first == 0xEF && byte(i + 1) == 0xBF && byte(i + 2) > 0xBD;
        return follows(1) && follows(2) && !overlong && !surrogate && !no_character ? 3 : 0;
    }
    if (first >= 0xF0 && first <= 0xF4) {
        const bool overlong = first == 0xF0 && byte(i + 1) < 0x90;
        const bool beyond = first == 0xF4 && byte(i + 1) > 0x8F;
        return follows(1) && follows(2) && follows(3) && !overlong && !beyond ? 4 : 0;
    }
    return 0;
}

} // namespace

std::string document_text(const std::string& text)
{
    std::string out;
    std::size_t characters = 0;
    for (std::size_t i = 0; i < text.size() && characters < MAX_CHARACTERS; ++characters) {
        const std::size_t length = sequence_length(text, i);
        if (length == 0)
            out += '?';
        else if (text[i] == '&')
            out += "&amp;";
        else
            out.append(text, i, length);
        i += length > 0 ? length : 1;
    }
    return out;
}

void fill_document(const Link_report& report, const Profile& profile, DALinkEvXmlData& document)
{
    document.name = document_text(profile.name);
    document.profile_id = profile.id;
    document.link_reference = report.reference;
    document.access_network = document_text(report.access_network);
    document.ieee.access_type = document_text(report.access_type);
    document.ieee.ap = document_text(report.access_point);
    document.device.name = document_text(report.name);
    document.device.ue_mac = document_text(report.mac);
    document.device.ip_address = document_text(report.ip_address);
    document.device.status = status_text(report);
    document.device.cause = document_text(report.cause);
}

void fill_document(const Link_report& report, DALinkAvailEvXmlData& document)
{
    document.access_network = document_text(report.access_network);
    document.ieee.access_type = document_text(report.access_type);
    document.ieee.ap = document_text(report.access_point);
    document.threegpp.access_type = document_text(report.access_type);
}
