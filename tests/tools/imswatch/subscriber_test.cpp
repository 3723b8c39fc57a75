#include "tools/imswatch/subscriber.h"

#include <gtest/gtest.h>

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using Send = Subscriber::Send;
using State = Subscriber::State;

// Time moves only when a test moves it.
struct ASubscriber : ::testing::Test {
    void answer(int code, std::optional<unsigned> expires = std::nullopt,
                std::optional<unsigned> retry_after = std::nullopt)
    {
        Subscriber::Response response;
        response.code = code;
        response.expires = expires;
        response.retry_after = retry_after;
        subscriber.on_response(response, now);
    }
    void notify(const std::string& state, const std::string& reason = "",
                std::optional<unsigned> retry_after = std::nullopt)
    {
        Subscriber::Notified notified;
        notified.state = state;
        notified.reason = reason;
        notified.retry_after = retry_after;
        subscriber.on_notify(notified, now);
    }
    Send due() { return subscriber.due(now); }
    void subscribe()
    {
        ASSERT_EQ(due(), Send::subscribe);
        answer(200, 100);
        notify("active");
        ASSERT_EQ(subscriber.state(), State::active);
    }

    Subscriber::Time now = Subscriber::Time() + seconds(1000);
    Subscriber subscriber{100, false};
};

TEST_F(ASubscriber, RefreshesWhenFourFifthsOfTheTimeHavePassed)
{
    subscribe();
    EXPECT_EQ(subscriber.next_due(), now + seconds(80));
    now += milliseconds(79999);
    EXPECT_EQ(due(), Send::nothing);
    now += milliseconds(1);
    EXPECT_EQ(due(), Send::refresh);
    EXPECT_EQ(due(), Send::nothing) << "once";
    answer(200, 50);
    EXPECT_EQ(subscriber.next_due(), now + seconds(40)) << "what was granted counts, not what was asked";
}

TEST_F(ASubscriber, MayHearTheNotifyBeforeTheAnswer)
{
    ASSERT_EQ(due(), Send::subscribe);
    notify("active");
    EXPECT_EQ(subscriber.state(), State::active);
    answer(200, 10);
    EXPECT_EQ(subscriber.next_due(), now + seconds(8));
}

TEST_F(ASubscriber, DoesNotTrustAnAnswerWithoutANotify)
{
    ASSERT_EQ(due(), Send::subscribe);
    answer(200, 100);
    now += Subscriber::NOTIFY_PATIENCE;
    EXPECT_EQ(due(), Send::nothing);
    EXPECT_EQ(subscriber.state(), State::waiting);
    now += seconds(1);
    EXPECT_EQ(due(), Send::subscribe);
}

TEST_F(ASubscriber, WaitsAsLongAsItIsTold)
{
    ASSERT_EQ(due(), Send::subscribe);
    answer(503, std::nullopt, 7);
    EXPECT_EQ(subscriber.state(), State::waiting);
    now += seconds(6);
    EXPECT_EQ(due(), Send::nothing);
    now += seconds(1);
    EXPECT_EQ(due(), Send::subscribe);
}

TEST_F(ASubscriber, AsksForLongerWhenItAskedTooBriefly)
{
    ASSERT_EQ(due(), Send::subscribe);
    Subscriber::Response brief;
    brief.code = 423;
    brief.min_expires = 600;
    subscriber.on_response(brief, now);
    EXPECT_EQ(due(), Send::subscribe);
    EXPECT_EQ(subscriber.expires(), 600u);
    brief.min_expires = 10; // nonsense: less than was asked for
    subscriber.on_response(brief, now);
    EXPECT_EQ(subscriber.refused_with(), 423);
}

TEST_F(ASubscriber, TriesLongerAndLongerButNotForEverWhenNobodyEverAnswered)
{
    for (int attempt = 0; attempt < Subscriber::FIRST_ATTEMPTS; ++attempt) {
        ASSERT_EQ(due(), Send::subscribe) << attempt;
        answer(503);
        now += seconds(1 << attempt);
    }
    EXPECT_EQ(subscriber.state(), State::over);
    EXPECT_EQ(subscriber.refused_with(), 503);
}

TEST_F(ASubscriber, ThatIsPersistentGoesOnTrying)
{
    Subscriber persistent(100, true);
    for (int attempt = 0; attempt < 50; ++attempt) {
        ASSERT_EQ(persistent.due(now), Send::subscribe);
        Subscriber::Response away;
        away.code = 408;
        persistent.on_response(away, now);
        EXPECT_LE(persistent.next_due(), now + Subscriber::MAX_BACKOFF);
        now = persistent.next_due();
    }
}

