// All public headers of the framework.
#ifndef IMSUA_H_INCLUDED
#define IMSUA_H_INCLUDED

#include "include/ims_types.h"
#include "include/sip_names.h"

#endif
