// Judges a SUBSCRIBE by its headers (RFC 6665 4.2.1, RFC 3261 8.2 and 12.2).
//
// Thread   any. Pure functions: header texts in, a verdict out.
#ifndef IMSLINKEVD_SUBSCRIBE_REQUEST_H_INCLUDED
#define IMSLINKEVD_SUBSCRIBE_REQUEST_H_INCLUDED

#include "daemons/imslinkevd/subscriptions.h"

// The header values of one request; "" for an absent one.
struct Subscribe_headers {
    std::string from, to, call_id, cseq, contact, event, expires, accept, require;
};

struct Expires_limits {
    std::uint32_t least = 60;       // shorter ones are answered 423
    std::uint32_t usual = 3600;     // granted when the request names none
    std::uint32_t most = 24 * 3600; // longer ones are shortened
};

struct Subscribe_verdict {
    int code = 200;             // what to answer; the fields below hold for 200 only
    const char* why = "";       // for the log
    Subscription_key key;       // local_tag: the request's To tag, "" when it opens a dialog
    Subscription_dialog dialog; // from: the request's To as it stands
    Seconds expires{0};         // granted

    bool is_in_dialog() const { return !key.local_tag.empty(); }
};

Subscribe_verdict judge_subscribe(const Subscribe_headers& headers, const Expires_limits& limits);

// The package of an Event value's type, case-sensitive as RFC 6665 8.2.1 compares it. False if not served.
bool find_package(const std::string& name, Package& out);
const char* package_name(Package package);

// The header that a refusal with `code` must carry, as name and value; null where there is none.
struct Refusal_header {
    const char* name;
    std::string value;
};
std::optional<Refusal_header> refusal_header(int code, const Subscribe_headers& headers,
                                             const Expires_limits& limits);

#endif
