// The example agent as a process, with imstac as its telephony controller, and with a controller by hand.

#include "baseuafw/baseuafw.h"
#include "tests/system/telephony_fixture.h"

#include <csignal>
#include <fstream>
#include <gtest/gtest.h>
#include <set>
#include <sstream>
#include <sys/stat.h>

namespace {

using imstac::Channel;

// What the example agent calls its messages.
enum : std::uint16_t {
    HELLO = 0x8101,
    REGISTER = 0x1001,
    STATUS = 0x1003,
    NOTE = 0x1004,
    STATE_CHANGED = 0x2001,
};

std::string content_of(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// What an SVG picture says, without where it says it.
std::multiset<std::string> texts_of(const std::string& svg)
{
    std::multiset<std::string> texts;
    for (auto at = svg.find("<text"); at != std::string::npos; at = svg.find("<text", at + 1)) {
        const auto begin = svg.find('>', at) + 1;
        texts.insert(svg.substr(begin, svg.find('<', begin) - begin));
    }
    return texts;
}

} // namespace

TEST(TheManualOfTheTelephonyAgent, ShowsOnlyWhatStandsInItsSource)
{
    const std::string manual = content_of(DOCS "telephony-agent.md");
    const std::string source = content_of(EXAMPLES "telephony_agent/telephony_agent.cpp");
    const std::string begin = "```cpp\n";
    int blocks = 0;
    for (auto at = manual.find(begin); at != std::string::npos; at = manual.find(begin, at + 1), ++blocks) {
        const auto from = at + begin.size();
        const std::string block = manual.substr(from, manual.find("```", from) - from);
        EXPECT_NE(source.find(block), std::string::npos) << block;
    }
    EXPECT_GT(blocks, 8);
}

TEST_F(ATelephonyAgent, IsDrawnInItsManual)
{
    ProcessStart how;
    how.argv = {"sh", "-c", TELEPHONY_AGENT_BINARY " -stategraph | dot -Tsvg -o machine.svg"};
    how.dir = dir.path();
    ASSERT_EQ(run_process(how).status, 0);
    const std::multiset<std::string> texts = texts_of(dir.read("machine.svg"));
    EXPECT_EQ(texts.count("REGISTERING"), 1u);
    EXPECT_EQ(texts, texts_of(content_of(DOCS "telephony-agent.svg")));
}

TEST_F(ATelephonyAgent, DoesWhatTheManualOfItsControllerShows)
{
    start();
    EXPECT_EQ(imstac({"--strict", "--script", DOCS "tools/imstac-example.tac"}), 0) << said << agent->log();
}

TEST_F(ATelephonyAgent, AnswersRequestsAndRefusesThoseThatItsStateDoesNotAllow)
{
    start();
    EXPECT_EQ(imstac({"--strict",
                      "--send",
                      "sync 0x1003 ref=1",
                      "--expect",
                      "sync 0x1003 ref=1 type=0 text=idle",
                      "--send",
                      "sync 0x1002 ref=2",
                      "--expect",
                      "sync 0x1002 ref=2 text=refused",
                      "--send",
                      "sync 0x1001 ref=3",
                      "--expect",
                      "sync 0x1001 ref=3 text=ok",
                      "--expect",
                      "async 0x2001 ref=0 type=1 text=registering",
                      "--send",
                      "sync 0x1001 ref=4",
                      "--expect",
                      "sync 0x1001 ref=4 text=refused",
                      "--send",
                      "sync 0x1002 ref=5",
                      "--expect",
                      "sync 0x1002 ref=5 text=ok",
                      "--expect",
                      "async 0x2001 text=idle"}),
              0)
        << said << agent->log();
}

TEST_F(ATelephonyAgent, TurnsSipRequestsIntoTransitionsOfTheSameMachine)
{
    start();
    TelephonyController controller;
    connect(controller);
    EXPECT_EQ(ask("OPTIONS"), "SIP/2.0 200 OK");
    EXPECT_EQ(ask("INFO").substr(0, 11), "SIP/2.0 405");
    EXPECT_EQ(ask("MESSAGE", "registered"), "SIP/2.0 200 OK") << "means nothing to an idle line";
    controller.send(Channel::sync, REGISTER);
    EXPECT_EQ(controller.receive(Channel::sync, REGISTER), "0 ok");
    EXPECT_EQ(controller.receive(Channel::async, STATE_CHANGED), "0 registering");
    EXPECT_EQ(ask("MESSAGE", "registered"), "SIP/2.0 200 OK");
    EXPECT_EQ(controller.receive(Channel::async, STATE_CHANGED), "0 registered");
    EXPECT_EQ(ask("MESSAGE", "gone"), "SIP/2.0 200 OK");
    EXPECT_EQ(controller.receive(Channel::async, STATE_CHANGED), "0 failed");
    controller.send(Channel::sync, STATUS, "", 9);
    EXPECT_EQ(controller.receive(Channel::sync, STATUS), "9 failed");
}

TEST_F(ATelephonyAgent, TurnsFrameworkTextIntoTransitionsOfTheSameMachine)
{
    ::mkdir(dir.file("store").c_str(), 0700);
    dir.write("store/config.xml", "<config><line><user>alice</user></line><other>1</other></config>\n");
    auto framework = start_program(IMSFWKD_BINARY, {"-store", "store"});
    std::istringstream line(framework->wait_for_line("syncport"));
    std::string word;
    std::string sync_port;
    std::string async_port;
    line >> word >> sync_port >> word >> async_port;
    ASSERT_NE(async_port, "") << framework->log();
    start({"-fwksyncport", sync_port, "-fwkasyncport", async_port});
    TelephonyController controller;
    connect(controller);
    controller.send(Channel::sync, REGISTER);
    EXPECT_EQ(controller.receive(Channel::async, STATE_CHANGED), "0 registering");
    ask("MESSAGE", "registered");
    EXPECT_EQ(controller.receive(Channel::async, STATE_CHANGED), "0 registered");

    IMS_socket sock;
    SIP_IMS_cfg_intf_IMS_socket* connector = nullptr;
    SIP_IMS_cfg_intf* store = nullptr;
    ASSERT_EQ(IMS_fwk_util::open_framework_sockets(&connector, &store, sync_port.c_str(), async_port.c_str(),
                                                   &sock),
              1);
    EXPECT_NE(store->set_one("/config/other", "2", "config"), 0);
    EXPECT_NE(store->set_one("/config/line/user", "bob", "config"), 0);
    EXPECT_EQ(controller.receive(Channel::async, STATE_CHANGED), "0 registering");
    controller.send(Channel::sync, STATUS);
    EXPECT_EQ(controller.receive(Channel::sync, STATUS), "0 registering");
    IMS_fwk_util::close_framework_sockets(&connector, &store);
}

// The agent knows its channels by the order of their connections, not by what the client calls them.
TEST_F(ATelephonyAgent, TakesTheFirstConnectionForTheAsynchronousOneWhoeverMadeIt)
{
    start();
    EXPECT_EQ(imstac({"--strict", "--order", "sync,async", "--send", "async 0x8101 answer=sync", "--expect",
                      "sync 0x8101 hex=00000000", "--send", "sync 0x1003 ref=5 answer=async", "--expect",
                      "async 0x1003 ref=5 text=idle", "--send", "async 0x1001 answer=async", "--expect",
                      "async 0x1001 text=ok", "--expect", "sync 0x2001 text=registering"}),
              0)
        << said << agent->log();
}

TEST_F(ATelephonyAgent, DropsWhatAThirdClientSendsAndServesTheFirstTwoOn)
{
    start();
    TelephonyController controller;
    connect(controller);
    ASSERT_TRUE(agent->wait_for_log("__ua_tapi_syncfd=")) << agent->log();
    TelephonyController third;
    connect(third);
    third.send(Channel::async, NOTE, "12345");
    ASSERT_TRUE(logs("received 21 bytes", 1));
    third.send(Channel::sync, NOTE, "123456");
    ASSERT_TRUE(logs("received 22 bytes", 1));
    controller.send(Channel::sync, NOTE, "mine", 7);
    EXPECT_EQ(controller.receive(Channel::sync, NOTE), "7 mine") << "the first to be answered";
    third.close();
    EXPECT_TRUE(logs("peer closed connection", 2));
    controller.send(Channel::sync, STATUS);
    EXPECT_EQ(controller.receive(Channel::sync, STATUS), "0 idle");
}

// One read is one batch: a message that comes in halves is two incomplete ones.
TEST_F(ATelephonyAgent, DropsMessagesThatAreWrittenInHalves)
{
    start();
    TelephonyController controller;
    connect(controller);
    const std::string whole = imstac::packed({0, 1, STATUS, ""});
    controller.send(Channel::sync, whole.substr(0, 9));
    ASSERT_TRUE(logs("received 9 bytes", 1));
    controller.send(Channel::sync, whole.substr(9));
    ASSERT_TRUE(logs("received 7 bytes", 1));
    EXPECT_TRUE(logs("Incomplete bytes for TAPI message", 2));
    controller.send(Channel::sync, STATUS, "", 2);
    EXPECT_EQ(controller.receive(Channel::sync, STATUS), "2 idle");
}

TEST_F(ATelephonyAgent, TakesWhatIsMissingOfABodyForZeros)
{
    start();
    const std::string half = imstac::packed({0, 3, NOTE, "abcdefgh"}).substr(0, 20);
    EXPECT_EQ(imstac({"--strict", "--script",
                      dir.write(
                          "half", "raw sync " +
                                      [&half] {
                                          std::string digits;
                                          for (const char c : half) {
                                              char pair[3];
                                              std::snprintf(
                                                  pair, sizeof pair, "%02x",
                                                  static_cast<unsigned>(static_cast<unsigned char>(c)));
                                              digits += pair;
                                          }
                                          return digits;
                                      }() +
                                      "\nexpect sync 0x1004 ref=3 hex=\"61626364 00000000\"\n"
                                      "expect async 0x2002 hex=\"61626364 00000000\"\n")}),
              0)
        << said << agent->log();
}

TEST_F(ATelephonyAgent, DropsTheRestOfAReadThatIsNoWholeHeader)
{
    start();
    TelephonyController controller;
    connect(controller);
    controller.send(Channel::sync,
                    imstac::packed({0, 1, STATUS, ""}) + imstac::packed({0, 2, STATUS, ""}) + "12345");
    EXPECT_EQ(controller.receive(Channel::sync, STATUS), "1 idle");
    EXPECT_EQ(controller.receive(Channel::sync, STATUS), "2 idle");
    controller.send(Channel::sync, STATUS, "", 3);
    EXPECT_EQ(controller.receive(Channel::sync, STATUS), "3 idle");
}

TEST_F(ATelephonyAgent, OutlivesAControllerThatDiesInTheMiddleOfAMessage)
{
    start();
    auto controller =
        start_imstac({"--send", "sync 0x1001", "--expect", "async 0x2001 text=registering", "--script",
                      dir.write("half", "raw sync 0000000000000000 0310\nexpect async any\n")});
    ASSERT_TRUE(logs("received 10 bytes", 1));
    controller->signal(SIGKILL);
    EXPECT_EQ(controller->wait().signal, SIGKILL);
    EXPECT_TRUE(logs("peer closed connection", 2));
    EXPECT_EQ(ask("MESSAGE", "registered"), "SIP/2.0 200 OK") << "a transition, and nobody to tell";
    EXPECT_TRUE(agent->wait_for_log("send failed"));
    EXPECT_EQ(ask("OPTIONS"), "SIP/2.0 200 OK");
    EXPECT_TRUE(agent->running());
}

// The descriptors of the telephony channels are never given to anyone else: who comes later is a third
// client.
TEST_F(ATelephonyAgent, DoesNotTakeALaterClientForItsController)
{
    start();
    EXPECT_EQ(imstac({"--send", "sync 0x1001", "--expect", "async 0x2001 text=registering"}), 0) << said;
    ASSERT_TRUE(logs("peer closed connection", 2));
    for (int round = 1; round <= 2; ++round) {
        TelephonyController later;
        connect(later);
        later.send(Channel::async, NOTE, "12345");
        later.send(Channel::sync, NOTE, "12345");
        ASSERT_TRUE(logs("received 21 bytes", 2 * round));
        ask("MESSAGE", round % 2 == 1 ? "registered" : "gone");
        ASSERT_TRUE(logs("send failed", round)) << agent->log();
        later.close();
        ASSERT_TRUE(logs("peer closed connection", 2 + 2 * round));
    }
    EXPECT_EQ(count_in_log("calling handle_tapi_message"), 1) << agent->log();
    EXPECT_TRUE(agent->running());
}

// A controller that waits for a response cannot be served without one.
TEST_F(ATelephonyAgent, EndsWhenAResponseCannotBeSent)
{
    start();
    TelephonyController controller;
    connect(controller);
    controller.stop_reading(Channel::sync);
    controller.send(Channel::sync, STATUS);
    EXPECT_EQ(agent->wait().status, 1);
    EXPECT_NE(agent->log().find("send failed"), std::string::npos);
}

TEST_F(ATelephonyAgent, ThatIsKilledIsMissedByItsControllerAndCanBeStartedAgain)
{
    start();
    auto controller =
        start_imstac({"--send", "sync 0x1003", "--expect", "sync 0x1003", "--expect", "async any"});
    ASSERT_NE(controller->wait_for_line("sync  <- 0x1003"), "");
    agent->signal(SIGKILL);
    EXPECT_EQ(controller->wait().status, 4) << controller->log();
    start();
    EXPECT_EQ(imstac({"--strict", "--send", "sync 0x1003", "--expect", "sync 0x1003 text=idle"}), 0) << said;
}

TEST_F(ATelephonyAgent, EndsAtASignalAndRemovesItsSocket)
{
    start();
    EXPECT_EQ(imstac({"--send", "sync 0x1003"}), 0);
    agent->signal(SIGTERM);
    EXPECT_EQ(agent->wait().status, 128 + SIGTERM);
    struct stat gone {};
    EXPECT_NE(::stat(dir.file("telephony_agent.sock").c_str(), &gone), 0);
}

TEST_F(ATelephonyAgent, IsServedARecordAgainAndAnswersAsItDidThen)
{
    start();
    EXPECT_EQ(
        imstac({"--record", "record", "--send", "async 0x8101", "--send", "sync 0x1001 ref=3 text=alice",
                "--expect", "async 0x2001", "--send", "sync 0x1004 ref=4 text=note times=20", "--expect",
                "async 0x2002 times=20", "--send", "sync 0x1003 ref=30"}),
        0)
        << said;
    for (const Words& pace : {Words{}, Words{"--fast"}}) {
        start();
        Words all = {"--strict", "--check", "--replay", "record"};
        all.insert(all.end(), pace.begin(), pace.end());
        EXPECT_EQ(imstac(all), 0) << said;
    }
    std::string other = dir.read("record");
    const auto body = other.rfind("\"6e6f7465\""); // the last note, as it was told
    ASSERT_NE(body, std::string::npos);
    dir.write("record", other.replace(body, 10, "\"6e6f7466\""));
    start();
    EXPECT_EQ(imstac({"--strict", "--check", "--fast", "--replay", "record"}), 1) << said;
}

TEST_F(ATelephonyAgent, IsServedARecordAtItsTimesUnlessItIsToBeFast)
{
    const std::string line =
        R"(,"event":"message","channel":"sync","direction":"sent","id":4099,"ref":1,"type":0,)"
        R"("body":"","answer":"sync","answer_id":4099})";
    dir.write("record", R"({"time":1000000)" + line + "\n" + R"({"time":1700000)" + line + "\n");
    start();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(imstac({"--replay", "record"}), 0) << said;
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(700));
}
