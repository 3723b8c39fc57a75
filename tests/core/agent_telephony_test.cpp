#include "tests/core/telephony_ends.h"
#include "tests/platform/baseuafw/blocked_thread.h"
#include "tests/support/child.h"
#include "tests/support/failing_calls.h"

#include <climits>
#include <cstdio>
#include <gtest/gtest.h>

namespace {

using Records = std::vector<LogRecord>;

class ASender : public WithTelephonyEnds {
protected:
    static unsigned char* body(const char* text)
    {
        return reinterpret_cast<unsigned char*>(const_cast<char*>(text));
    }
};

// ---- events ----

TEST_F(ASender, SendsAnEventOnTheAsynchronousConnection)
{
    unsigned char text[] = "hello";
    agent.send_tapi_async_message(0x1234, 5, text);
    const std::string bytes = async_client->receive(21);
    WireMessage wanted(0x1234, "hello", 0, 1);
    wanted.slot = imsua::tapi_body_slot(text);
    EXPECT_EQ(bytes, bytes_of(wanted));
    EXPECT_EQ(log.all(), (Records{{5, "send_tapi_async_message",
                                   "send async message len=21 msg_id=4660 async_fd=" +
                                       std::to_string(asynchronous())}}));
    EXPECT_TRUE(sync_client->has_nothing());
}

TEST_F(ASender, SendsAnEventWithoutABody)
{
    agent.send_tapi_async_message(65535, 0, body("not sent"));
    WireMessage wanted(65535, "", 0, 1);
    wanted.slot = 0;
    EXPECT_EQ(async_client->receive(16), bytes_of(wanted));
    EXPECT_TRUE(async_client->has_nothing());
}

TEST_F(ASender, SendsZerosForAnEventsMissingBody)
{
    agent.send_tapi_async_message(1, 3, nullptr);
    WireMessage wanted(1, std::string(3, '\0'), 0, 1);
    wanted.slot = 0;
    EXPECT_EQ(async_client->receive(19), bytes_of(wanted));
}

TEST_F(ASender, SendsTheLargestBody)
{
    const std::string text(65535, 'b');
    std::thread sender([&] { agent.send_tapi_async_message(1, 65535, body(text.c_str())); });
    WireMessage wanted(1, text, 0, 1);
    wanted.slot = imsua::tapi_body_slot(text.data());
    EXPECT_EQ(async_client->receive(65551), bytes_of(wanted));
    sender.join();
}

TEST_F(ASender, SendsALongerBodyWholeWithTheLowHalfOfItsLength)
{
    const std::string text(65536 + 7, 'c');
    std::thread sender([&] { agent.send_tapi_async_message(1, 65536 + 7, body(text.c_str())); });
    WireMessage wanted(1, text, 0, 1);
    wanted.slot = imsua::tapi_body_slot(text.data());
    wanted.claimed = 7;
    EXPECT_EQ(async_client->receive(65536 + 7 + 16), bytes_of(wanted));
    sender.join();
    EXPECT_TRUE(log.has(5, "send_tapi_async_message",
                        "send async message len=65559 msg_id=1 async_fd=" + std::to_string(asynchronous())));
}

TEST_F(ASender, LogsAnEventThatCannotBeSentAndGoesOn)
{
    async_client->close();
    agent.send_tapi_async_message(1, 4, body("lost"));
    imsua::store_shared(IMS_User_Agent::__ua_tapi_asyncfd, -1);
    agent.send_tapi_async_message(2, 0, nullptr);
    EXPECT_EQ(log.up_to(3), (Records{{3, "send_tapi_async_message", "send failed"},
                                     {3, "send_tapi_async_message", "send failed"}}));
    EXPECT_EQ(log.all().size(), 4u) << "each after its trace";
    EXPECT_EQ(log.all()[2].text, "send async message len=16 msg_id=2 async_fd=-1");
}

// ---- responses ----

TAC_MSG_S request(std::uint16_t id, std::uint32_t ref)
{
    TAC_MSG_S message = {};
    message.tac_type = 77;
    message.tac_ref = ref;
    message.msg_id = id;
    message.body_len = 500;
    std::memset(message.reserved, 0x55, sizeof message.reserved);
    return message;
}

WireMessage answer(std::uint16_t id, std::uint32_t ref, const std::string& text)
{
    WireMessage wanted(id, text, ref);
    wanted.slot = 0;
    return wanted;
}

TEST_F(ASender, AnswersOnTheSynchronousConnection)
{
    TAC_MSG_S asked = request(0x4321, 0xfedcba98);
    agent.send_tapi_sync_resp_message(&asked, body("answer"), 6);
    EXPECT_EQ(sync_client->receive(22), bytes_of(answer(0x4321, 0xfedcba98, "answer")));
    EXPECT_EQ(log.all(),
              (Records{{5, "send_tapi_sync_resp_message", "In send_tapi_sync_resp_message data len = 6"},
                       {5, "send_tapi_sync_resp_message", "send sync message len=22 msg_id=17185"}}));
    EXPECT_TRUE(async_client->has_nothing());
}

TEST_F(ASender, AnswersWithoutABody)
{
    TAC_MSG_S asked = request(1, 2);
    agent.send_tapi_sync_resp_message(&asked, body("not sent"), 0);
    EXPECT_EQ(sync_client->receive(16), bytes_of(answer(1, 2, "")));
    EXPECT_TRUE(sync_client->has_nothing());
}

TEST_F(ASender, AnswersWithZerosForAMissingBody)
{
    TAC_MSG_S asked = request(1, 2);
    agent.send_tapi_sync_resp_message(&asked, nullptr, 5);
    EXPECT_EQ(sync_client->receive(21), bytes_of(answer(1, 2, std::string(5, '\0'))));
}

TEST_F(ASender, AnswersWithTheLargestBody)
{
    TAC_MSG_S asked = request(1, 2);
    std::string text(65535, 'd');
    std::thread sender([&] { agent.send_tapi_sync_resp_message(&asked, &text[0], 65535); });
    EXPECT_EQ(sync_client->receive(65551), bytes_of(answer(1, 2, text)));
    sender.join();
}

TEST_F(ASender, AnswersASocketInitOnTheConnectionItIsFor)
{
    const std::string zero(4, '\0');
    TAC_MSG_S asynchronous_one = request(33025, 9);
    agent.send_tapi_socket_init_resp(&asynchronous_one);
    EXPECT_EQ(async_client->receive(20), bytes_of(answer(33025, 0, zero)));
    EXPECT_TRUE(sync_client->has_nothing());
    for (std::uint16_t id : {std::uint16_t{33024}, std::uint16_t{33026}, std::uint16_t{0}}) {
        TAC_MSG_S other = request(id, 9);
        agent.send_tapi_socket_init_resp(&other);
        EXPECT_EQ(sync_client->receive(20), bytes_of(answer(id, 0, zero))) << id;
    }
    EXPECT_TRUE(async_client->has_nothing());
    const auto records = log.all();
    ASSERT_EQ(records.size(), 8u);
    EXPECT_EQ(records[0], (LogRecord{5, "send_tapi_socket_init_resp",
                                     "In send_tapi_socket_init_resp req msgId = 33025"}));
    EXPECT_EQ(records[1],
              (LogRecord{5, "send_tapi_socket_init_resp", "send sync message len=20 msg_id=33025"}));
}

TEST_F(ASender, SaysNothingWithoutARequest)
{
    agent.send_tapi_sync_resp_message(nullptr, body("x"), 1);
    agent.send_tapi_socket_init_resp(nullptr);
    EXPECT_TRUE(log.all().empty());
    EXPECT_TRUE(sync_client->has_nothing());
    EXPECT_TRUE(async_client->has_nothing());
}

// ---- what ends the process ----

struct Ending {
    const char* name;
    const char* function;
    void (*send)(TelephonyAgent&);
};

void answer_a_request(TelephonyAgent& agent)
{
    TAC_MSG_S asked = request(1, 2);
    char text[] = "x";
    agent.send_tapi_sync_resp_message(&asked, text, 1);
}
void answer_an_asynchronous_init(TelephonyAgent& agent)
{
    TAC_MSG_S asked = request(TAPI_SOCKET_INIT, 2);
    agent.send_tapi_socket_init_resp(&asked);
}
void answer_a_synchronous_init(TelephonyAgent& agent)
{
    TAC_MSG_S asked = request(5, 2);
    agent.send_tapi_socket_init_resp(&asked);
}
void send_an_event(TelephonyAgent& agent)
{
    unsigned char text[] = "x";
    agent.send_tapi_async_message(1, 1, text);
}
void send_an_event_longer_than_int(TelephonyAgent& agent)
{
    unsigned char text[] = "x";
    agent.send_tapi_async_message(1, INT_MAX - 15u, text);
}
void send_the_longest_event(TelephonyAgent& agent)
{
    agent.send_tapi_async_message(1, UINT_MAX, nullptr);
}

class AFatalSend : public testing::TestWithParam<Ending> {};

// No connection is there: the descriptors are -1.
INSTANTIATE_TEST_SUITE_P(
    Of, AFatalSend,
    testing::Values(Ending{"AResponse", "send_tapi_sync_resp_message", &answer_a_request},
                    Ending{"AnAsynchronousInit", "send_tapi_socket_init_resp", &answer_an_asynchronous_init},
                    Ending{"ASynchronousInit", "send_tapi_socket_init_resp", &answer_a_synchronous_init}),
    [](const auto& which) { return which.param.name; });

TEST_P(AFatalSend, EndsTheProcessWith1)
{
    const ChildResult child = run_in_child([] {
        TelephonyAgent agent;
        GetParam().send(agent);
    });
    EXPECT_EQ(child.status, 1) << child.err;
    const std::string line = std::string("[3] ") + GetParam().function + ": send failed\n";
    EXPECT_NE(child.err.find(line), std::string::npos) << child.err;
}

class ASendWithoutMemory : public testing::TestWithParam<Ending> {};

INSTANTIATE_TEST_SUITE_P(
    Of, ASendWithoutMemory,
    testing::Values(Ending{"AnEvent", "send_tapi_async_message", &send_an_event},
                    Ending{"AResponse", "send_tapi_sync_resp_message", &answer_a_request},
                    Ending{"ASocketInit", "send_tapi_socket_init_resp", &answer_an_asynchronous_init}),
    [](const auto& which) { return which.param.name; });

bool ends_for_memory(const Ending& ending, int failing_malloc)
{
    const ChildResult child = run_in_child([&] {
        TelephonyAgent agent;
        const Failing failing(Call::malloc, failing_malloc);
        ending.send(agent);
    });
    const std::string line =
        std::string("[3] ") + ending.function + ": Unable to allocate memory for TAPI message\n";
    return child.status == 1 && child.err.find(line) != std::string::npos;
}

TEST_P(ASendWithoutMemory, EndsTheProcessWith1)
{
    EXPECT_TRUE(ends_for_memory(GetParam(), 1));
}

TEST(AnEventThatIsTooLong, EndsTheProcessAsIfThereWereNoMemory)
{
    EXPECT_TRUE(ends_for_memory({"", "send_tapi_async_message", &send_an_event_longer_than_int}, 1000));
    EXPECT_TRUE(ends_for_memory({"", "send_tapi_async_message", &send_the_longest_event}, 1000));
}

// ---- the two ends together ----

TEST_F(ARunningAgent, ReadsBackWhatItsOwnSendersWrote)
{
    ASSERT_TRUE(start_and_connect());
    unsigned char text[] = "event";
    agent->send_tapi_async_message(9, 5, text);
    const std::string event = async_client.receive(21);
    TAC_MSG_S asked = request(8, 0x01020304);
    agent->send_tapi_sync_resp_message(&asked, nullptr, 0);
    const std::string response = sync_client.receive(16);
    ASSERT_TRUE(async_client.send(event));
    ASSERT_TRUE(agent->turns(1));
    ASSERT_TRUE(async_client.send(response));
    ASSERT_TRUE(agent->turns(1));
    EXPECT_EQ(agent->seen, (std::vector<Seen>{seen_raw(9, "event", 0, 1), seen_raw(8, "", 0x01020304)}));
}

// A client that stops reading makes the sender wait, and its death ends the wait.
TEST_F(ARunningAgent, WaitsForAClientThatDoesNotReadUntilItIsGone)
{
    ASSERT_TRUE(start_and_connect());
    const std::string text(60000, 'x');
    BlockedThread sender([&] {
        while (log.up_to(3).empty())
            agent->send_tapi_async_message(1, 60000,
                                           reinterpret_cast<unsigned char*>(const_cast<char*>(text.data())));
    });
    EXPECT_FALSE(sender.ended());
    async_client.close();
    sender.join();
    EXPECT_TRUE(log.has(3, "send_tapi_async_message", "send failed"));
}

} // namespace
