// Shared records, constants and name tables: their names, values and layouts.
#include "include/ims_types.h"
#include "include/sip_names.h"
#include "tests/interfaces/interface_checks.h"
#include "tests/interfaces/other_unit.h"

#include <type_traits>

namespace {

template <typename A, typename B>
constexpr bool same = std::is_same<A, B>::value;

// ---- constants ----

static_assert(BODY_BUFFER_SIZE == 1024, "");
static_assert(MSG_TYPE_TAPI_RAW == 0 && MSG_TYPE_SIP_RESPONSE == 1 && MSG_TYPE_SIP_REQUEST == 2, "");
static_assert(MSG_TYPE_DIALOG == 9 && MSG_TYPE_TAPI_MAPPED == 10 && MSG_TYPE_FWK == 11, "");
static_assert(QUEUE_OVERFLOW == 0 && QUEUE_UNDERFLOW == 1 && QUEUE_NULL_ELEMENT == 2 && QUEUE_OK == 3, "");
static_assert(TAC_MSG_WIRE_SIZE == 16 && TAC_MSG_WIRE_COMMON == 12, "");
static_assert(TAPI_TABLE_END == 34559 && TAPI_SOCKET_INIT == 33025, "");
static_assert(IMS_TABLE_END == 255, "");

static_assert(same<MSG_TYPE, std::int32_t>, "an integer: a daemon's own kinds are legal values");
static_assert(same<std::underlying_type<QUEUE_STATUS>::type, int>, "");
static_assert(same<THREAD_TYPE, int>, "");

// ---- records: types of their fields and the order in which they stand ----

static_assert(same<decltype(_Q_ELEMENT_T::msg_type), MSG_TYPE> && same<decltype(_Q_ELEMENT_T::data), void*>,
              "");
static_assert(offsetof(_Q_ELEMENT_T, data) == sizeof(void*), "");

static_assert(same<decltype(TAC_MSG_S::tac_type), std::uint8_t> &&
                  same<decltype(TAC_MSG_S::tac_ref), std::uint32_t>,
              "");
static_assert(same<decltype(TAC_MSG_S::msg_id), std::uint16_t> &&
                  same<decltype(TAC_MSG_S::body_len), std::uint16_t>,
              "");
static_assert(same<decltype(TAC_MSG_S::body), unsigned char*> && sizeof(TAC_MSG_S::reserved) == 3, "");
static_assert(offsetof(TAC_MSG_S, tac_type) == 0 && offsetof(TAC_MSG_S, tac_ref) == 4, "");
static_assert(offsetof(TAC_MSG_S, msg_id) == 8 && offsetof(TAC_MSG_S, body_len) == 10, "");

static_assert(offsetof(IMS_MAPPED_MSG_S, msg_number) == 0 && offsetof(IMS_MAPPED_MSG_S, body_len) == 4, "");
static_assert(offsetof(IMS_MAPPED_MSG_S, spare) == 6 && offsetof(IMS_MAPPED_MSG_S, word3) == 8, "");
static_assert(same<decltype(IMS_MAPPED_MSG_S::body), void*>, "");

static_assert(same<TAPI_ACTION_T, void* (*)(TAC_MSG_S*)> && same<IMS_HANDLER_T, std::uint32_t (*)(void*)>,
              "");
static_assert(offsetof(TAPI_EVENT_ACTION_TABLE_T, tapi_msg_id) == 0, "");
static_assert(same<decltype(TAPI_EVENT_ACTION_TABLE_T::action), TAPI_ACTION_T>, "");
static_assert(offsetof(IMS_EVENT_TABLE_T, event) == 0 && offsetof(IMS_STATE_TBL_T, event) == 0, "");
static_assert(same<decltype(IMS_STATE_TBL_T::next_state), std::uint16_t>, "");

static_assert(offsetof(DialogMessageRecord, result_code) == 0, "");
static_assert(same<decltype(DialogMessageRecord::result_code), std::int32_t>, "");
static_assert(same<decltype(DialogMessageRecord::object), SIPLIB_SIPObject*>, "");

static_assert(offsetof(_SUBS_TBL_ENTRY_T, contact) == 0, "");
static_assert(offsetof(_SUBS_TBL_ENTRY_T, event_package) == sizeof(void*), "");
static_assert(offsetof(_SUBS_TBL_ENTRY_T, expires) == 2 * sizeof(void*), "");
static_assert(offsetof(_SUBS_TBL_ENTRY_T, to) == 3 * sizeof(void*), "");
static_assert(offsetof(_SUBS_TBL_ENTRY_T, from) == 4 * sizeof(void*), "");
static_assert(offsetof(_SUBS_TBL_ENTRY_T, call_id) == 5 * sizeof(void*), "");
static_assert(same<decltype(_SUBS_TBL_ENTRY_T::expires), std::int32_t>, "");

static_assert(std::is_trivial<_Q_ELEMENT_T>::value && std::is_standard_layout<_Q_ELEMENT_T>::value, "malloc");
static_assert(std::is_trivial<TAC_MSG_S>::value && std::is_trivial<IMS_MAPPED_MSG_S>::value, "malloc");
static_assert(std::is_trivial<DialogMessageRecord>::value && std::is_trivial<_SUBS_TBL_ENTRY_T>::value,
              "malloc");

// A switch over plain numbers compiles, and so does a kind of a daemon's own.
MSG_TYPE next_kind(MSG_TYPE kind)
{
    switch (kind) {
    case MSG_TYPE_TAPI_RAW: return 3;
    case MSG_TYPE_FWK: return 1000;
    default: return kind;
    }
}

TEST(TheMessageKinds, AreIntegers)
{
    EXPECT_EQ(next_kind(MSG_TYPE_TAPI_RAW), 3);
    EXPECT_EQ(next_kind(11), 1000);
    EXPECT_EQ(next_kind(-4), -4);
}

TEST(TheRecords, AreInitialisedInTheOrderOfTheirFields)
{
    const IMS_EVENT_CONTACT_T owner = {"reg", "Contact", "<sip:a@h>"};
    EXPECT_EQ(owner.event + "|" + owner.header + "|" + owner.address, "reg|Contact|<sip:a@h>");
    const IMS_DA_PROXY_INFO proxy = {"10.0.0.1", 5060, "pcscf"};
    EXPECT_EQ(proxy.address + "|" + proxy.kind, "10.0.0.1|pcscf");
    EXPECT_EQ(proxy.port, 5060);
    EXPECT_EQ(IMS_DA_PROXY_INFO().port, 0);
    const IMS_STATE_TBL_T row = {IMS_TABLE_END, nullptr, 7};
    EXPECT_EQ(row.next_state, 7);
}

// ---- name tables ----

static_assert(std::is_aggregate<SIP_NAME_CODE_T>::value, "exactly two public members");
static_assert(same<decltype(SIP_NAME_CODE_T::name), const char*> &&
                  same<decltype(SIP_NAME_CODE_T::code), int>,
              "");
static_assert(sizeof(SIP_NAME_CODE_T) <= 2 * sizeof(void*), "");
static_assert(SipMethodNameTableSize == 13 && SipHeaderNameTableSize == 29, "constants of the compiler");
static_assert(SipTransportNameTableSize == 5 && SipQopNameTableSize == 4, "");
static_assert(SipMethodNameTable[12].code == 9 && SipHeaderNameTable[28].code == 257, "");
static_assert(SipTransportNameTable[0].code == 4 && SipQopNameTable[3].code == 3, "");

TEST(TheNameTables, AreTheSameInEverySourceFile)
{
    const NameTables other = name_tables_of_the_other_unit();
    EXPECT_EQ(other.methods, SipMethodNameTable);
    EXPECT_EQ(other.headers, SipHeaderNameTable);
    EXPECT_EQ(other.transports, SipTransportNameTable);
    EXPECT_EQ(other.qops, SipQopNameTable);
}

} // namespace
