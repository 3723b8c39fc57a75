// A request of a peer and our response to it: what SIPLIB_SIPNotifier::acceptAndOpen yields.
//
// initResponse, headers and body if wanted, send(). Several provisional responses (1xx) and one final one. A
// To tag is added when the request had none, the same in all responses. A request that nobody answers is
// forgotten 64*T1 after its arrival. receive() is SIPLIB_OK once: the request was there from the beginning.
//
// Thread, Memory, Errors   as SIPLIB_SIPConnection. send() without initResponse, or after the final response:
// SIPLIB_ERR_STATE.
#ifndef SIPLIB_SIPSERVERCONNECTION_H_INCLUDED
#define SIPLIB_SIPSERVERCONNECTION_H_INCLUDED

#include "siplib/SIPLIB_SIPConnection.h"

class SIPLIB_API SIPLIB_SIPServerConnection : public SIPLIB_SIPConnection {};

#endif
