// Telephony under load: nothing lost, doubled or out of order below the queue's bound, drops counted above
// it, and everything that feeds an agent at the same time.
#include "tests/core/running_agent.h"
#include "tests/platform/siplib/raw_peer.h"
#include "tests/support/process.h"

#include <chrono>
#include <condition_variable>
#include <gtest/gtest.h>
#include <mutex>

namespace {

constexpr std::uint16_t REQUEST = 7; // answered on the synchronous connection
constexpr std::uint16_t EVENT = 8;   // answered by an event
constexpr MSG_TYPE END_OF_TRAFFIC = 5;

std::string number_text(std::uint32_t number)
{
    return std::string(reinterpret_cast<const char*>(&number), sizeof number);
}

// Sends `count` numbered messages, never more than `window` unanswered, and expects an answer to each, in
// their order. "" when all went well.
std::string exchange(const StreamEnd& end, std::uint16_t id, std::uint32_t count, std::uint32_t window)
{
    std::uint32_t sent = 0;
    for (std::uint32_t answered = 0; answered < count; ++answered) {
        for (; sent < count && sent - answered < window; ++sent)
            if (!end.send(bytes_of({id, number_text(sent), sent}))) return "send " + std::to_string(sent);
        std::string answer = end.receive(TAC_MSG_WIRE_SIZE + sizeof sent);
        WireMessage wanted(id, number_text(~answered), id == REQUEST ? answered : 0, id == REQUEST ? 0 : 1);
        wanted.slot = 0;
        if (answer.size() >= TAC_MSG_WIRE_SIZE) answer.replace(TAC_MSG_WIRE_COMMON, 4, 4, '\0');
        if (answer != bytes_of(wanted)) return "answer " + std::to_string(answered);
    }
    return end.has_nothing() ? "" : "more answers than messages";
}

// Handed from one thread to another that sleeps until there is one.
class Tokens {
public:
    void put()
    {
        const std::lock_guard<std::mutex> guard(mutex_);
        ++count_;
        changed_.notify_one();
    }
    bool take()
    {
        std::unique_lock<std::mutex> lock(mutex_);
        if (!changed_.wait_for(lock, std::chrono::seconds(15), [this] { return count_ > 0; })) return false;
        --count_;
        return true;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    int count_ = 0;
};

class TelephonyTraffic : public ARunningAgent {
protected:
    TelephonyTraffic()
    {
        IMS_log::set_level(4);
        agent->on_event_id = [this](const _Q_ELEMENT_T& element) { act_on(element); };
    }
    ~TelephonyTraffic() override { IMS_log::set_level(5); }

    // The main thread, until `count` producers have said that they are at their end.
    void run_until_ended(int count)
    {
        while (ended < count)
            agent->process_one_message();
    }
    // Runs `work` on a thread of its own, and then tells the main thread.
    template <typename Work>
    std::thread producer(Work work)
    {
        return std::thread([this, work] {
            work();
            agent->fill_queue_and_send_signal(END_OF_TRAFFIC, nullptr);
        });
    }

