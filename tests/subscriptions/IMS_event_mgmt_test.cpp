#include "subscriptions/IMS_event_mgmt.h"
#include "tests/subscriptions/fake_address.h"
#include "tests/support/log_records.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

using Owners = IMS_event_mgmt;
using Records = std::vector<LogRecord>;

class TheEventOwners : public testing::Test {
protected:
    TheEventOwners() { Owners::evlist.clear(); }
    ~TheEventOwners() override { Owners::evlist.clear(); }
};

TEST_F(TheEventOwners, AreKeptInTheOrderInWhichTheyWereAdded)
{
    Owners::add_owner("reg", "Contact", "<sip:a@h>");
    Owners::add_owner("callstate", "Route", "<sip:b@h>");
    ASSERT_EQ(Owners::evlist.size(), 2u);
    EXPECT_EQ(Owners::evlist[0].event, "reg");
    EXPECT_EQ(Owners::evlist[0].header, "Contact");
    EXPECT_EQ(Owners::evlist[0].address, "<sip:a@h>");
    EXPECT_EQ(Owners::evlist[1].event, "callstate");
}

TEST_F(TheEventOwners, NeedAllThreeTexts)
{
    Owners::add_owner("", "Contact", "<sip:a@h>");
    Owners::add_owner("reg", "", "<sip:a@h>");
    Owners::add_owner("reg", "Contact", "");
    EXPECT_TRUE(Owners::evlist.empty());
}

TEST_F(TheEventOwners, MayOwnOnePackageTwiceAndTheFirstCounts)
{
    Owners::add_owner("reg", "Contact", "<sip:a@first:1>");
    Owners::add_owner("reg", "Contact", "<sip:a@second:2>");
    EXPECT_EQ(Owners::get_element("reg", "host"), "first");
    EXPECT_EQ(Owners::get_port("reg"), 1);
    Owners::remove_owner("reg");
    EXPECT_EQ(Owners::get_element("reg", "host"), "second");
    Owners::remove_owner("reg");
    EXPECT_EQ(Owners::get_element("reg", "host"), "");
}

TEST_F(TheEventOwners, StayWhenAnUnknownOneIsRemoved)
{
    Owners::add_owner("reg", "Contact", "<sip:a@h>");
    Owners::remove_owner("Reg");
    Owners::remove_owner("");
    EXPECT_EQ(Owners::evlist.size(), 1u);
}

TEST_F(TheEventOwners, AreForgottenWhenAnObjectIsConstructed)
{
    Owners::add_owner("reg", "Contact", "<sip:a@h>");
    {
        Owners reset;
        EXPECT_TRUE(Owners::evlist.empty());
        Owners::add_owner("reg", "Contact", "<sip:a@h>");
        [[maybe_unused]] const Owners copy(reset);
        EXPECT_EQ(Owners::evlist.size(), 1u) << "a copy resets nothing";
    }
    EXPECT_EQ(Owners::evlist.size(), 1u) << "nor does a destructor";
    Owners again;
    EXPECT_TRUE(Owners::evlist.empty());
}

TEST_F(TheEventOwners, TellTheirAddresses)
{
    Owners::add_owner("reg", "Contact", "<sip:a@h:5075;transport=tcp>");
    EXPECT_EQ(Owners::get_element("reg", "user"), "a");
    EXPECT_EQ(Owners::get_parameter("reg", "transport"), "tcp");
    EXPECT_EQ(Owners::get_port("reg"), 5075);
}

TEST_F(TheEventOwners, PassTheHeaderAndAddressOfTheRecordOn)
{
    FakeAddresses addresses;
    Owners::add_owner("reg", "Route", "as it is");
    Owners::get_element("reg", "host");
    Owners::get_parameter("reg", "p");
    Owners::get_port("reg");
    EXPECT_EQ(addresses.asked, (std::vector<std::string>{"Route=as it is", "host", "Route=as it is",
                                                         "parameter p", "Route=as it is", "port"}));
}

TEST_F(TheEventOwners, AreEmptyOrMinus1ForAnUnknownPackage)
{
    EXPECT_EQ(Owners::get_element("reg", "host"), "");
    EXPECT_EQ(Owners::get_parameter("reg", "transport"), "");
    EXPECT_EQ(Owners::get_port("reg"), -1);
}

TEST_F(TheEventOwners, HavePort0WithABadAddress)
{
    Owners::add_owner("reg", "Contact", "*");
    EXPECT_EQ(Owners::get_port("reg"), 0);
    EXPECT_EQ(Owners::get_element("reg", "host"), "");
}

