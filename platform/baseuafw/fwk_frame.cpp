#include "baseuafw/fwk_frame.h"

#include <algorithm>

namespace fwk {

namespace {

bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

} // namespace

std::string frame(const std::string& payload)
{
    return std::to_string(payload.size()) + '\n' + payload;
}

std::string encode_value(const std::string& value)
{
    std::string text;
    text.reserve(value.size());
    for (const char c : value) {
        if (c == '%')
            text += "%25";
        else if (c == '\n')
            text += "%0A";
        else
            text += c;
    }
    return text;
}

std::string decode_value(const std::string& text)
{
    std::string value;
    value.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool line_feed = text.compare(i, 3, "%0A") == 0 || text.compare(i, 3, "%0a") == 0;
        const bool percent = text.compare(i, 3, "%25") == 0;
        value += line_feed ? '\n' : text[i];
        if (line_feed || percent) i += 2;
    }
    return value;
}

void FrameDecoder::feed(const char* bytes, std::size_t count)
{
    buffer_.append(bytes, count);
}

FrameDecoder::Result FrameDecoder::next(std::string& payload)
{
    const auto end = std::find_if_not(buffer_.begin(), buffer_.end(), is_digit);
    const auto digits = static_cast<std::size_t>(end - buffer_.begin());
    if (digits > MAX_LENGTH_DIGITS) return Result::bad_length;
    if (end == buffer_.end()) return Result::more;
    if (digits == 0 || *end != '\n') return Result::bad_length;
    const std::size_t length = std::stoul(buffer_.substr(0, digits));
    if (length > MAX_PAYLOAD) return Result::too_long;
    if (buffer_.size() - digits - 1 < length) return Result::more;
    payload.assign(buffer_, digits + 1, length);
    buffer_.erase(0, digits + 1 + length);
    return Result::frame;
}

} // namespace fwk
