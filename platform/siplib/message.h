// One SIP message as text: start line, header fields in order, body.
//
// Thread   one at a time.
// Memory   two allocations whatever the number of headers: one text, one table of fields.
// Errors   a field that is not there is a null view (data() == nullptr); an empty value is not.
#ifndef SIPLIB_MESSAGE_H_INCLUDED
#define SIPLIB_MESSAGE_H_INCLUDED

#include "siplib/sip_text.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace siplib {

class Message {
public:
    struct Field {
        std::uint32_t name, name_size;
        std::uint32_t value, value_size;
    };

    // Reads a whole message that the stack has accepted; the body starts at `body_at`. Folded lines become
    // one; headers in compact form keep their name. False when there is no start line.
    bool parse(std::string text, std::size_t body_at);
    void clear();                    // keeps the memory
    void reserve(std::size_t bytes); // and a usual number of fields

    std::string_view start_line() const { return view(start_, start_size_); }
    std::size_t count() const { return fields_.size(); }
    std::string_view name(std::size_t i) const { return view(fields_[i].name, fields_[i].name_size); }
    std::string_view value(std::size_t i) const { return view(fields_[i].value, fields_[i].value_size); }
    std::string_view find(std::string_view header) const;
    bool has(std::string_view header) const { return find(header).data() != nullptr; }
    std::size_t occurrences(std::string_view header) const;
    std::string_view body() const { return view(body_, body_size_); }

    void add(std::string_view header, std::string_view value);
    void set(std::string_view header, std::string_view value); // keeps the place of the first one
    std::size_t remove(std::string_view header);               // how many there were
    void set_body(std::string_view bytes);

    // Header lines of all fields, in order, except Content-Length.
    void append_fields_to(std::string& text) const;

    std::size_t held() const { return text_.capacity(); } // memory, in bytes

    // Roughly what the message takes on the wire.
    std::size_t wire_size() const;

private:
    std::string_view view(std::uint32_t at, std::uint32_t size) const { return {text_.data() + at, size}; }
    std::uint32_t keep(std::string_view text);
    std::size_t index_of(std::string_view header, std::size_t from) const;
    std::size_t parse_field(std::size_t at, std::size_t end);
    void note_field(std::size_t at, std::size_t end);
    void drop_replaced();

    std::string text_; // everything the views point into; replaced values stay until clear()
    std::vector<Field> fields_;
    std::uint32_t start_ = 0, start_size_ = 0;
    std::uint32_t body_ = 0, body_size_ = 0;
};

} // namespace siplib

#endif
