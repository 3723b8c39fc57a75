// The SIP vocabulary of the user agents: each name and its integer code.
//
// Some codes repeat on purpose: INFO, OPTIONS and UPDATE count as OTHER; a header and its routing or
// authentication twin share a code. "Content-Dispositon", "Rack" and "Minse" are spelled as the agents
// exchange them. One definition serves every source file.
#ifndef SIP_NAMES_H_INCLUDED
#define SIP_NAMES_H_INCLUDED

struct SIP_NAME_CODE_T {
    const char* name; // never null; "" is a row of its own
    int code;
};

// clang-format off
inline constexpr SIP_NAME_CODE_T SipMethodNameTable[] = {
    {"OTHER",     6},
    {"INFO",      6},
    {"OPTIONS",   6},
    {"UPDATE",    6},
    {"INVITE",    0},
    {"ACK",       1},
    {"BYE",       2},
    {"REGISTER",  3},
    {"REFER",     4},
    {"NOTIFY",    5},
    {"PRACK",     7},
    {"CANCEL",    8},
    {"SUBSCRIBE", 9},
};
inline constexpr int SipMethodNameTableSize = 13;

inline constexpr SIP_NAME_CODE_T SipHeaderNameTable[] = {
    {"*",                   12},
    {"Allow",               0},
    {"Contact",             1},
    {"Via",                 2},
    {"Expires",             3},
    {"Date",                4},
    {"Route",               5},
    {"Record-Route",        5},
    {"WWW-Authenticate",    6},
    {"Proxy-Authenticate",  6},
    {"Authorization",       7},
    {"Proxy-Authorization", 7},
    {"Refer-To",            8},
    {"Referred-By",         9},
    {"Content-Dispositon",  10},
    {"Retry-After",         11},
    {"RSeq",                13},
    {"Rack",                14},
    {"To",                  15},
    {"From",                16},
    {"CSeq",                17},
    {"Subscription-State",  18},
    {"Event",               19},
    {"Allow-Events",        20},
    {"Session-Expires",     21},
    {"Minse",               22},
    {"Replaces",            23},
    {"Content-Type",        24},
    {"Call-ID",             257},
};
inline constexpr int SipHeaderNameTableSize = 29;

inline constexpr SIP_NAME_CODE_T SipTransportNameTable[] = {
    {"",     4},
    {"tcp",  1},
    {"udp",  0},
    {"tls",  3},
    {"sctp", 2},
};
inline constexpr int SipTransportNameTableSize = 5;

inline constexpr SIP_NAME_CODE_T SipQopNameTable[] = {
    {"",              0},
    {"auth",          1},
    {"auth-int",      2},
    {"auth,auth-int", 3},
};
inline constexpr int SipQopNameTableSize = 4;
// clang-format on

static_assert(sizeof(SipMethodNameTable) / sizeof(SIP_NAME_CODE_T) == SipMethodNameTableSize, "rows");
static_assert(sizeof(SipHeaderNameTable) / sizeof(SIP_NAME_CODE_T) == SipHeaderNameTableSize, "rows");
static_assert(sizeof(SipTransportNameTable) / sizeof(SIP_NAME_CODE_T) == SipTransportNameTableSize, "rows");
static_assert(sizeof(SipQopNameTable) / sizeof(SIP_NAME_CODE_T) == SipQopNameTableSize, "rows");

#endif
