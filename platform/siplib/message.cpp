#include "siplib/message.h"

#include <algorithm>

namespace siplib {
namespace {

constexpr std::size_t none = static_cast<std::size_t>(-1);
constexpr std::size_t usual_fields = 16;

std::uint32_t as_u32(std::size_t n)
{
    return static_cast<std::uint32_t>(n);
}

} // namespace

void Message::clear()
{
    text_.clear();
    fields_.clear();
    start_ = start_size_ = body_ = body_size_ = 0;
}

void Message::reserve(std::size_t bytes)
{
    text_.reserve(bytes);
    fields_.reserve(usual_fields);
}

std::uint32_t Message::keep(std::string_view text)
{
    const auto at = as_u32(text_.size());
    text_.append(text);
    return at;
}

// Reads the header that starts at `at` and all its continuation lines (RFC 3261 section 7.3.1). Returns where
// the next one starts.
std::size_t Message::parse_field(std::size_t at, std::size_t end)
{
    std::size_t line_end = text_.find('\n', at);
    if (line_end == std::string::npos || line_end > end) line_end = end;
    while (line_end + 1 < end && (text_[line_end + 1] == ' ' || text_[line_end + 1] == '\t')) {
        text_[line_end] = ' ';
        if (text_[line_end - 1] == '\r') text_[line_end - 1] = ' ';
        const std::size_t more = text_.find('\n', line_end + 1);
        line_end = more == std::string::npos || more > end ? end : more;
    }
    note_field(at, line_end);
    return line_end < end ? line_end + 1 : end;
}

void Message::note_field(std::size_t at, std::size_t end)
{
    const std::string_view whole = std::string_view(text_).substr(at, end - at);
    const auto colon = whole.find(':');
    if (colon == std::string_view::npos) return; // no header line: left out
    const std::string_view name = trimmed(whole.substr(0, colon));
    const std::string_view value = trimmed(whole.substr(colon + 1));
    if (name.empty()) return;
    const char* base = text_.data();
    const char* value_at = value.empty() ? base + at + colon + 1 : value.data();
    fields_.push_back({as_u32(static_cast<std::size_t>(name.data() - base)), as_u32(name.size()),
                       as_u32(static_cast<std::size_t>(value_at - base)), as_u32(value.size())});
}

bool Message::parse(std::string text, std::size_t body_at)
{
    clear();
    text_ = std::move(text);
    if (body_at > text_.size()) body_at = text_.size();
    const std::size_t line_end = text_.find('\n');
    if (line_end == std::string::npos || line_end >= body_at) return false;
    const std::string_view line = trimmed(std::string_view(text_).substr(0, line_end));
    start_ = as_u32(line.empty() ? 0 : static_cast<std::size_t>(line.data() - text_.data()));
    start_size_ = as_u32(line.size());
    fields_.reserve(usual_fields);
    for (std::size_t at = line_end + 1; at < body_at;)
        at = parse_field(at, body_at);
    body_ = as_u32(body_at);
    body_size_ = as_u32(text_.size() - body_at);
    return start_size_ > 0;
}

// Values that were replaced stay in the text until they would outweigh the message: then it is written anew.
void Message::drop_replaced()
{
    if (text_.size() < 4 * max_message_size) return;
    Message fresh;
    fresh.start_size_ = start_size_;
    fresh.start_ = fresh.keep(start_line());
    for (std::size_t i = 0; i < count(); ++i)
        fresh.add(name(i), value(i));
    fresh.set_body(body());
    *this = std::move(fresh);
}

std::size_t Message::index_of(std::string_view header, std::size_t from) const
{
    if (header.size() == 1) header = full_header_name(header);
    for (std::size_t i = from; i < fields_.size(); ++i) {
        const std::size_t size = fields_[i].name_size; // most names differ in size already
        if (size == 1 ? same_header(name(i), header) : size == header.size() && same_word(name(i), header))
            return i;
    }
    return none;
}

std::string_view Message::find(std::string_view header) const
{
    const std::size_t i = index_of(header, 0);
    return i == none ? std::string_view() : value(i);
}

std::size_t Message::occurrences(std::string_view header) const
{
    std::size_t found = 0;
    for (std::size_t i = index_of(header, 0); i != none; i = index_of(header, i + 1))
        ++found;
    return found;
}

void Message::add(std::string_view header, std::string_view value)
{
    drop_replaced();
    const std::uint32_t at = keep(header);
    const std::uint32_t value_at = keep(value);
    fields_.push_back({at, as_u32(header.size()), value_at, as_u32(value.size())});
}

void Message::set(std::string_view header, std::string_view value)
{
    const std::size_t first = index_of(header, 0);
    if (first == none) {
        add(header, value);
        return;
    }
    const std::string kept_name(header);
    const std::string kept_value(value); // may be a view into this very message
    drop_replaced();
    for (std::size_t i = index_of(kept_name, first + 1); i != none; i = index_of(kept_name, i))
        fields_.erase(fields_.begin() + static_cast<std::ptrdiff_t>(i));
    const std::uint32_t value_at = keep(kept_value);
    fields_[first].value = value_at;
    fields_[first].value_size = as_u32(kept_value.size());
}

std::size_t Message::remove(std::string_view header)
{
    const std::string wanted(header);
    std::size_t removed = 0;
    for (std::size_t i = index_of(wanted, 0); i != none; i = index_of(wanted, i), ++removed)
        fields_.erase(fields_.begin() + static_cast<std::ptrdiff_t>(i));
    return removed;
}

void Message::set_body(std::string_view bytes)
{
    body_size_ = 0;
    drop_replaced();
    body_ = keep(bytes);
    body_size_ = as_u32(bytes.size());
}

void Message::append_fields_to(std::string& text) const
{
    constexpr std::size_t separators = 4; // ": " and the end of the line
    const std::size_t before = text.size();
    std::size_t size = before;
    for (const Field& field : fields_)
        size += field.name_size + field.value_size + separators;
    text.resize(size);
    char* at = &text[before];
    const auto put = [&at](std::string_view part) { at = std::copy(part.begin(), part.end(), at); };
    for (std::size_t i = 0; i < fields_.size(); ++i) {
        if (same_header(name(i), "Content-Length")) continue;
        put(name(i));
        put(": ");
        put(value(i));
        put("\r\n");
    }
    text.resize(static_cast<std::size_t>(at - text.data()));
}

std::size_t Message::wire_size() const
{
    std::size_t size = body_size_ + 64;
    for (const Field& field : fields_)
        size += field.name_size + field.value_size + 4;
    return size;
}

} // namespace siplib
