// telephony_agent: registers a line for a telephony controller, written as tables. Copy it to start an agent
// of your own; docs/telephony-agent.md walks through it.
#include "include/imsua.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

enum State : std::uint16_t { ANYWHERE, IDLE, REGISTERING, REGISTERED, FAILED };
enum Event : std::uint32_t { HELLO = 1, REGISTER, DEREGISTER, STATUS, NOTE }; // from the controller
enum : std::uint32_t { SIP = 20, FRAMEWORK, CONFIRMED, REJECTED, RECONFIGURED, ENTERED };
enum : std::uint16_t { STATE_CHANGED = 0x2001, NOTED = 0x2002 }; // to the controller

IMS_User_Agent* agent = nullptr; // the one of this process: a handler gets only its message

// ---- what the controller sends becomes events ----

// clang-format off
constexpr TAPI_EVENT_ACTION_TABLE_T requests[] = {
    {TAPI_SOCKET_INIT, imsua::tapi_event<HELLO>},
    {0x1001, imsua::tapi_event<REGISTER>},
    {0x1002, imsua::tapi_event<DEREGISTER>},
    {0x1003, imsua::tapi_event<STATUS>},
    {0x1004, imsua::tapi_event<NOTE>},
    {TAPI_TABLE_END, nullptr},
};
// clang-format on
static_assert(imsua::is_sound<requests>);

// ---- what is done: a handler returns the next event, 0 for none ----

template <const char* TEXT>
std::uint32_t say(void* data) // when asked
{
    imsua::tapi_answer(*agent, data, TEXT);
    return 0;
}

template <const char* TEXT>
std::uint32_t tell(void*) // unasked
{
    imsua::tapi_tell(*agent, STATE_CHANGED, TEXT);
    return 0;
}

constexpr char OK[] = "ok", REFUSED[] = "refused";

std::uint32_t hello(void* data)
{
    agent->send_tapi_socket_init_resp(&imsua::tapi_request(data).message);
    return 0;
}

std::uint32_t note(void* data)
{
    imsua::tapi_answer(*agent, data, imsua::tapi_request(data).body());
    imsua::tapi_tell(*agent, NOTED, imsua::tapi_request(data).body());
    return 0;
}

std::uint32_t change(void*)
{
    return ENTERED; // which the state that the row enters has a row for
}

std::uint32_t change_as_asked(void* data)
{
    say<OK>(data);
    return ENTERED;
}

std::uint32_t on_sip(void* data)
{
    IMS_Message request(static_cast<SIPLIB_SIPConnection*>(data));
    char news[BODY_BUFFER_SIZE] = {};
    int length = sizeof news - 1;
    const bool is_news = request.is_method("MESSAGE");
    if (is_news) request.get_body(news, length);
    request.init_response(is_news || request.is_method("OPTIONS") ? 200 : 405);
    request.set_header("Allow", "OPTIONS, MESSAGE");
    request.send();
    if (!is_news) return 0;
    return std::strcmp(news, "registered") == 0 ? CONFIRMED : REJECTED;
}

std::uint32_t on_framework(void* data) // "CHANGED config", then the paths that changed, a line each
{
    std::vector<std::string> paths;
    IMS_User_Agent::parse_prov_msg(static_cast<const char*>(data), paths);
    for (const std::string& path : paths)
        if (path.compare(0, 13, "/config/line/") == 0) return RECONFIGURED;
    return 0;
}

// ---- in which state: event, handler, next state (0: stay) ----

constexpr char IDLE_TEXT[] = "idle", REGISTERING_TEXT[] = "registering";
constexpr char REGISTERED_TEXT[] = "registered", FAILED_TEXT[] = "failed";

