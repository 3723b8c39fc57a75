#include "tools/imsladder/sip_summary.h"

#include <algorithm>
#include <cctype>

namespace imsladder {
namespace {

constexpr std::size_t head_lines = 14;
constexpr std::size_t head_line_size = 160;

char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool same_name(std::string_view a, std::string_view b)
{
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return lower(x) == lower(y); });
}

std::string_view trimmed(std::string_view text)
{
    const auto blank = [](char c) { return c == ' ' || c == '\t'; };
    while (!text.empty() && blank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && blank(text.back()))
        text.remove_suffix(1);
    return text;
}

std::string_view before(std::string_view text, const char* ends)
{
    return trimmed(text.substr(0, text.find_first_of(ends)));
}

// One line off `rest`, without its CRLF or LF.
std::string_view take_line(std::string_view& rest)
{
    const std::size_t end = rest.find('\n');
    std::string_view line = rest.substr(0, end);
    rest.remove_prefix(end == rest.npos ? rest.size() : end + 1);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    return line;
}

// The next header with its folded lines joined (RFC 3261 section 7.3.1); empty at the end of the headers.
std::string take_header(std::string_view& rest)
{
    std::string header(take_line(rest));
    while (!header.empty() && !rest.empty() && (rest.front() == ' ' || rest.front() == '\t'))
        header.append(" ").append(trimmed(take_line(rest)));
    return header;
}

std::string branch_of(std::string_view via)
{
    via = via.substr(0, via.find(','));
    for (std::size_t at = via.find(';'); at != via.npos; at = via.find(';')) {
        via.remove_prefix(at + 1);
        const std::size_t equals = via.find('=');
        if (equals != via.npos && same_name(trimmed(via.substr(0, equals)), "branch"))
            return std::string(before(via.substr(equals + 1), ";"));
    }
    return "";
}

struct HeaderRow {
    const char* name;
    const char* compact;
    std::string Summary::*field;
    const char* ends; // where the wanted part of the value ends
};
constexpr HeaderRow header_rows[] = {
    {"Call-ID", "i", &Summary::call_id, ""}, {"CSeq", "", &Summary::cseq, ""},
    {"Event", "o", &Summary::event, ";"},    {"Subscription-State", "", &Summary::state, ";"},
    {"Expires", "", &Summary::expires, ";"},
};

void take_note(Summary& summary, std::string_view header)
{
    const std::size_t colon = header.find(':');
    if (colon == header.npos) return;
    const std::string_view name = trimmed(header.substr(0, colon));
    const std::string_view value = trimmed(header.substr(colon + 1));
    if (summary.branch.empty() && (same_name(name, "Via") || same_name(name, "v")))
        summary.branch = branch_of(value);
    for (const HeaderRow& row : header_rows) {
        const bool wanted = same_name(name, row.name) || (row.compact[0] && same_name(name, row.compact));
        if (wanted && (summary.*row.field).empty()) summary.*row.field = std::string(before(value, row.ends));
    }
}

bool is_number(std::string_view text)
{
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// Status-Line = "SIP/2.0" SP 3DIGIT SP Reason-Phrase;  Request-Line = Method SP Request-URI SP "SIP/2.0"
void read_start_line(Summary& summary, std::string_view line)
{
    const std::size_t first = line.find(' ');
    const std::size_t last = line.rfind(' ');
    if (first == line.npos) return;
    if (same_name(line.substr(0, first), "SIP/2.0")) {
        const std::string_view code = before(line.substr(first + 1), " ");
        if (code.size() != 3 || !is_number(code)) return;
        summary.kind = Summary::Kind::response;
        summary.status = std::stoi(std::string(code));
        summary.reason = std::string(trimmed(line.substr(std::min(line.size(), first + 5))));
    } else if (first != last && same_name(line.substr(last + 1), "SIP/2.0")) {
        summary.kind = Summary::Kind::request;
        summary.method = std::string(line.substr(0, first));
    }
}

std::string head_of(std::string_view message)
{
    std::string head;
    for (std::size_t n = 0; n < head_lines && !message.empty(); ++n) {
        const std::string_view line = take_line(message);
        if (line.empty() && n > 0) break;
        if (n > 0) head += '\n';
        head += printable(line.substr(0, head_line_size));
    }
    return head;
}

} // namespace

Summary summarize(std::string_view message)
{
    Summary summary;
    summary.size = message.size();
    summary.head = head_of(message);
    std::string_view rest = message;
    read_start_line(summary, take_line(rest));
    if (summary.kind == Summary::Kind::other) return summary;
    for (std::string header = take_header(rest); !header.empty(); header = take_header(rest))
        take_note(summary, header);
    if (summary.kind == Summary::Kind::response) {
        const std::size_t blank = summary.cseq.find_last_of(" \t");
        if (blank != std::string::npos) summary.method = summary.cseq.substr(blank + 1);
    }
    return summary;
}

std::string label_of(const Summary& summary)
{
    std::string label;
    switch (summary.kind) {
    case Summary::Kind::request:
        label = summary.method;
        if (!summary.event.empty()) label += ' ' + summary.event;
        if (!summary.state.empty()) label += ' ' + summary.state;
        if (summary.expires == "0") label += " (Expires: 0)";
        break;
    case Summary::Kind::response:
        label = std::to_string(summary.status);
        if (!summary.reason.empty()) label += ' ' + summary.reason;
        if (!summary.method.empty()) label += " (" + summary.method + ')';
        break;
    case Summary::Kind::other: label = "(" + std::to_string(summary.size) + " bytes, not SIP)"; break;
    }
    return printable(label);
}

std::string printable(std::string_view text)
{
    std::string safe(text);
    for (char& c : safe)
        if (c == '\t')
            c = ' ';
        else if (c < 0x20 || c >= 0x7F)
            c = '?';
    return safe;
}

} // namespace imsladder
