// What a client asks the framework daemon, and what it makes of the answers: payloads only, no sockets.
// docs/framework-protocol.md gives both.
//
// Thread   pure functions.
// Errors   come back as false or an empty text. Nothing here logs.
#ifndef BASEUAFW_FWK_ANSWER_H_INCLUDED
#define BASEUAFW_FWK_ANSWER_H_INCLUDED

#include "baseuafw/baseuafw.h"

#include <string>
#include <vector>

namespace fwk {

// The payload of a request; empty when it cannot be carried: a document name, path or tag that is empty
// or holds a line feed, or a payload that would be over MAX_PAYLOAD.
std::string get_request(const std::string& document, const std::string& xpath);
std::string set_request(const std::string& document, const std::string& xpath, const std::string& value);
std::string mget_request(const std::string& document, const std::vector<SIP_IMS_CFG_TAG_VALUE_T>& pairs);

// Answer to GET. True: found, `value` filled (perhaps empty). False: `value` unchanged.
[[nodiscard]] bool parse_value(const std::string& answer, std::string& value);

// Answer to SET: was it stored?
[[nodiscard]] bool parse_stored(const std::string& answer);

// Answer to MGET: fills the value of every pair whose tag was answered and leaves the others alone.
// True when at least one was filled.
[[nodiscard]] bool parse_pairs(const std::string& answer, std::vector<SIP_IMS_CFG_TAG_VALUE_T>& pairs);

// Answer to SYNC: is the configuration ready?
[[nodiscard]] bool parse_go(const std::string& answer);

} // namespace fwk

#endif
