#include "siplib/response_text.h"

#include "siplib/reason_phrase.h"

namespace siplib {
namespace {

constexpr const char* copied[] = {"Via", "Record-Route", "From", "To", "Call-ID", "CSeq"};

void append_line(std::string& text, std::string_view name, std::string_view value)
{
    text.append(name).append(": ").append(value).append("\r\n");
}

void append_copies(std::string& text, const Message& request, const char* header, const std::string& to_tag)
{
    const bool is_to = same_word(header, "To");
    for (std::size_t i = 0; i < request.count(); ++i) {
        if (!same_header(request.name(i), header)) continue;
        if (is_to && !to_tag.empty() && tag_in(request.value(i)).empty())
            append_line(text, header, std::string(request.value(i)) + ";tag=" + to_tag);
        else
            append_line(text, header, request.value(i));
    }
}

} // namespace

std::string response_text(const Message& request, const Message& response, int code,
                          const std::string& to_tag)
{
    std::string text;
    text.reserve(request.wire_size() + response.wire_size() + 128);
    text.append("SIP/2.0 ")
        .append(std::to_string(code))
        .append(" ")
        .append(reason_phrase(code))
        .append("\r\n");
    for (const char* header : copied)
        if (!response.has(header)) append_copies(text, request, header, code > 100 ? to_tag : std::string());
    response.append_fields_to(text);
    append_line(text, "Content-Length", std::to_string(response.body().size()));
    text.append("\r\n").append(response.body());
    return text;
}

} // namespace siplib
