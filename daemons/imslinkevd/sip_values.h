// Values in and out of SIP connections: what the agent reads from requests and makes up for responses.
//
// Thread   main; one connection at a time.
#ifndef IMSLINKEVD_SIP_VALUES_H_INCLUDED
#define IMSLINKEVD_SIP_VALUES_H_INCLUDED

#include "daemons/imslinkevd/subscribe_request.h"
#include "siplib/SIPLIB.h"

// The headers of a SUBSCRIBE. False when one is longer than 2047 characters.
bool read_headers(SIPLIB_SIPConnection& connection, Subscribe_headers& headers);

// The Retry-After of a response; 0 without one or with a broken one. At most an hour.
Seconds retry_after_of(SIPLIB_SIPConnection& connection);

#endif
