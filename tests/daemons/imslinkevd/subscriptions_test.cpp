#include "daemons/imslinkevd/subscriptions.h"

#include <gtest/gtest.h>

namespace {

using std::chrono::seconds;

Link_report report(int reference, bool up = true)
{
    Link_report r;
    r.reference = reference;
    r.name = "eth" + std::to_string(reference);
    r.up = up;
    r.access_network = "IEEE";
    return r;
}

// Time moves only when a test moves it.
struct ANotifier : ::testing::Test {
    ANotifier() : subscriptions(limits()) {}

    static Subscriptions::Limits limits()
    {
        Subscriptions::Limits l;
        l.capacity = 3;
        l.spacing = Milliseconds(100);
        l.answer_patience = Milliseconds(40000);
        return l;
    }
    static Subscription_key key(const std::string& call_id, Package package = Package::link_event)
    {
        Subscription_key k;
        k.call_id = call_id;
        k.local_tag = "ours";
        k.remote_tag = "theirs";
        k.package = package;
        return k;
    }
    std::uint32_t subscribed(const std::string& call_id, int expires = 600,
                             Package package = Package::link_event)
    {
        Subscription_dialog dialog;
        dialog.contact = "<sip:" + call_id + "@127.0.0.1>";
        dialog.remote_cseq = 1;
        return subscriptions.open(key(call_id, package), dialog, Seconds(expires), now);
    }
    Due_notify only_due()
    {
        auto list = subscriptions.due(now);
        EXPECT_EQ(list.size(), 1u);
        return list.empty() ? Due_notify() : list[0];
    }
    bool answer(std::uint32_t id, int code = 200, int retry_after = 0)
    {
        return subscriptions.answered(id, code, Seconds(retry_after), now);
    }
    bool quiet() { return subscriptions.due(now).empty(); }

