// Header values that every parser takes: what nearly all requests are made of.
//
// The stack's parser is the judge of what may be set (header_check.h), and asking it costs more than the rest
// of setting a header. What is recognised here needs no judge.
//
// Thread   pure functions.
// Errors   false says nothing about the value: it may be right.
#ifndef SIPLIB_PLAIN_VALUE_H_INCLUDED
#define SIPLIB_PLAIN_VALUE_H_INCLUDED

#include <string_view>

namespace siplib {

// True for a From, To or Contact of the form <sip:user@host:port;name=value> with or without ;tag=token, and
// for Event, Subscription-State, Content-Type, Call-ID and Expires without parameters. Letters, digits, '-',
// '.' and
// '_' only; the user and everything behind the host may be missing.
bool is_plain_value(std::string_view header, std::string_view value);

} // namespace siplib

#endif