    Tokens texts; // one for each framework text that was dispatched
    int ended = 0;

private:
    void act_on(const _Q_ELEMENT_T& element)
    {
        switch (element.msg_type) {
        case END_OF_TRAFFIC: ++ended; break;
        case MSG_TYPE_FWK: texts.put(); break;
        case MSG_TYPE_TAPI_RAW: answer(static_cast<TAC_MSG_S*>(element.data)); break;
        case MSG_TYPE_SIP_REQUEST: accept(static_cast<SIPLIB_SIPConnection*>(element.data)); break;
        default: break;
        }
    }
    void answer(TAC_MSG_S* message)
    {
        ASSERT_EQ(message->body_len, 4);
        std::uint32_t number = 0;
        std::memcpy(&number, message->body, sizeof number);
        EXPECT_EQ(number, message->tac_ref);
        number = ~number;
        if (message->msg_id == REQUEST)
            agent->send_tapi_sync_resp_message(message, &number, sizeof number);
        else
            agent->send_tapi_async_message(message->msg_id, sizeof number,
                                           reinterpret_cast<unsigned char*>(&number));
    }
    static void accept(SIPLIB_SIPConnection* request)
    {
        request->initResponse(200);
        request->send();
    }
};

// 20 messages of 20 bytes under way on each connection: below the queue's bound, and none is cut by a read.
TEST_F(TelephonyTraffic, BelowTheBoundOfTheQueueIsCompleteAndInOrder)
{
    constexpr std::uint32_t each = 50000;
    ASSERT_TRUE(start_and_connect());
    std::string requests = "not run";
    std::string events = "not run";
    std::thread first = producer([&] { requests = exchange(sync_client, REQUEST, each, 20); });
    std::thread second = producer([&] { events = exchange(async_client, EVENT, each, 20); });
    run_until_ended(2);
    first.join();
    second.join();
    EXPECT_EQ(requests, "");
    EXPECT_EQ(events, "");
    EXPECT_EQ(agent->seen.size(), 2u * each);
    EXPECT_TRUE(log.up_to(4).size() == 1u) << "nothing but the thread's start";
}

TEST_F(TelephonyTraffic, AboveTheBoundIsDroppedByCount)
{
    constexpr std::size_t batches = 20;
    constexpr std::size_t batch = 50;
    agent->on_event_id = nullptr;
    ASSERT_TRUE(start_and_connect());
    IMS_log::set_level(5);
    std::uint16_t next = 0;
    for (std::size_t i = 1; i <= batches; ++i) { // one read each, so that none is cut
        std::string bytes;
        for (std::size_t k = 0; k < batch; ++k)
            bytes += bytes_of({next++});
        ASSERT_TRUE(async_client.send(bytes));
        ASSERT_EQ(logged({5, "wait_for_ext_message", "received 800 bytes"}, i), i);
    }
    const LogRecord refused = {4, "fill_queue_and_send_signal", "Enqueue operation failed"};
    const LogRecord overflow = {4, "enqueue", "Message queue overflow! - Enqueue operation failed"};
    constexpr std::size_t dropped = batches * batch - 51;
    EXPECT_EQ(logged(refused, dropped), dropped);
    EXPECT_EQ(logged(overflow, dropped), dropped);
    agent->drain();
    ASSERT_EQ(agent->seen.size(), 51u);
    for (std::uint32_t i = 0; i < 51; ++i)
        EXPECT_EQ(agent->seen[i], seen_raw(i)) << "the oldest stay";
    ASSERT_TRUE(async_client.send(bytes_of({9})));
    ASSERT_TRUE(agent->turns(1));
    EXPECT_EQ(agent->seen.back(), seen_raw(9));
}

std::string options_request(int number, int from_port, int to_port)
{
    const std::string tag = std::to_string(number);
    const std::string to = "sip:agent@127.0.0.1:" + std::to_string(to_port);
    return "OPTIONS " + to + " SIP/2.0\r\nVia: SIP/2.0/UDP 127.0.0.1:" + std::to_string(from_port) +
           ";branch=z9hG4bK-traffic-" + tag + "\r\nFrom: <sip:tester@127.0.0.1>;tag=" + tag + "\r\nTo: <" +
           to + ">\r\nCall-ID: traffic-" + tag +
           "\r\nCSeq: 1 OPTIONS\r\nMax-Forwards: 70\r\nContent-Length: 0\r\n\r\n";
}

// Every source of events at once, each with one or a few under way; the senders answer on the main thread.
TEST_F(TelephonyTraffic, RunsBesideFrameworkTextAndSip)
{
    constexpr int rounds = 400;
    constexpr int sip_requests = 40; // the slowest of them, above all in an emulator
    FrameworkChannel framework;
    FakeFrameworkSocket connector;
    connector.fd = framework.agent_fd;
    IMS_User_Agent::__ua_fwk_connector = &connector;
    const int port = free_port();
    ASSERT_NE(agent->open_local_notifier(port), nullptr);
    ASSERT_TRUE(start_and_connect());
    ASSERT_TRUE(third_client.connect());

    std::string requests = "not run";
    std::string events = "not run";
    int texts_taken = 0;
    int sip_answers = 0;
    std::thread producers[] = {
        producer([&] { requests = exchange(sync_client, REQUEST, 5 * rounds, 15); }),
        producer([&] { events = exchange(async_client, EVENT, 5 * rounds, 15); }),
        producer([&] {
            for (int i = 0; i < rounds && framework.daemon->send("CHANGED\n/a/b\n"); ++i)
                texts_taken += texts.take() ? 1 : 0;
        }),
        producer([&] {
            RawSocket peer = RawSocket::bound(SOCK_DGRAM);
            for (int i = 0; i < sip_requests; ++i) {
                peer.send_to(port, options_request(i, peer.port(), port));
                sip_answers += peer.receive().compare(0, 11, "SIP/2.0 200") == 0 ? 1 : 0;
            }
        }),
        producer([&] {
            for (int i = 0; i < rounds; ++i)
                third_client.send("nobody reads this");
        }),
    };
    run_until_ended(5);
    for (std::thread& thread : producers)
        thread.join();
    EXPECT_EQ(requests, "");
    EXPECT_EQ(events, "");
    EXPECT_EQ(texts_taken, rounds);
    EXPECT_EQ(sip_answers, sip_requests);
    stop();
    framework.daemon->close();
    SIPLIB_SIPStop();
}

} // namespace