    Time now = Time() + seconds(1000);
    Subscriptions subscriptions;
};

TEST_F(ANotifier, TellsANewSubscriberEveryLinkOneAfterTheOther)
{
    subscriptions.set_links({report(2), report(3, false)});
    const auto id = subscribed("a");
    ASSERT_NE(id, 0u);
    auto notify = only_due();
    EXPECT_EQ(notify.id, id);
    EXPECT_EQ(notify.report.name, "eth2");
    EXPECT_EQ(notify.state, "active;expires=600");
    EXPECT_EQ(notify.dialog.contact, "<sip:a@127.0.0.1>");
    EXPECT_FALSE(notify.last);
    EXPECT_TRUE(quiet()) << "one NOTIFY at a time";
    answer(id);
    now += seconds(1);
    notify = only_due();
    EXPECT_EQ(notify.report.name, "eth3");
    EXPECT_EQ(notify.state, "active;expires=599");
    answer(id);
    EXPECT_TRUE(quiet());
    EXPECT_EQ(subscriptions.next_due(now), now + seconds(599));
}

TEST_F(ANotifier, SpeaksEvenIfThereIsNoLinkAtAll)
{
    const auto id = subscribed("a");
    EXPECT_EQ(only_due().report.cause, "no-link");
    answer(id);
    EXPECT_TRUE(quiet());
    subscriptions.set_links({report(2)});
    EXPECT_EQ(only_due().report.name, "eth2");
}

TEST_F(ANotifier, TellsOnlyWhatChanged)
{
    subscriptions.set_links({report(2)});
    const auto id = subscribed("a");
    only_due();
    answer(id);
    EXPECT_FALSE(subscriptions.set_links({report(2)}));
    EXPECT_TRUE(quiet());
    now += seconds(1);
    EXPECT_TRUE(subscriptions.set_links({report(2, false)}));
    EXPECT_FALSE(only_due().report.up);
}

TEST_F(ANotifier, TellsTheLatestStateOnceTheLastOneIsAnswered)
{
    subscriptions.set_links({report(2)});
    const auto id = subscribed("a");
    only_due();
    for (int i = 0; i < 1000; ++i)
        subscriptions.set_links({report(2, i % 2 != 0)});
    subscriptions.set_links({report(2, false)});
    EXPECT_TRUE(quiet());
    now += seconds(1);
    answer(id);
    EXPECT_FALSE(only_due().report.up);
    answer(id);
    now += seconds(1);
    EXPECT_TRUE(quiet());
}

TEST_F(ANotifier, KeepsTheSpacingBetweenTwoNotifiesAboutALink)
{
    subscriptions.set_links({report(2)});
    const auto id = subscribed("a");
    only_due();
    answer(id);
    subscriptions.set_links({report(2, false)});
    EXPECT_TRUE(quiet());
    EXPECT_EQ(subscriptions.next_due(now), now + Milliseconds(100));
    now += Milliseconds(99);
    EXPECT_TRUE(quiet());
    now += Milliseconds(1);
    EXPECT_FALSE(only_due().report.up);
}

TEST_F(ANotifier, TellsNothingWhenALinkIsBackBeforeItCouldBeTold)
{
    subscriptions.set_links({report(2)});
    const auto id = subscribed("a");
    only_due();
    answer(id);
    subscriptions.set_links({report(2, false)});
    subscriptions.set_links({report(2)});
    now += seconds(1);
    EXPECT_TRUE(quiet());
}

TEST_F(ANotifier, TellsOfARemovedLinkThoseWhoKnewItAndThenForgetsIt)
{
    subscriptions.set_links({report(2), report(3)});
    const auto id = subscribed("a");
    only_due();
    answer(id);
    only_due();
    answer(id);
    now += seconds(1);
    subscriptions.set_links({report(2)});
    const auto notify = only_due();
    EXPECT_EQ(notify.report.name, "eth3");
    EXPECT_EQ(notify.report.cause, "removed");
    answer(id);
    now += seconds(1);
    EXPECT_TRUE(quiet());
    const auto newcomer = subscribed("b");
    EXPECT_EQ(only_due().report.name, "eth2");
    answer(newcomer);
    EXPECT_TRUE(quiet()) << "a newcomer hears nothing of the removed link";
    subscriptions.set_links({report(2), report(3)});
    EXPECT_EQ(subscriptions.due(now).size(), 2u) << "it may come back";
}

TEST_F(ANotifier, TellsTheAvailabilityOnlyWhenTheAccessChanges)
{
    subscriptions.set_links({report(2), report(3)});
    const auto id = subscribed("a", 600, Package::link_availability);
    EXPECT_EQ(only_due().report.access_network, "IEEE");
    answer(id);
    now += seconds(1);
    subscriptions.set_links({report(2), report(3, false)});
    EXPECT_TRUE(quiet());
    subscriptions.set_links({report(2, false), report(3, false)});
    EXPECT_EQ(only_due().report.access_network, "");
}

TEST_F(ANotifier, TellsEverythingAnewAfterARefresh)
{
    subscriptions.set_links({report(2)});
    const auto id = subscribed("a");
    only_due();
    answer(id);
    now += seconds(500);
    ASSERT_EQ(subscriptions.find(key("a")), id);
    Subscription_dialog moved;
    moved.contact = "<sip:moved@127.0.0.1>";
    moved.remote_cseq = 2;
    subscriptions.refresh(id, moved, Seconds(600), now);
    const auto notify = only_due();
    EXPECT_EQ(notify.state, "active;expires=600");
    EXPECT_EQ(notify.dialog.contact, "<sip:moved@127.0.0.1>");
    EXPECT_EQ(subscriptions.remote_cseq(id), 2u);
}

TEST_F(ANotifier, EndsAnUnsubscribedOneWithAFinalNotify)
{
    subscriptions.set_links({report(2)});
    const auto id = subscribed("a");
    only_due();
    answer(id);
    subscriptions.refresh(id, {}, Seconds(0), now);
    EXPECT_EQ(subscriptions.find(key("a")), 0u) << "requests in the ended dialog find nothing";
    const auto notify = only_due();
    EXPECT_EQ(notify.state, "terminated;reason=timeout");
    EXPECT_TRUE(notify.last);
    EXPECT_TRUE(answer(id));
    EXPECT_EQ(subscriptions.size(), 0u);
}

TEST_F(ANotifier, AnswersAFetchWithOneFinalNotifyOfThePreferredLink)
{
    subscriptions.set_links({report(2, false), report(3)});
    const auto id = subscribed("a", 0);
    const auto notify = only_due();
    EXPECT_EQ(notify.report.name, "eth3");
    EXPECT_TRUE(notify.last);
    EXPECT_TRUE(answer(id));
    EXPECT_TRUE(quiet());
}

TEST_F(ANotifier, EndsAnExpiredOneWithAFinalNotify)
{
    subscriptions.set_links({report(2)});
    const auto id = subscribed("a", 60);
    only_due();
    answer(id);
    now += seconds(59);
    EXPECT_TRUE(quiet());
    EXPECT_EQ(subscriptions.next_due(now), now + seconds(1));
    now += seconds(1);
    EXPECT_EQ(only_due().state, "terminated;reason=timeout");
}

TEST_F(ANotifier, SendsTheFinalNotifyOnlyWhenTheOneBeforeIsAnswered)
{
    subscriptions.set_links({report(2)});
    const auto id = subscribed("a");
    only_due();
    subscriptions.end_all("probation;retry-after=2");
    EXPECT_TRUE(quiet());
    EXPECT_EQ(subscriptions.unanswered(), 1u);
    EXPECT_FALSE(answer(id));
    EXPECT_EQ(only_due().state, "terminated;reason=probation;retry-after=2");
    EXPECT_TRUE(answer(id));
    EXPECT_EQ(subscriptions.unanswered(), 0u);
}

TEST_F(ANotifier, DropsASubscriberThatFails)
{
    for (const int code : {481, 408, 400, 404, 500, 503, 0, 603, 302}) {
        const auto id = subscribed("a");
        only_due();
        EXPECT_TRUE(answer(id, code)) << code;
        EXPECT_EQ(subscriptions.size(), 0u);
    }
}

TEST_F(ANotifier, WaitsForASubscriberThatAsksToRetryLater)
{
    subscriptions.set_links({report(2)});
    const auto id = subscribed("a");
    only_due();
    EXPECT_FALSE(answer(id, 503, 10));
    EXPECT_TRUE(quiet());
    EXPECT_EQ(subscriptions.next_due(now), now + seconds(10));
    subscriptions.set_links({report(2, false)});
    now += seconds(10);
    EXPECT_FALSE(only_due().report.up) << "the latest state";
    EXPECT_TRUE(answer(id, 481, 10)) << "481 ends it, whatever else it carries";
}

TEST_F(ANotifier, TakesProvisionalAnswersForNone)
{
    const auto id = subscribed("a");
    only_due();
    EXPECT_FALSE(answer(id, 100));
    EXPECT_EQ(subscriptions.unanswered(), 1u);
}

TEST_F(ANotifier, DropsASubscriberWhoseAnswerNeverCame)
{
    subscribed("a");
    only_due();
    EXPECT_EQ(subscriptions.next_due(now), now + Milliseconds(40000));
    now += Milliseconds(40000);
    EXPECT_TRUE(quiet());
    EXPECT_EQ(subscriptions.size(), 0u);
}

TEST_F(ANotifier, HasRoomForItsCapacityOnly)
{
    EXPECT_NE(subscribed("a"), 0u);
    EXPECT_NE(subscribed("b"), 0u);
    const auto third = subscribed("c");
    EXPECT_NE(third, 0u);
    EXPECT_EQ(subscribed("d"), 0u);
    EXPECT_EQ(subscriptions.size(), 3u);
    subscriptions.due(now);
    answer(third, 481);
    EXPECT_NE(subscribed("d"), 0u);
}

TEST_F(ANotifier, TellsSubscriptionsOfOneDialogApartByPackageAndId)
{
    auto with_id = key("a");
    with_id.event_id = "7";
    const auto first = subscribed("a");
    const auto second = subscribed("a", 600, Package::link_availability);
    const auto third = subscriptions.open(with_id, {}, Seconds(600), now);
    EXPECT_EQ(subscriptions.find(key("a")), first);
    EXPECT_EQ(subscriptions.find(key("a", Package::link_availability)), second);
    EXPECT_EQ(subscriptions.find(with_id), third);
    auto foreign = key("a");
    foreign.remote_tag = "other";
    EXPECT_EQ(subscriptions.find(foreign), 0u);
}

} // namespace
