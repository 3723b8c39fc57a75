// Reads a received NOTIFY into what is shown of it.
//
// Thread   main: the documents are the library's.
#ifndef IMSWATCH_RECEIVED_NOTIFY_H_INCLUDED
#define IMSWATCH_RECEIVED_NOTIFY_H_INCLUDED

#include "siplib/SIPLIB.h"
#include "tools/imswatch/notify_view.h"

// The value of header `name`; "" when it is absent.
std::string header_of(SIPLIB_SIPConnection& connection, const char* name);

// Fills everything but `package`, which says how the body is read. False when Subscription-State is absent
// or broken.
bool read_notify(SIPLIB_SIPConnection& connection, Notify_view& view);

#endif
