#include "registrar/user_agent_header.h"

#include "registrar/IMS_LocalRegistrar.h"
#include "tests/core/class_wide.h"
#include "tests/core/fake_store.h"
#include "tests/support/child.h"
#include "tests/support/log_records.h"
#include "tests/support/process.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

using Records = std::vector<LogRecord>;
using Texts = std::vector<std::string>;

const char* const usual = "Kivo/SIP/1.0-R12_K_03.07.2AB SN/000000000000";

struct AUserAgentHeader : ::testing::Test {
    AUserAgentHeader() { IMS_User_Agent::__ua_fwk_intf = &store; }
    std::string of_file(const std::string& content)
    {
        log.clear();
        return imsua::user_agent_header(dir.write("version", content).c_str());
    }
    // The one line that was logged, and at level 5.
    std::string line() const
    {
        const Records records = log.all();
        EXPECT_EQ(records.size(), 1u);
        if (records.size() != 1) return "";
        EXPECT_EQ(records[0].level, 5);
        EXPECT_EQ(records[0].function, "form_user_agent_header");
        return records[0].text;
    }
    ClassWide members;
    FakeStore store;
    TempDir dir;
    LogRecords log;
};

TEST_F(AUserAgentHeader, NamesTheVersionOfTheFile)
{
    EXPECT_EQ(of_file("R13"), "Kivo/SIP/1.0-R13 SN/000000000000");
    EXPECT_EQ(line(), "Read AP version from " + dir.file("version") +
                          ", user agent string is Kivo/SIP/1.0-R13 SN/000000000000");
}

TEST_F(AUserAgentHeader, KeepsTheLineFeedOfTheFile)
{
    EXPECT_EQ(of_file(" R13\r\n"), "Kivo/SIP/1.0- R13\r\n SN/000000000000");
    EXPECT_EQ(line(), "Read AP version from " + dir.file("version") +
                          ", user agent string is Kivo/SIP/1.0- R13\r\n SN/000000000000");
}

TEST_F(AUserAgentHeader, TakesFortyEightBytesAtMost)
{
    for (std::size_t size : {47u, 48u, 49u, 4096u})
        EXPECT_EQ(of_file(std::string(size, 'v')),
                  "Kivo/SIP/1.0-" + std::string(size < 48 ? size : 48, 'v') + " SN/000000000000");
}

TEST_F(AUserAgentHeader, TakesTheVersionUpToAZeroByte)
{
    EXPECT_EQ(of_file(std::string("R13\0R14", 7)), "Kivo/SIP/1.0-R13 SN/000000000000");
    EXPECT_EQ(of_file(std::string("\0R14", 4)), "Kivo/SIP/1.0- SN/000000000000");
}

TEST_F(AUserAgentHeader, TakesAnyByte)
{
    EXPECT_EQ(of_file("%s%n\xfe\xff"), "Kivo/SIP/1.0-%s%n\xfe\xff SN/000000000000");
}

TEST_F(AUserAgentHeader, IsTheUsualOneWithoutTheFile)
{
    EXPECT_EQ(imsua::user_agent_header(dir.file("absent").c_str()), usual);
    EXPECT_EQ(line(), "Failed to open " + dir.file("absent") + ", using default value " + usual);
}

TEST_F(AUserAgentHeader, IsTheUsualOneWhenTheFileIsEmpty)
{
    EXPECT_EQ(of_file(""), usual);
    EXPECT_EQ(line(),
              "Error reading AP version from " + dir.file("version") + ", using default value " + usual);
}

TEST_F(AUserAgentHeader, IsTheUsualOneWhenTheFileIsADirectory)
{
    EXPECT_EQ(imsua::user_agent_header(dir.path().c_str()), usual);
    EXPECT_EQ(line(), "Error reading AP version from " + dir.path() + ", using default value " + usual);
}

TEST_F(AUserAgentHeader, AsksTheConfigurationForTheInterface)
{
    of_file("R13");
    EXPECT_EQ(store.reads, (Texts{"config //napi-profile-name"}));
}

TEST_F(AUserAgentHeader, HasTwelveZerosWithoutAConfiguration)
{
    IMS_User_Agent::__ua_fwk_intf = nullptr;
    EXPECT_EQ(of_file("R13"), "Kivo/SIP/1.0-R13 SN/000000000000");
}

TEST_F(AUserAgentHeader, CarriesTheAddressOfTheConfiguredInterface)
{
    NetNamespace net;
    ASSERT_TRUE(net.valid()) << net.why();
    ASSERT_TRUE(net.ip("link add wwan0 address 02:ab:cd:ef:01:9f type veth peer name other"));
    store.values["//napi-profile-name"] = "wwan0";
    const ChildResult child = run_in_child([&] {
        if (net.enter() == 0)
            std::puts((of_file("R13") + "\n" + imsua::user_agent_header("/nonexistent")).c_str());
        std::fflush(stdout);
    });
    EXPECT_EQ(child.out, "Kivo/SIP/1.0-R13 SN/02ABCDEF019F\nKivo/SIP/1.0-R12_K_03.07.2AB SN/02ABCDEF019F\n");
}

TEST_F(AUserAgentHeader, ClosesTheFile)
{
    of_file("R13"); // opens what stays open, if anything
    const int next = ::dup(0);
    ::close(next);
    for (const char* content : {"R13", ""})
        of_file(content);
    imsua::user_agent_header(dir.path().c_str());
    const int after = ::dup(0);
    ::close(after);
    EXPECT_EQ(after, next);
}

// A child whose /etc holds nothing but the version file.
TEST_F(AUserAgentHeader, NamesTheVersionOfTheDevice)
{
    const ChildResult child = run_in_child([] {
        const bool has_its_own_etc = ::unshare(CLONE_NEWNS) == 0 &&
                                     ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                                     ::mount("none", "/etc", "tmpfs", 0, nullptr) == 0;
        std::FILE* const file = has_its_own_etc ? std::fopen("/etc/ap_version.txt", "w") : nullptr;
        if (file) {
            std::fputs("R14_A_01.02.3\n", file);
            std::fclose(file);
        }
        std::fputs(file ? IMS_LocalRegistrar::form_user_agent_header().c_str() : "no /etc of its own",
                   stdout);
        std::fflush(stdout);
    });
    EXPECT_EQ(child.out, "Kivo/SIP/1.0-R14_A_01.02.3\n SN/000000000000") << child.err;
}

TEST_F(AUserAgentHeader, IsMadeFromTheDevicesOwnFile)
{
    const std::string value = IMS_LocalRegistrar::form_user_agent_header();
    const Records of_public = log.all();
    log.clear();
    EXPECT_EQ(value, imsua::user_agent_header("/etc/ap_version.txt"));
    EXPECT_EQ(of_public, log.all());
    EXPECT_EQ(value.compare(0, 13, "Kivo/SIP/1.0-"), 0) << value;
    EXPECT_NE(line().find(" /etc/ap_version.txt, "), std::string::npos) << line();
}

} // namespace
