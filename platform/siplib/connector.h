// The real opening of notifiers and client connections, behind SIPLIB_SIPConnector.
//
// Thread   any.
#ifndef SIPLIB_CONNECTOR_H_INCLUDED
#define SIPLIB_CONNECTOR_H_INCLUDED

#include "siplib/SIPLIB.h"

namespace siplib {

// The three forms of SIPLIB_SIPConnector::open, without the override; null on failure, which is logged.
SIPLIB_SIPObject* open_uri(const char* desturi, const char* srcuri);
SIPLIB_SIPObject* open_address(const char* type, const char* destip, int destport, const char* srcip,
                               int srcport);
SIPLIB_SIPObject* open_to_from(const char* to, const char* from, const char* srcuri);

} // namespace siplib

#endif
