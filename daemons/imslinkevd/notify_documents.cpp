#include "daemons/imslinkevd/notify_documents.h"

namespace {

constexpr std::size_t MAX_CHARACTERS = 64;

// Well-formed UTF-8 by its first two bytes (The Unicode Standard, table 3-7), without control characters.
struct Sequence {
    unsigned first_from, first_to;
    std::size_t length;
    unsigned second_from, second_to;
};
// clang-format off
constexpr Sequence sequences[] = {
    {0x20, 0x7e, 1, 0,    0},
    {0xc2, 0xdf, 2, 0x80, 0xbf},
    {0xe0, 0xe0, 3, 0xa0, 0xbf},
    {0xe1, 0xec, 3, 0x80, 0xbf},
    {0xed, 0xed, 3, 0x80, 0x9f}, // no surrogates
    {0xee, 0xef, 3, 0x80, 0xbf},
    {0xf0, 0xf0, 4, 0x90, 0xbf},
    {0xf1, 0xf3, 4, 0x80, 0xbf},
    {0xf4, 0xf4, 4, 0x80, 0x8f},
};
// clang-format on

unsigned byte_at(const std::string& text, std::size_t i)
{
    return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u;
}

bool stands_at(const Sequence& row, const std::string& text, std::size_t i)
{
    const unsigned first = byte_at(text, i);
    if (first < row.first_from || first > row.first_to) return false;
    if (row.length == 1) return true;
    const unsigned second = byte_at(text, i + 1);
    if (second < row.second_from || second > row.second_to) return false;
    for (std::size_t k = 2; k < row.length; ++k)
        if ((byte_at(text, i + k) & 0xc0u) != 0x80u) return false;
    return true;
}

// Length of the character at `i` that XML can carry; 0 if there is none.
std::size_t sequence_length(const std::string& text, std::size_t i)
{
    const bool is_noncharacter =
        text.compare(i, 3, "\xef\xbf\xbe") == 0 || text.compare(i, 3, "\xef\xbf\xbf") == 0;
    for (const Sequence& row : sequences)
        if (!is_noncharacter && stands_at(row, text, i)) return row.length;
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
