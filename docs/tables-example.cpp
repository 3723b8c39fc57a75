// A telephone line as a state machine: the example of docs/tables.md.
#include "include/imsua.h"

namespace {

enum State : std::uint16_t { ANYWHERE, IDLE, RINGING, TALKING };
enum Event : std::uint32_t { INVITED = 1, OFF_HOOK, ON_HOOK, CANCELLED, FAILED, STATUS };

// A handler gets the message. What it returns is the next event to dispatch, 0 for none.
std::uint32_t ring(void*)
{
    return 0;
}
std::uint32_t answer(void*)
{
    return STATUS;
}
std::uint32_t hang_up(void*)
{
    return STATUS;
}
std::uint32_t refuse(void*)
{
    return 0;
}
std::uint32_t report(void*)
{
    return 0;
}

constexpr IMS_STATE_TBL_T anywhere[] = {
    // event, handler, next state (0: stay)
    {FAILED, hang_up, IDLE},
    {INVITED, refuse, 0},
    {STATUS, report, 0},
    {IMS_TABLE_END, nullptr, 0},
};
constexpr IMS_STATE_TBL_T idle[] = {
    {INVITED, ring, RINGING},
    {IMS_TABLE_END, nullptr, 0},
};
constexpr IMS_STATE_TBL_T ringing[] = {
    {OFF_HOOK, answer, TALKING},
    {CANCELLED, nullptr, IDLE},
    {IMS_TABLE_END, nullptr, 0},
};
constexpr IMS_STATE_TBL_T talking[] = {
    {ON_HOOK, hang_up, IDLE},
    {IMS_TABLE_END, nullptr, 0},
};

constexpr auto line = imsua::state_table(IDLE, anywhere, idle, ringing, talking);
static_assert(imsua::is_sound<line>);

} // namespace

class Line_agent : public IMS_UA_With_State_Machine {
public:
    Line_agent() { initialize_state_tbl<line>(); }
    unsigned int get_event_id_from_message(void* element) override;
};

imsua::State_graph imsua_state_graph()
{
    imsua::State_graph graph("a telephone line", line);
    graph.states = {IMS_NAMED(IDLE), IMS_NAMED(RINGING), IMS_NAMED(TALKING)};
    graph.events = {IMS_NAMED(INVITED),   IMS_NAMED(OFF_HOOK), IMS_NAMED(ON_HOOK),
                    IMS_NAMED(CANCELLED), IMS_NAMED(FAILED),   IMS_NAMED(STATUS)};
    graph.handlers = {IMS_NAMED(ring), IMS_NAMED(answer), IMS_NAMED(hang_up), IMS_NAMED(refuse),
                      IMS_NAMED(report)};
    return graph;
}
