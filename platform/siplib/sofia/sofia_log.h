// Sofia-SIP's own log lines, sent into ours according to the stack's logMask.
//
// Thread   redirect: before the stack starts. The lines come from the SIP thread.
#ifndef SIPLIB_SOFIA_SOFIA_LOG_H_INCLUDED
#define SIPLIB_SOFIA_SOFIA_LOG_H_INCLUDED

namespace siplib::sofia {

// From now on nothing of Sofia-SIP goes to standard error; what the mask (1 DEBUG 2 INFO 4 WARN 8 ERROR
// 16 EXCEP 32 SYNC) lets through is logged under "sofia".
void redirect_log(unsigned char mask);

} // namespace siplib::sofia

#endif
