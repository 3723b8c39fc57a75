#include "siplib/connector.h"

namespace siplib {

// The stack behind these lands next; until then nothing can be opened.
SIPLIB_SIPObject* open_uri(const char*, const char*)
{
    return nullptr;
}

SIPLIB_SIPObject* open_address(const char*, const char*, int, const char*, int)
{
    return nullptr;
}

SIPLIB_SIPObject* open_to_from(const char*, const char*, const char*)
{
    return nullptr;
}

} // namespace siplib

int SIPLIB_SIPStart(const SIPLIB_StackCfg*)
{
    return SIPLIB_ERR_TRANSPORT;
}

void SIPLIB_SIPStop() {}
