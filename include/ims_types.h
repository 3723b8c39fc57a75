// include/ims_types.h -- record types shared by the subsystems
#ifndef IMS_TYPES_H_INCLUDED
#define IMS_TYPES_H_INCLUDED
#include "siplib/SIPLIB.h"
#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

enum : int { BODY_BUFFER_SIZE = 1024 };
struct IMS_DA_PROXY_INFO {
    std::string address;
    std::int32_t port = 0;
    std::string kind;
};
struct IMS_EVENT_CONTACT_T {
    std::string event, header, address;
};

typedef std::int32_t MSG_TYPE; // an integer: 3..8 and a daemon's own values are legal
enum : MSG_TYPE {
    MSG_TYPE_TAPI_RAW = 0,
    MSG_TYPE_SIP_RESPONSE = 1,
    MSG_TYPE_SIP_REQUEST = 2,
    MSG_TYPE_DIALOG = 9,
    MSG_TYPE_TAPI_MAPPED = 10,
    MSG_TYPE_FWK = 11
};
enum QUEUE_STATUS : int { QUEUE_OVERFLOW = 0, QUEUE_UNDERFLOW = 1, QUEUE_NULL_ELEMENT = 2, QUEUE_OK = 3 };
struct _Q_ELEMENT_T { // NOLINT(bugprone-reserved-identifier): the name is fixed
    MSG_TYPE msg_type;
    void* data;
};

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
typedef void* (*TAPI_ACTION_T)(TAC_MSG_S*);
struct TAPI_EVENT_ACTION_TABLE_T {
    std::uint16_t tapi_msg_id;
    TAPI_ACTION_T action;
};
enum : std::uint16_t { TAPI_TABLE_END = 34559, TAPI_SOCKET_INIT = 33025 };

struct DialogMessageRecord {
    std::int32_t result_code;
    SIPLIB_SIPObject* object;
};

typedef std::uint32_t (*IMS_HANDLER_T)(void*); // one handler type for both tables
struct IMS_EVENT_TABLE_T {
    std::uint32_t event;
    IMS_HANDLER_T handler;
};
struct IMS_STATE_TBL_T {
    std::uint32_t event;
    IMS_HANDLER_T handler;
    std::uint16_t next_state;
};
enum : std::uint32_t { IMS_TABLE_END = 255 };
typedef int THREAD_TYPE;

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