TEST_F(ASubscriber, IsOverWhenItIsRefused)
{
    for (const int code : {400, 403, 404, 489, 500, 603}) {
        Subscriber one(100, true);
        ASSERT_EQ(one.due(now), Send::subscribe);
        Subscriber::Response response;
        response.code = code;
        one.on_response(response, now);
        EXPECT_EQ(one.state(), State::over);
        EXPECT_EQ(one.refused_with(), code);
    }
}

TEST_F(ASubscriber, BeginsAnewWhenARefreshFindsNothing)
{
    subscribe();
    now += seconds(80);
    ASSERT_EQ(due(), Send::refresh);
    answer(481);
    EXPECT_FALSE(subscriber.has_dialog());
    EXPECT_EQ(due(), Send::subscribe);
}

TEST_F(ASubscriber, BeginsAnewWhenTheNotifierIsGone)
{
    subscribe();
    now += seconds(80);
    ASSERT_EQ(due(), Send::refresh);
    answer(503);
    EXPECT_EQ(subscriber.state(), State::waiting);
    for (int attempt = 0; attempt < 20; ++attempt) { // it was there once: never given up
        now = subscriber.next_due();
        ASSERT_EQ(due(), Send::subscribe);
        answer(503);
    }
}

TEST_F(ASubscriber, KeepsTheSubscriptionWhenARefreshFailsOtherwise)
{
    subscribe();
    now += seconds(80);
    ASSERT_EQ(due(), Send::refresh);
    answer(500, std::nullopt, 5);
    EXPECT_EQ(subscriber.state(), State::active);
    now += seconds(5);
    EXPECT_EQ(due(), Send::refresh);
    answer(500, std::nullopt, 60);
    EXPECT_EQ(subscriber.state(), State::waiting) << "it expires before";
}

TEST_F(ASubscriber, ComesBackWhenItsSubscriptionIsEndedForNow)
{
    subscribe();
    now += seconds(5);
    notify("terminated", "deactivated");
    EXPECT_EQ(due(), Send::subscribe) << "at once";
    answer(200, 100);
    notify("terminated", "deactivated");
    EXPECT_EQ(due(), Send::nothing) << "but not again and again";
    now += seconds(1);
    EXPECT_EQ(due(), Send::subscribe);
    answer(200, 100);
    notify("terminated", "probation", 3);
    EXPECT_EQ(subscriber.next_due(), now + seconds(3));
}

TEST_F(ASubscriber, StaysAwayWhenThereIsNothingToComeBackTo)
{
    for (const char* reason : {"rejected", "noresource", "invariant"}) {
        Subscriber one(100, true);
        one.due(now);
        Subscriber::Notified notified;
        notified.state = "terminated";
        notified.reason = reason;
        one.on_notify(notified, now);
        EXPECT_EQ(one.state(), State::over) << reason;
    }
}

TEST_F(ASubscriber, LeavesByUnsubscribingAndWaitsForTheFinalNotify)
{
    subscribe();
    subscriber.leave(now);
    EXPECT_EQ(due(), Send::unsubscribe);
    EXPECT_EQ(subscriber.expires(), 0u);
    answer(200, 0);
    EXPECT_EQ(subscriber.state(), State::leaving);
    notify("terminated", "timeout");
    EXPECT_EQ(subscriber.state(), State::over);
    EXPECT_EQ(subscriber.refused_with(), 0);
}

TEST_F(ASubscriber, DoesNotWaitForeverWhenItLeaves)
{
    subscribe();
    subscriber.leave(now);
    ASSERT_EQ(due(), Send::unsubscribe);
    now += Subscriber::LEAVE_PATIENCE;
    due();
    EXPECT_EQ(subscriber.state(), State::over);

    Subscriber idle(100, false);
    idle.leave(now);
    EXPECT_EQ(idle.state(), State::over);
}

TEST_F(ASubscriber, FetchesOnceWithExpiresZero)
{
    Subscriber fetch(0, false);
    ASSERT_EQ(fetch.due(now), Send::subscribe);
    EXPECT_EQ(fetch.expires(), 0u);
    Subscriber::Response accepted;
    accepted.code = 200;
    accepted.expires = 0;
    fetch.on_response(accepted, now);
    EXPECT_TRUE(fetch.has_dialog());
    Subscriber::Notified only;
    only.state = "terminated";
    only.reason = "timeout";
    fetch.on_notify(only, now);
    EXPECT_EQ(fetch.state(), State::over);
}

} // namespace
