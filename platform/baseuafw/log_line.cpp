#include "baseuafw/log_line.h"

#include <cstring>

namespace baseuafw {
namespace {

// Appends whole pieces only: an escape sequence is never cut in the middle.
class Line {
public:
    Line(char* out, std::size_t capacity) : out_(out), left_(capacity) {}

    void add(const char* piece, std::size_t length)
    {
        if (length > left_) left_ = 0; // nothing after the first piece that does not fit
        if (left_ == 0) return;
        std::memcpy(out_ + used_, piece, length);
        used_ += length;
        left_ -= length;
    }
    void add_byte(char byte) { add(&byte, 1); }
    std::size_t used() const { return used_; }

private:
    char* out_;
    std::size_t left_;
    std::size_t used_ = 0;
};

void add_shown(Line& line, unsigned char byte)
{
    static constexpr char digits[] = "0123456789abcdef";
    if (byte == '\n')
        line.add("\\n", 2);
    else if (byte == '\r')
        line.add("\\r", 2);
    else if ((byte < 0x20 && byte != '\t') || byte == 0x7f) {
        const char shown[] = {'\\', 'x', digits[byte >> 4], digits[byte & 15]};
        line.add(shown, sizeof shown);
    } else
        line.add_byte(static_cast<char>(byte));
}

void add_text(Line& line, const char* text)
{
    std::size_t length = std::strlen(text);
    if (length > 0 && text[length - 1] == '\n') --length;
    for (std::size_t i = 0; i < length; ++i)
        add_shown(line, static_cast<unsigned char>(text[i]));
}

void add_number(Line& line, int number)
{
    char digits[12];
    std::size_t at = sizeof digits;
    unsigned left = number < 0 ? 0u - static_cast<unsigned>(number) : static_cast<unsigned>(number);
    do {
        digits[--at] = static_cast<char>('0' + left % 10);
        left /= 10;
    } while (left > 0);
    if (number < 0) digits[--at] = '-';
    line.add(digits + at, sizeof digits - at);
}

} // namespace

std::size_t format_log_line(char* out, std::size_t capacity, const LogLine& record)
{
    Line line(out, capacity - 1);
    add_text(line, record.program);
    line.add_byte('[');
    add_number(line, record.level);
    line.add("] ", 2);
    add_text(line, record.function);
    line.add(": ", 2);
    add_text(line, record.text);
    out[line.used()] = '\n';
    return line.used() + 1;
}

} // namespace baseuafw
