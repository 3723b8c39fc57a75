#include "tests/tools/imsladder/samples.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace imsladder;
using namespace samples;
using ::testing::ElementsAre;

TEST(ALadder, MakesOneArrowOfAMessageThatBothSidesRecorded)
{
    const std::string r = request("SUBSCRIBE", "b1", "Event: reg\r\n");
    const Ladder ladder =
        merge({sent(1000, watch, agent.address, r), received(1150, agent, watch.address, r),
               sent(1300, agent, watch.address, response("200 OK", "SUBSCRIBE", "b1")),
               received(1400, watch, agent.address, response("200 OK", "SUBSCRIBE", "b1"))});
    EXPECT_THAT(drawn(ladder),
                ElementsAre("imswatch>imslinkevd SUBSCRIBE reg", "imslinkevd>imswatch 200 OK (SUBSCRIBE)"));
    EXPECT_EQ(ladder.start, 1000);
    EXPECT_EQ(ladder.arrows[1].time, 300);
    EXPECT_EQ(ladder.arrows[1].summary.event, "reg") << "a response has the event of its request";
}

TEST(ALadder, DoesNotDependOnTheOrderOfTheRecords)
{
    const std::string r = request("OPTIONS", "b1");
    EXPECT_THAT(drawn(merge({received(1150, agent, watch.address, r), sent(1000, watch, agent.address, r)})),
                ElementsAre("imswatch>imslinkevd OPTIONS"));
}

TEST(ALadder, KeepsARequestBeforeItsAnswerWhenItsRecordCameLate)
{
    const std::string r = request("OPTIONS", "b1");
    const Ladder ladder = merge({received(1000, agent, watch.address, r),
                                 sent(1010, agent, watch.address, response("200 OK", "OPTIONS", "b1")),
                                 sent(1020, watch, agent.address, r),
                                 received(1030, watch, agent.address, response("200 OK", "OPTIONS", "b1"))});
    EXPECT_THAT(drawn(ladder),
                ElementsAre("imswatch>imslinkevd OPTIONS", "imslinkevd>imswatch 200 OK (OPTIONS)"));
}

TEST(ALadder, NamesAStrangerByItsAddress)
{
    const Ladder ladder = merge({received(1, agent, sipp, request("SUBSCRIBE", "b1")),
                                 sent(2, agent, sipp, response("489 Bad Event", "SUBSCRIBE", "b1"))});
    EXPECT_THAT(drawn(ladder), ElementsAre("127.0.0.1:5090>imslinkevd SUBSCRIBE",
                                           "imslinkevd>127.0.0.1:5090 489 Bad Event (SUBSCRIBE)"));
    EXPECT_FALSE(ladder.participants[0].records);
    EXPECT_TRUE(ladder.participants[1].records);
}

TEST(ALadder, MarksARetransmissionAndWhatWasLost)
{
    const std::string r = request("NOTIFY", "b1");
    const Ladder ladder = merge({sent(0, agent, watch.address, r), sent(500000, agent, watch.address, r),
                                 received(500100, watch, agent.address, r)});
    EXPECT_THAT(drawn(ladder),
                ElementsAre("imslinkevd>imswatch NOTIFY!", "imslinkevd>imswatch NOTIFY (again)"));
    EXPECT_EQ(ladder.arrows[0].seen, Arrow::Seen::by_sender);
    EXPECT_EQ(ladder.arrows[1].seen, Arrow::Seen::by_both);
}

TEST(ALadder, PairsEveryCopyOnce)
{
    const std::string r = request("NOTIFY", "b1");
    std::vector<Record> records;
    for (int i = 0; i < 4; ++i) {
        records.push_back(sent(i * 1000, agent, watch.address, r));
        records.push_back(received(i * 1000 + 100, watch, agent.address, r));
    }
    const Ladder ladder = merge(records);
    ASSERT_EQ(ladder.arrows.size(), 4u);
    for (const Arrow& arrow : ladder.arrows)
        EXPECT_EQ(arrow.seen, Arrow::Seen::by_both);
    EXPECT_FALSE(ladder.arrows[0].again);
    EXPECT_TRUE(ladder.arrows[3].again);
}

