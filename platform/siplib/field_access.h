// The header, body and method operations that client and server connections share: argument checks, capacity
// rules, and the rules for what may be set.
//
// Thread   pure functions on the message they are given.
// Errors   SIPLIB_ codes.
#ifndef SIPLIB_FIELD_ACCESS_H_INCLUDED
#define SIPLIB_FIELD_ACCESS_H_INCLUDED

#include "siplib/message.h"

namespace siplib {

int copy_header(const Message& message, const char* name, char* buf, int& len);
// A body that does not fit is cut, counted (SIPLIB_SIPCutBodies) and reported; `method` names it in the log.
int copy_body(const Message& message, std::string_view method, char* buf, int& len);
int copy_method(std::string_view method, char* buf, int capacity);
std::string_view method_of(const Message& message); // of a request; of a response: the one in CSeq

// One header more, or in place of all of its name.
int put_header(Message& message, const char* name, const char* value, bool more);
int remove_header(Message& message, const char* name);
int put_body(Message& message, const char* data, int len);
int check_method(const char* name);

} // namespace siplib

#endif
