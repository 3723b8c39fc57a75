// Texts of Sofia-SIP's messages: out of a received one, and into one that is to be sent.
//
// Thread   the SIP thread.
#ifndef SIPLIB_SOFIA_RAW_MESSAGE_H_INCLUDED
#define SIPLIB_SOFIA_RAW_MESSAGE_H_INCLUDED

#include "siplib/backend.h"

#include <sofia-sip/msg.h>
#include <sofia-sip/sip.h>

namespace siplib::sofia {

// The message as it came, with what the stack has changed since (Via's received and rport).
RawMessage raw_message(const sip_t* sip);
void read_raw_message(const sip_t* sip, RawMessage& raw); // into memory that may be there already

// Whether the datagram, or the connection, ended before the body did (RFC 3261 section 18.3).
bool is_cut_short(const sip_t* sip);

// null when the stack's parser does not accept the text as a SIP message. The caller owns the result.
msg_t* message_of(std::string_view text);

} // namespace siplib::sofia

#endif
