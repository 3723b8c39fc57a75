// A request of ours as a message of Sofia-SIP's.
//
// A NOTIFY has a dozen headers, of which a client transaction reads seven. Those are filled in; the others go
// along as the text that they are, and all of it leaves from one piece of memory.
//
// Thread   the SIP thread.
#ifndef SIPLIB_SOFIA_REQUEST_MESSAGE_H_INCLUDED
#define SIPLIB_SOFIA_REQUEST_MESSAGE_H_INCLUDED

#include <sofia-sip/msg.h>
#include <sofia-sip/sip.h>
#include <string_view>

namespace siplib::sofia {

// `text` is a whole request without folded lines. On the wire the message is that text, besides what the
// stack inserts. The caller owns the result; it is null when the stack's parser does not accept the request.
msg_t* request_message(std::string_view text);

} // namespace siplib::sofia

#endif