// clang-format off
constexpr IMS_STATE_TBL_T anywhere[] = {
    {HELLO,        hello,                  0},
    {NOTE,         note,                   0},
    {REGISTER,     say<REFUSED>,           0},
    {DEREGISTER,   change_as_asked,        IDLE},
    {SIP,          on_sip,                 0},
    {FRAMEWORK,    on_framework,           0},
    {IMS_TABLE_END, nullptr,               0},
};
constexpr IMS_STATE_TBL_T idle[] = {
    {STATUS,       say<IDLE_TEXT>,         0},
    {ENTERED,      tell<IDLE_TEXT>,        0},
    {REGISTER,     change_as_asked,        REGISTERING},
    {DEREGISTER,   say<REFUSED>,           0},
    {IMS_TABLE_END, nullptr,               0},
};
constexpr IMS_STATE_TBL_T registering[] = {
    {STATUS,       say<REGISTERING_TEXT>,  0},
    {ENTERED,      tell<REGISTERING_TEXT>, 0},
    {CONFIRMED,    change,                 REGISTERED},
    {REJECTED,     change,                 FAILED},
    {IMS_TABLE_END, nullptr,               0},
};
constexpr IMS_STATE_TBL_T registered[] = {
    {STATUS,       say<REGISTERED_TEXT>,   0},
    {ENTERED,      tell<REGISTERED_TEXT>,  0},
    {REJECTED,     change,                 FAILED},
    {RECONFIGURED, change,                 REGISTERING},
    {IMS_TABLE_END, nullptr,               0},
};
constexpr IMS_STATE_TBL_T failed[] = {
    {STATUS,       say<FAILED_TEXT>,       0},
    {ENTERED,      tell<FAILED_TEXT>,      0},
    {REGISTER,     change_as_asked,        REGISTERING},
    {RECONFIGURED, change,                 REGISTERING},
    {IMS_TABLE_END, nullptr,               0},
};
// clang-format on
constexpr auto machine = imsua::state_table(IDLE, anywhere, idle, registering, registered, failed);
static_assert(imsua::is_sound<machine>);

// ---- the agent numbers its events, the tables do the rest ----

class Telephony_agent : public IMS_UA_With_State_Machine {
public:
    Telephony_agent() { initialize_state_tbl<machine>(); }

    unsigned int get_event_id_from_message(void* element) override
    {
        const auto* message = static_cast<_Q_ELEMENT_T*>(element);
        switch (message->msg_type) {
        case MSG_TYPE_TAPI_MAPPED: return static_cast<IMS_MAPPED_MSG_S*>(message->data)->msg_number;
        case MSG_TYPE_SIP_REQUEST: return SIP;
        case MSG_TYPE_FWK: return FRAMEWORK;
        default: return 0;
        }
    }
};

} // namespace

imsua::State_graph imsua_state_graph() // telephony_agent -stategraph | dot -Tsvg -o telephony-agent.svg
{
    imsua::State_graph graph("telephony_agent", machine);
    graph.states = {IMS_NAMED(IDLE), IMS_NAMED(REGISTERING), IMS_NAMED(REGISTERED), IMS_NAMED(FAILED)};
    graph.events = {IMS_NAMED(HELLO),    IMS_NAMED(REGISTER),     IMS_NAMED(DEREGISTER), IMS_NAMED(STATUS),
                    IMS_NAMED(NOTE),     IMS_NAMED(SIP),          IMS_NAMED(FRAMEWORK),  IMS_NAMED(CONFIRMED),
                    IMS_NAMED(REJECTED), IMS_NAMED(RECONFIGURED), IMS_NAMED(ENTERED)};
    return graph;
}

int main(int argc, char** argv)
{
    if (argc == 2 && std::strcmp(argv[1], "-stategraph") == 0)
        return std::fputs(imsua_state_graph().dot().c_str(), stdout) < 0 ? 1 : 0;
    auto& own = *new Telephony_agent; // never destroyed: other threads use it until the process ends
    agent = &own;
    own.set_options(argc, argv);
    own.print_usage(); // returns unless help was asked for
    if (IMS_daemon::enter_service() != 0) return 1;
    IMS_User_Agent::open_framework_sockets(); // without a framework daemon: defaults
    IMS_User_Agent::wait_for_framework_init();
    SIPLIB_StackCfg stack{};
    IMS_User_Agent::init_sipstack_info(stack, nullptr);
    if (SIPLIB_SIPStart(&stack) != SIPLIB_OK || own.open_local_notifier(5090) == nullptr) return 1;
    IMS_User_Agent::write_cap_file({{"Contact", IMS_User_Agent::__ua_myuri}});
    auto& telephony = *new IMS_Tapi_ifc(&own);
    telephony.initialize_event_tbl<requests>();
    own.install_tapi_ifc(&telephony);
    if (own.create_all_external_descriptors() == 0) return 1;
    own.handle_message(); // does not return
}
