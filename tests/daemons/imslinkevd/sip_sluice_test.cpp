#include "daemons/imslinkevd/sip_sluice.h"

#include "core/IMS_User_Agent.h"
#include "tests/support/fake_sip.h"
#include "tests/support/log_records.h"

#include <gtest/gtest.h>

namespace {

// An agent that keeps what its main loop hands over, in order.
struct Loop : IMS_User_Agent {
    unsigned int get_event_id_from_message(void* element) override
    {
        kinds.push_back(static_cast<_Q_ELEMENT_T*>(element)->msg_type);
        return 1;
    }
    unsigned short handle_event(unsigned int, void* data) override
    {
        taken.push_back(static_cast<SIPLIB_SIPConnection*>(data));
        return 1;
    }
    void turn() { process_one_message(); }

    std::vector<MSG_TYPE> kinds;
    std::vector<SIPLIB_SIPConnection*> taken;
};

struct ASluice : ::testing::Test {
    void request(Fake_request& connection)
    {
        notifier.waiting = &connection;
        sluice.notifyRequest(&notifier);
    }
    void turn()
    {
        loop.turn();
        sluice.taken();
    }
    LogRecords log;
    Fake_notifier notifier;
    Loop loop;
    Sip_sluice sluice{loop};
};

TEST_F(ASluice, LosesNothingOfABurstAndKeepsItsOrder)
{
    std::vector<std::unique_ptr<Fake_request>> requests;
    for (int i = 0; i < 500; ++i) {
        requests.push_back(std::make_unique<Fake_request>());
        request(*requests.back());
    }
    for (int i = 0; i < 500; ++i)
        turn();
    ASSERT_EQ(loop.taken.size(), 500u);
    for (std::size_t i = 0; i < 500; ++i)
        ASSERT_EQ(loop.taken[i], requests[i].get()) << i;
    EXPECT_TRUE(log.of("enqueue").empty()) << "the queue never overflowed";
}

TEST_F(ASluice, KeepsRequestsAndResponsesApart)
{
    Fake_request in;
    Fake_client out;
    request(in);
    sluice.notifyResponse(&out);
    turn();
    turn();
    EXPECT_EQ(loop.kinds, (std::vector<MSG_TYPE>{MSG_TYPE_SIP_REQUEST, MSG_TYPE_SIP_RESPONSE}));
}

TEST_F(ASluice, AnswersRequestsBeyondItsRoomAndNeverDropsAResponse)
{
    Fake_request flood;
    for (std::size_t i = 0; i < Sip_sluice::WINDOW + Sip_sluice::MAX_WAITING; ++i)
        request(flood);
    EXPECT_EQ(flood.sent, 0);
    Fake_request late;
    request(late);
    EXPECT_EQ(late.code, 503);
    EXPECT_EQ(late.answer["Retry-After"], "2");
    EXPECT_EQ(late.sent, 1);
    Fake_client response;
    sluice.notifyResponse(&response);
    for (std::size_t i = 0; i < Sip_sluice::WINDOW + Sip_sluice::MAX_WAITING + 1; ++i)
        turn();
    EXPECT_EQ(loop.taken.back(), &response);
    request(late);
    turn();
    EXPECT_EQ(loop.taken.back(), &late) << "there is room again";
}

TEST_F(ASluice, TakesNothingForNothing)
{
    sluice.notifyRequest(nullptr);
    notifier.waiting = nullptr;
    sluice.notifyRequest(&notifier);
    sluice.notifyResponse(nullptr);
    sluice.taken();
    Fake_request one;
    request(one);
    turn();
    EXPECT_EQ(loop.taken.size(), 1u);
}

} // namespace
