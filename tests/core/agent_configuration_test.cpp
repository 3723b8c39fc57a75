#include "tests/core/class_wide.h"
#include "tests/core/fake_store.h"

#include <climits>
#include <gtest/gtest.h>

namespace {

using Agent = IMS_User_Agent;
using Texts = std::vector<std::string>;

class TheConfiguration : public testing::Test {
protected:
    TheConfiguration() { Agent::__ua_fwk_intf = &store; }
    ClassWide members;
    FakeStore store;
    std::string value = "unchanged";
};

// ---- access ----

TEST_F(TheConfiguration, IsReadThroughTheFrameworkInterface)
{
    store.values["/a/b"] = "five";
    store.found_status = 42;
    EXPECT_EQ(Agent::get_xml_parameter("/a/b", value, "config"), 42) << "its status, unchanged";
    EXPECT_EQ(value, "five");
    EXPECT_EQ(Agent::get_xml_parameter(std::string("/a/b"), value, "config"), 42);
    EXPECT_EQ(store.reads, (Texts{"config /a/b", "config /a/b"}));
}

TEST_F(TheConfiguration, ReportsWhatIsNotThere)
{
    EXPECT_EQ(Agent::get_xml_parameter("/none", value, "config"), 0);
    EXPECT_EQ(value, "unchanged");
}

TEST_F(TheConfiguration, ReadsANullPathAsAnEmptyOne)
{
    EXPECT_EQ(Agent::get_xml_parameter(nullptr, value, "config"), 0);
    Agent::set_xml_parameter(nullptr, "v", "config");
    EXPECT_EQ(store.reads, (Texts{"config "}));
    EXPECT_EQ(store.writes, (Texts{"config =v"}));
}

TEST_F(TheConfiguration, IsReadInBulk)
{
    store.values["/x"] = "1";
    std::vector<SIP_IMS_CFG_TAG_VALUE_T> pairs = {{"/x", ""}, {"/y", ""}};
    store.found_status = -7;
    EXPECT_EQ(Agent::get_xml_parameters(pairs, "config"), -7);
    EXPECT_EQ(pairs[0].value, "1");
    EXPECT_EQ(store.reads, (Texts{"config /x", "config /y"}));
}

TEST_F(TheConfiguration, IsWrittenThroughTheFrameworkInterface)
{
    store.found_status = 3;
    EXPECT_EQ(Agent::set_xml_parameter("/a", "1", "config"), 3);
    EXPECT_EQ(Agent::set_xml_parameter(std::string("/b"), "2", "config"), 3);
    EXPECT_EQ(store.writes, (Texts{"config /a=1", "config /b=2"}));
}

TEST_F(TheConfiguration, IsNotFoundWithoutAFrameworkInterface)
{
    Agent::__ua_fwk_intf = nullptr;
    std::vector<SIP_IMS_CFG_TAG_VALUE_T> pairs;
    int number = 7;
    unsigned char mask = 9;
    EXPECT_EQ(Agent::get_xml_parameter("/a", value, "config"), 0);
    EXPECT_EQ(Agent::get_xml_parameter(std::string("/a"), value, "config"), 0);
    EXPECT_EQ(Agent::get_xml_parameters(pairs, "config"), 0);
    EXPECT_EQ(Agent::set_xml_parameter("/a", "1", "config"), 0);
    EXPECT_EQ(Agent::set_xml_parameter(std::string("/a"), "1", "config"), 0);
    Agent::fill_int32("/a", number, "config");
    Agent::fill_loglevel("/a", mask);
    EXPECT_EQ(number, 7);
    EXPECT_EQ(mask, 9);
}

// ---- numbers ----

TEST_F(TheConfiguration, GivesNumbersAsAtoiReadsThem)
{
    struct {
        const char* text;
        int wanted;
    } const cases[] = {
        {"12", 12},
        {"0", 0},
        {"-3", -3},
        {" \t12", 12},
        {"+4", 4},
        {"12 rings", 12},
        {"text", 0},
        {"99999999999", INT_MAX},
        {"-99999999999", INT_MIN},
        {"2147483647", INT_MAX},
    };
    for (const auto& one : cases) {
        int number = 555;
        store.values["/n"] = one.text;
        Agent::fill_int32("/n", number, "config");
        EXPECT_EQ(number, one.wanted) << one.text;
    }
}

TEST_F(TheConfiguration, KeepsTheDefaultOfANumberThatIsMissingOrEmpty)
{
    int number = 555;
    Agent::fill_int32("/n", number, "config");
    EXPECT_EQ(number, 555);
    store.values["/n"] = "";
    Agent::fill_int32("/n", number, "config");
    EXPECT_EQ(number, 555);
    EXPECT_EQ(store.reads, (Texts{"config /n", "config /n"}));
}

TEST_F(TheConfiguration, DoesNotUseAValueThatWasNotFound)
{
    int number = 555;
    store.values["/n"] = "5";
    store.found_status = 0; // filled, but "not found"
    Agent::fill_int32("/n", number, "config");
    EXPECT_EQ(number, 555);
}

// ---- level words ----

struct Words {
    const char* text;
    unsigned char before, after;
};

void PrintTo(const Words& words, std::ostream* out)
{
    *out << '"' << words.text << "\" onto " << int{words.before};
}

class LevelWords : public TheConfiguration, public testing::WithParamInterface<Words> {};

TEST_P(LevelWords, AddTheirBits)
{
    unsigned char mask = GetParam().before;
    store.values["/level"] = GetParam().text;
    Agent::fill_loglevel("/level", mask);
    EXPECT_EQ(mask, GetParam().after) << GetParam().text;
    EXPECT_EQ(store.reads, (Texts{"sipstackinit /level"}));
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Of, LevelWords, testing::Values(
    Words{"ALL", 0, 63},     Words{"ALL", 128, 191},  Words{"NONE", 24, 24}, Words{"DEBUG", 0, 1},
    Words{"INFO", 0, 2},     Words{"WARN", 0, 4},     Words{"ERROR", 0, 8},  Words{"EXCEP", 0, 16},
    Words{"SYNC", 0, 32},    Words{"DEBUG,INFO", 0, 3}, Words{"INFO DEBUG|SYNC", 16, 51},
    Words{"WARNING", 0, 4},  Words{"debug", 24, 24},  Words{"NONE,ERROR", 1, 9}, Words{"", 5, 5},
    Words{"SMALL", 0, 63},    Words{"aLL", 2, 2},  Words{"FALLBACK", 0, 63}, Words{"EXCEPTION", 0, 16}));
// clang-format on

TEST_F(TheConfiguration, LeavesTheMaskAloneWithoutALevel)
{
    unsigned char mask = 24;
    Agent::fill_loglevel("/level", mask);
    EXPECT_EQ(mask, 24);
}

// ---- the SIP stack ----

class TheSipStack : public TheConfiguration {
protected:
    static Texts default_reads()
    {
        Texts reads;
        for (const char* name :
             {"maxCallDialogs", "maxRegClients", "maxSubscriptions", "maxTransactions", "maxTransmitters",
              "maxNumOfPages", "maxConnections", "T1", "T2", "T4", "loglevel"})
            reads.push_back(std::string("sipstackinit /sipstackinit/default/") + name);
        return reads;
    }
    SIPLIB_StackCfg cfg = {};
};

TEST_F(TheSipStack, StartsFromTheLibrarysDefaults)
{
    SIPLIB_StackCfg defaults = {};
    SIPLIB_SIPInitConfig(&defaults);
    Agent::init_sipstack_info(cfg, nullptr);
    EXPECT_EQ(cfg.maxCallDialogs, defaults.maxCallDialogs);
    EXPECT_EQ(cfg.maxRegClients, defaults.maxRegClients);
    EXPECT_EQ(cfg.maxSubscriptions, defaults.maxSubscriptions);
    EXPECT_EQ(cfg.maxTransactions, defaults.maxTransactions);
    EXPECT_EQ(cfg.maxTransmitters, defaults.maxTransmitters);
    EXPECT_EQ(cfg.maxNumOfPages, defaults.maxNumOfPages);
    EXPECT_EQ(cfg.maxConnections, defaults.maxConnections);
    EXPECT_EQ(cfg.T1, defaults.T1);
    EXPECT_EQ(cfg.T2, defaults.T2);
    EXPECT_EQ(cfg.T4, defaults.T4);
    EXPECT_EQ(cfg.logMask, defaults.logMask);
    EXPECT_STREQ(cfg.localAddress, "127.0.0.1");
    EXPECT_STREQ(cfg.tcpLocalAddress, "127.0.0.1");
    EXPECT_EQ(cfg.tcpFlag, 1);
    EXPECT_EQ(cfg.tcpOption, 6);
}

TEST_F(TheSipStack, ReadsOnlyTheDefaultsSectionWithoutAProfile)
{
    Agent::init_sipstack_info(cfg, nullptr);
    EXPECT_EQ(store.reads, default_reads());
}

TEST_F(TheSipStack, ReadsTheProfilesKeysAfterTheDefaults)
{
    Agent::init_sipstack_info(cfg, "/sipstackinit/mine/");
    Texts wanted = default_reads();
    for (const char* name : {"maxCallDialogs", "maxRegClients", "maxSubscriptions", "maxTransactions",
                             "maxTransmitters", "maxNumOfPages", "loglevel"})
        wanted.push_back(std::string("sipstackinit /sipstackinit/mine/") + name);
    EXPECT_EQ(store.reads, wanted);
}

TEST_F(TheSipStack, PutsEachValueIntoItsField)
{
    const std::string section = "/sipstackinit/default/";
    int next = 101;
    for (const char* name : {"maxCallDialogs", "maxRegClients", "maxSubscriptions", "maxTransactions",
                             "maxTransmitters", "maxNumOfPages", "maxConnections", "T1", "T2", "T4"})
        store.values[section + name] = std::to_string(next++);
    Agent::init_sipstack_info(cfg, nullptr);
    const int got[] = {cfg.maxCallDialogs,
                       cfg.maxRegClients,
                       cfg.maxSubscriptions,
                       cfg.maxTransactions,
                       cfg.maxTransmitters,
                       cfg.maxNumOfPages,
                       cfg.maxConnections,
                       cfg.T1,
                       cfg.T2,
                       cfg.T4};
    int wanted = 101;
    for (int value_got : got)
        EXPECT_EQ(value_got, wanted++);
}

TEST_F(TheSipStack, TakesZeroAsZero)
{
    store.values["/sipstackinit/default/maxTransactions"] = "0";
    Agent::init_sipstack_info(cfg, nullptr);
    EXPECT_EQ(cfg.maxTransactions, 0);
}

TEST_F(TheSipStack, LetsAProfileOverrideAndAddLogBitsButNotRemoveThem)
{
    store.values["/sipstackinit/default/maxRegClients"] = "5";
    store.values["/sipstackinit/default/maxSubscriptions"] = "6";
    store.values["/sipstackinit/default/loglevel"] = "DEBUG";
    store.values["/p/maxRegClients"] = "9";
    store.values["/p/maxConnections"] = "77";
    store.values["/p/T1"] = "77";
    store.values["/p/loglevel"] = "NONE,SYNC";
    Agent::init_sipstack_info(cfg, "/p/");
    EXPECT_EQ(cfg.maxRegClients, 9);
    EXPECT_EQ(cfg.maxSubscriptions, 6);
    EXPECT_NE(cfg.maxConnections, 77) << "no override of this one";
    EXPECT_NE(cfg.T1, 77);
    EXPECT_EQ(cfg.logMask, 24 | 1 | 32);
}

TEST_F(TheSipStack, UsesTheProfilesTextAsItStands)
{
    store.values["/pmaxRegClients"] = "9";
    Agent::init_sipstack_info(cfg, "/p");
    EXPECT_EQ(cfg.maxRegClients, 9);
}

// The fixed values go in between the reads: addresses that the library's defaults set are seen before, ours
// after.
TEST_F(TheSipStack, WritesTheFixedValuesBetweenTheReads)
{
    SIPLIB_StackCfg at_pages = {}, at_connections = {}, at_t1 = {};
    store.on_read = [&](const std::string& xpath) {
        if (xpath == "/sipstackinit/default/maxNumOfPages") {
            // Marks that only a later write removes.
            cfg.localAddress[0] = cfg.tcpLocalAddress[0] = '\0';
            cfg.tcpFlag = 0;
            cfg.tcpOption = 0;
            at_pages = cfg;
        }
        if (xpath == "/sipstackinit/default/maxConnections") at_connections = cfg;
        if (xpath == "/sipstackinit/default/T1") at_t1 = cfg;
    };
    Agent::init_sipstack_info(cfg, nullptr);
    EXPECT_STREQ(at_connections.localAddress, "127.0.0.1");
    EXPECT_EQ(at_connections.tcpFlag, 0);
    EXPECT_STREQ(at_connections.tcpLocalAddress, "");
    EXPECT_EQ(at_connections.tcpOption, 0);
    EXPECT_EQ(at_t1.tcpFlag, 1);
    EXPECT_STREQ(at_t1.tcpLocalAddress, "127.0.0.1");
    EXPECT_EQ(at_t1.tcpOption, 6);
}

} // namespace
