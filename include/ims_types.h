// The record types and constants that the folders of the framework, and the daemons, share.
//
// Layouts are fixed: telephony records mirror what a controller sends, table rows stand in constant tables of
// the daemons, queue elements and dialog records are malloc blocks.
//
// Memory   plain values; a pointer inside one owns nothing by itself (docs/agent.md tells who frees what).
#ifndef IMS_TYPES_H_INCLUDED
#define IMS_TYPES_H_INCLUDED
#include "siplib/SIPLIB.h"
#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

enum : int { BODY_BUFFER_SIZE = 1024 }; // how much of a received body is read and parsed

// A proxy reachable over an access link.
struct IMS_DA_PROXY_INFO {
    std::string address; // IP address or host name, without colons
    std::int32_t port = 0;
    std::string kind; // the producer's word for it, carried as it is
};

// The owner of an event package.
struct IMS_EVENT_CONTACT_T {
    std::string event;   // package name, the key
    std::string header;  // name of the header whose value `address` is, such as "Contact"
    std::string address; // as the capability file gave it
};

// What a queue element carries.
typedef std::int32_t MSG_TYPE; // an integer: 3..8 and a daemon's own values are legal
enum : MSG_TYPE {
    MSG_TYPE_TAPI_RAW = 0,     // TAC_MSG_S
    MSG_TYPE_SIP_RESPONSE = 1, // SIPLIB_SIPConnection, of a client
    MSG_TYPE_SIP_REQUEST = 2,  // SIPLIB_SIPConnection, of a server
    MSG_TYPE_DIALOG = 9,       // DialogMessageRecord
    MSG_TYPE_TAPI_MAPPED = 10, // a record that begins like IMS_MAPPED_MSG_S
    MSG_TYPE_FWK = 11          // a zero-terminated text from the framework daemon
};
// What the operations of IMS_queue_manager answer.
enum QUEUE_STATUS : int { QUEUE_OVERFLOW = 0, QUEUE_UNDERFLOW = 1, QUEUE_NULL_ELEMENT = 2, QUEUE_OK = 3 };
// One element of the agent's queue.
struct _Q_ELEMENT_T { // NOLINT(bugprone-reserved-identifier): the name is fixed
    MSG_TYPE msg_type;
    void* data;
};

// A telephony message; its integers go over the wire in the host's byte order.
struct TAC_MSG_S { // IN MEMORY; the wire header is always TAC_MSG_WIRE_SIZE bytes
    std::uint8_t tac_type;
    std::uint8_t reserved[3];
    std::uint32_t tac_ref;
    std::uint16_t msg_id;
    std::uint16_t body_len;
    unsigned char* body;
};
enum : int { TAC_MSG_WIRE_SIZE = 16, TAC_MSG_WIRE_COMMON = 12 };

struct IMS_MAPPED_MSG_S {     // head of every mapped record (kind 10)
    std::uint32_t msg_number; // IMSMsgID
    std::uint16_t body_len;
    std::uint16_t spare;
    std::uint32_t word3;
    void* body;
};
// Telephony messages and what maps them; the table ends with TAPI_TABLE_END.
typedef void* (*TAPI_ACTION_T)(TAC_MSG_S*);
struct TAPI_EVENT_ACTION_TABLE_T {
    std::uint16_t tapi_msg_id;
    TAPI_ACTION_T action;
};
enum : std::uint16_t { TAPI_TABLE_END = 34559, TAPI_SOCKET_INIT = 33025 };

// Head of what a daemon queues as kind 9; more fields of its own may follow.
struct DialogMessageRecord {
    std::int32_t result_code; // 19 and 31: there is nothing to receive
    SIPLIB_SIPObject* object; // dialog or connection, whose receive() the main loop calls; borrowed
};

typedef std::uint32_t (*IMS_HANDLER_T)(void*); // one handler type for both tables
// Rows of constant dispatch tables, which end with the event IMS_TABLE_END.
struct IMS_EVENT_TABLE_T {
    std::uint32_t event;
    IMS_HANDLER_T handler;
};
struct IMS_STATE_TBL_T { // NOLINT(clang-analyzer-optin.performance.Padding): the order is fixed
    std::uint32_t event;
    IMS_HANDLER_T handler;
    std::uint16_t next_state;
};
enum : std::uint32_t { IMS_TABLE_END = 255 };
typedef int THREAD_TYPE; // 0: detached, anything else: joinable

// One subscriber; the texts are heap blocks of the subscription table.
struct _SUBS_TBL_ENTRY_T { // NOLINT(bugprone-reserved-identifier): the name is fixed
    char* contact;
    char* event_package;
    std::int32_t expires;
    char* to;
    char* from;
    char* call_id;
};

static_assert(offsetof(TAC_MSG_S, tac_type) == 0 && offsetof(TAC_MSG_S, tac_ref) == 4 &&
                  offsetof(TAC_MSG_S, msg_id) == 8 && offsetof(TAC_MSG_S, body_len) == 10,
              "first 12 bytes = wire");
static_assert(offsetof(_Q_ELEMENT_T, msg_type) == 0 && sizeof(MSG_TYPE) == 4, "");
static_assert(offsetof(IMS_MAPPED_MSG_S, body_len) == 4, "");
static_assert(std::is_trivially_copyable<TAC_MSG_S>::value, "");
static_assert(std::is_standard_layout<TAC_MSG_S>::value, "");
#if UINTPTR_MAX == 0xffffffffu // the target: 32-bit ARM
static_assert(sizeof(TAC_MSG_S) == 16 && offsetof(TAC_MSG_S, body) == 12, "");
static_assert(sizeof(_Q_ELEMENT_T) == 8 && offsetof(_Q_ELEMENT_T, data) == 4, "");
static_assert(offsetof(IMS_MAPPED_MSG_S, body) == 12 && sizeof(IMS_MAPPED_MSG_S) == 16, "fourth 32-bit word");
static_assert(sizeof(DialogMessageRecord) == 8 && offsetof(DialogMessageRecord, object) == 4, "");
static_assert(sizeof(IMS_EVENT_TABLE_T) == 8 && sizeof(IMS_STATE_TBL_T) == 12 &&
                  offsetof(IMS_STATE_TBL_T, next_state) == 8,
              "");
static_assert(sizeof(TAPI_EVENT_ACTION_TABLE_T) == 8, "");
static_assert(sizeof(_SUBS_TBL_ENTRY_T) == 24, "");
#else
static_assert(sizeof(TAC_MSG_S) == 24 && offsetof(TAC_MSG_S, body) == 16, "");
static_assert(offsetof(IMS_MAPPED_MSG_S, body) == 16, "fourth FIELD on a 64-bit host");
#endif
#endif