TEST_F(TheEventOwners, ArePrintedOneALine)
{
    LogRecords log;
    Owners::print_evlist();
    EXPECT_TRUE(log.all().empty());
    Owners::add_owner("reg", "Contact", "<sip:a@h>");
    Owners::add_owner("isim", "Route", "%s");
    Owners::print_evlist();
    EXPECT_EQ(log.all(), (Records{{5, "print_evlist", "event=reg header=Contact address=<sip:a@h>"},
                                  {5, "print_evlist", "event=isim header=Route address=%s"}}));
}

// ---- the capability files of a directory ----

class TheCapabilityFiles : public testing::Test {
protected:
    static std::string contact_of(const char* match)
    {
        return Owners::get_value_from_cap_files(match, "Contact");
    }
    WorkingDir dir;
};

TEST_F(TheCapabilityFiles, GiveNothingWhenThereAreNone)
{
    EXPECT_EQ(contact_of("Event: reg"), "");
}

TEST_F(TheCapabilityFiles, GiveTheFieldOfTheFileThatHoldsTheLine)
{
    dir.write("a.cap", "Event: callstate\nContact: <sip:a@h>\n");
    dir.write("b.cap", "Event: reg\nContact:  <sip:b@h>\n");
    EXPECT_EQ(contact_of("Event: reg"), "<sip:b@h>");
    EXPECT_EQ(contact_of("Event: isim"), "");
}

TEST_F(TheCapabilityFiles, AreReadInTheOrderOfTheirNames)
{
    dir.write("b.cap", "Event: reg\nContact: second\n");
    dir.write("a.cap", "Event: reg\nContact: first\n");
    dir.write("c.cap", "Event: reg\nContact: third\n");
    EXPECT_EQ(contact_of("Event: reg"), "first");
}

TEST_F(TheCapabilityFiles, AreTheVisibleOnesOfTheWorkingDirectoryNamedCap)
{
    dir.write(".cap", "Event: reg\nContact: hidden\n");
    dir.write(".a.cap", "Event: reg\nContact: hidden\n");
    dir.write("a.cap.old", "Event: reg\nContact: other name\n");
    dir.write("acap", "Event: reg\nContact: other name\n");
    dir.write("a.CAP", "Event: reg\nContact: other name\n");
    ASSERT_EQ(::mkdir("sub", 0700), 0);
    dir.write("sub/a.cap", "Event: reg\nContact: elsewhere\n");
    EXPECT_EQ(contact_of("Event: reg"), "");
}

TEST_F(TheCapabilityFiles, SkipWhatIsNoRegularFile)
{
    ASSERT_EQ(::mkdir("a.cap", 0700), 0);
    ASSERT_EQ(::mkfifo("b.cap", 0600), 0); // reading it would wait for a writer
    ASSERT_EQ(::symlink("nowhere", "c.cap"), 0);
    ASSERT_EQ(::symlink("/dev/zero", "d.cap"), 0);
    dir.write("e.cap", "Event: reg\nContact: found\n");
    EXPECT_EQ(contact_of("Event: reg"), "found");
}

TEST_F(TheCapabilityFiles, MayBeLinksToRegularFiles)
{
    dir.write("target", "Event: reg\nContact: found\n");
    ASSERT_EQ(::symlink("target", "a.cap"), 0);
    EXPECT_EQ(contact_of("Event: reg"), "found");
}

TEST_F(TheCapabilityFiles, EndTheSearchAtAFileThatQualifiesWithAnEmptyValue)
{
    dir.write("a.cap", "Event: reg\nEvent: reg\n");
    dir.write("b.cap", "Event: reg\nContact: found\n");
    EXPECT_EQ(contact_of("Event: reg"), "");
}

TEST_F(TheCapabilityFiles, GoOnAfterAFileThatAnOverlongLineEnds)
{
    dir.write("a.cap", std::string(2000, 'x') + "\nEvent: reg\nContact: lost\n");
    dir.write("b.cap", "Event: reg\nContact: found\n");
    EXPECT_EQ(contact_of("Event: reg"), "found");
}

TEST_F(TheCapabilityFiles, MatchEveryLineWhenNothingIsAskedFor)
{
    dir.write("a.cap", "Contact: first\nEvent: reg\n");
    EXPECT_EQ(contact_of(""), "first");
    EXPECT_EQ(contact_of(nullptr), "first");
}

} // namespace