TEST(ALadder, MarksWhatOnlyTheReceiverOfTwoRecorded)
{
    const Ladder ladder = merge({sent(0, watch, agent.address, request("OPTIONS", "b0")),
                                 received(1, agent, watch.address, request("OPTIONS", "b0")),
                                 received(2, agent, watch.address, request("OPTIONS", "b1"))});
    EXPECT_THAT(drawn(ladder), ElementsAre("imswatch>imslinkevd OPTIONS", "imswatch>imslinkevd OPTIONS!"));
    EXPECT_EQ(ladder.arrows[1].seen, Arrow::Seen::by_receiver);
}

TEST(ALadder, KeepsApartWhatDiffersInBranchMethodStatusCallOrCSeq)
{
    const std::string base = request("OPTIONS", "b1");
    std::string other_call = base, other_cseq = base;
    other_call.replace(other_call.find("c1"), 2, "c2");
    other_cseq.replace(other_cseq.find("CSeq: 1"), 7, "CSeq: 2");
    for (const std::string& other :
         {request("OPTIONS", "b2"), request("INFO", "b1"), other_call, other_cseq}) {
        const Ladder ladder =
            merge({sent(0, watch, agent.address, base), received(1, agent, watch.address, other)});
        EXPECT_EQ(ladder.arrows.size(), 2u) << other;
        for (const Arrow& arrow : ladder.arrows)
            EXPECT_FALSE(arrow.again);
    }
}

TEST(ALadder, PairsWhenOneOfTheAddressesDiffers)
{
    const std::string r = request("OPTIONS", "b1");
    const Party ephemeral{"imswatch", 11, "127.0.0.1:43210"};
    EXPECT_EQ(
        merge({sent(0, watch, agent.address, r), received(1, agent, "127.0.0.1:43210", r)}).arrows.size(),
        1u);
    EXPECT_EQ(merge({sent(0, ephemeral, "localhost:5070", r), received(1, agent, ephemeral.address, r)})
                  .arrows.size(),
              1u);
}

// A relay that passes messages on unchanged stays visible between the two.
TEST(ALadder, DoesNotPairWhenNeitherAddressAgrees)
{
    const std::string r = request("OPTIONS", "b1");
    EXPECT_THAT(drawn(merge({sent(0, watch, sipp, r), received(1, agent, "127.0.0.1:5091", r)})),
                ElementsAre("imswatch>127.0.0.1:5090 OPTIONS", "127.0.0.1:5091>imslinkevd OPTIONS"));
}

TEST(ALadder, ShowsWhatAProgramSendsToItself)
{
    const std::string r = request("OPTIONS", "b1");
    const Ladder ladder = merge({sent(0, agent, agent.address, r), received(1, agent, agent.address, r)});
    EXPECT_THAT(drawn(ladder), ElementsAre("imslinkevd>imslinkevd OPTIONS"));
}

TEST(ALadder, DrawsWhatIsNotSipOnItsOwn)
{
    const Ladder ladder =
        merge({sent(0, watch, agent.address, "\r\n\r\n"), received(1, agent, watch.address, "\r\n\r\n"),
               sent(2, watch, agent.address, "\r\n\r\n")});
    EXPECT_EQ(ladder.arrows.size(), 3u);
    EXPECT_FALSE(ladder.arrows[2].again);
}

TEST(ALadder, OfNothingIsEmpty)
{
    const Ladder ladder = merge({});
    EXPECT_TRUE(ladder.arrows.empty());
    EXPECT_TRUE(ladder.participants.empty());
}

// As many alike as a broken sender may produce: not a matter of their square.
TEST(ALadder, TakesManyAlike)
{
    const Record one = sent(0, watch, agent.address, request("OPTIONS", ""));
    const Record two = received(0, agent, watch.address, request("OPTIONS", ""));
    std::vector<Record> records(20000, one);
    records.insert(records.end(), 20000, two);
    EXPECT_EQ(merge(records).arrows.size(), 20000u);
}
