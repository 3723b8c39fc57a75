// SIPLIB.h -- public interface of libpelgo_siplib: everything, one header a class.
#ifndef SIPLIB_H_INCLUDED
#define SIPLIB_H_INCLUDED

#include "siplib/SIPLIB_SIPAddress.h"
#include "siplib/SIPLIB_SIPClientConnection.h"
#include "siplib/SIPLIB_SIPConnection.h"
#include "siplib/SIPLIB_SIPConnector.h"
#include "siplib/SIPLIB_SIPDialog.h"
#include "siplib/SIPLIB_SIPNotifier.h"
#include "siplib/SIPLIB_SIPObject.h"
#include "siplib/SIPLIB_SIPServerConnection.h"
#include "siplib/SIPLIB_Stack.h"
#include "siplib/SIPLIB_types.h"

#endif
