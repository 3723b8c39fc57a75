#include "core/tapi_request.h"

#include "core/IMS_Tapi_ifc.h"
#include "core/table_checks.h"
#include "tests/core/telephony_ends.h"
#include "tests/support/child.h"
#include "tests/support/failing_calls.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <thread>

namespace {

using imsua::tapi_event;
using imsua::Tapi_request;

enum Event : std::uint32_t { DIAL = 7, HANG_UP = 8 };

// clang-format off
constexpr TAPI_EVENT_ACTION_TABLE_T mapping[] = {
    {100, tapi_event<DIAL>},
    {101, tapi_event<HANG_UP>},
    {TAPI_TABLE_END, nullptr},
};
// clang-format on
static_assert(imsua::is_sound<mapping>);

class ATelephonyRequest : public WithTelephonyEnds {
protected:
    ATelephonyRequest() { ifc.initialize_event_tbl(mapping); }
    void receive(std::string bytes)
    {
        ifc.handle_tapi_message(reinterpret_cast<unsigned char*>(&bytes[0]), static_cast<int>(bytes.size()));
    }
    // A request as a handler gets it; the test frees it.
    static void* request(const WireMessage& wire)
    {
        TAC_MSG_S message = {};
        message.msg_id = wire.id;
        message.tac_ref = wire.ref;
        message.tac_type = wire.type;
        return tapi_event<DIAL>(&message);
    }

    IMS_Tapi_ifc ifc{&agent};
};

} // namespace

TEST_F(ATelephonyRequest, IsQueuedWithItsEventAndItsBody)
{
    receive(bytes_of({{100, "031"}, {101}}));
    ASSERT_TRUE(agent.turns(2));
    ASSERT_EQ(agent.seen.size(), 2u);
    EXPECT_EQ(agent.seen[0].id, unsigned{DIAL});
    EXPECT_EQ(agent.seen[0].body, "031");
    EXPECT_EQ(agent.seen[1].id, unsigned{HANG_UP});
    EXPECT_EQ(agent.seen[1].body, "");
}

TEST_F(ATelephonyRequest, TakesTheBodyOutOfTheMessage)
{
    unsigned char text[] = {'a', '\0', 'b'};
    TAC_MSG_S message = {1, {}, 77, 100, 3, text};
    void* const data = tapi_event<DIAL>(&message);
    EXPECT_EQ(message.body, nullptr);
    const Tapi_request& request = imsua::tapi_request(data);
    EXPECT_EQ(request.head.msg_number, unsigned{DIAL});
    EXPECT_EQ(request.head.body, text);
    EXPECT_EQ(request.body(), std::string_view("a\0b", 3));
    EXPECT_EQ(request.message.msg_id, 100);
    EXPECT_EQ(request.message.tac_ref, 77u);
    EXPECT_EQ(request.message.tac_type, 1);
    EXPECT_EQ(request.message.body, nullptr);
    std::free(data);
}

TEST_F(ATelephonyRequest, IsAnsweredOnTheSynchronousConnectionWithItsIdAndReference)
{
    void* const data = request({100, "", 9});
    imsua::tapi_answer(agent, data, "ok");
    WireMessage wanted(100, "ok", 9);
    wanted.slot = 0;
    EXPECT_EQ(sync_client->receive(18), bytes_of(wanted));
    imsua::tapi_answer(agent, data, {});
    WireMessage empty(100, "", 9);
    empty.slot = 0;
    EXPECT_EQ(sync_client->receive(16), bytes_of(empty));
    EXPECT_TRUE(async_client->has_nothing());
    std::free(data);
}

TEST_F(ATelephonyRequest, IsAnsweredWithTheFirst65535BytesAtMost)
{
    void* const data = request({100, "", 9});
    const std::string text = std::string(65535, 'a') + "b";
    std::thread sender([&] { imsua::tapi_answer(agent, data, text); });
    WireMessage wanted(100, text.substr(0, 65535), 9);
    wanted.slot = 0;
    EXPECT_EQ(sync_client->receive(65551), bytes_of(wanted));
    sender.join();
    EXPECT_TRUE(sync_client->has_nothing());
    std::free(data);
}

TEST_F(ATelephonyRequest, NeedsNoneForAnEvent)
{
    const std::string text = "ringing";
    imsua::tapi_tell(agent, 0x2001, text);
    WireMessage wanted(0x2001, text, 0, 1);
    wanted.slot = imsua::tapi_body_slot(text.data());
    EXPECT_EQ(async_client->receive(23), bytes_of(wanted));
    EXPECT_TRUE(sync_client->has_nothing());
}

TEST_F(ATelephonyRequest, LeavesAnEventOf65535BytesAtMost)
{
    const std::string text = std::string(65535, 'a') + "b";
    std::thread sender([&] { imsua::tapi_tell(agent, 1, text); });
    WireMessage wanted(1, text.substr(0, 65535), 0, 1);
    wanted.slot = imsua::tapi_body_slot(text.data());
    EXPECT_EQ(async_client->receive(65551), bytes_of(wanted));
    sender.join();
    EXPECT_TRUE(async_client->has_nothing());
}

TEST(ATelephonyRequestWithoutMemory, EndsTheProcessWith1)
{
    const ChildResult child = run_in_child([] {
        TAC_MSG_S message = {};
        Failing failing(Call::malloc, 1);
        tapi_event<DIAL>(&message);
    });
    EXPECT_EQ(child.status, 1) << child.err;
    EXPECT_NE(child.err.find("[3] tapi_event: cannot allocate memory for tapi request!\n"), std::string::npos)
        << child.err;
}
