#include "subscriptions/IMS_event_mgmt.h"
#include "tests/core/class_wide.h"
#include "tests/core/sip_fakes.h"
#include "tests/support/child.h"

#include <cstdlib>
#include <gtest/gtest.h>

namespace {

// Runs as a static initialiser of this unit, which the linker may well put before the library's own: what it
// stores must be there, and must not be wiped, when main begins.
struct EarlyUser {
    EarlyUser()
    {
        uri_was_empty = IMS_User_Agent::__ua_myuri.empty();
        IMS_User_Agent::__ua_proxy = "<sip:stored-before-main@127.0.0.1>";
        IMS_event_mgmt::evlist.push_back({"early", "Contact", "<sip:early@127.0.0.1>"});
        FakeConnector connector;
        opened = IMS_User_Agent::__ua_connector.open("sip:1", nullptr);
        asked = connector.calls.size();
        IMS_User_Agent::__ua_sock._set(0, "r");
        IMS_User_Agent::__ua_sock._unset(0, "r");
        listenfd = IMS_User_Agent::__ua_tapi_listenfd;
        syncport = IMS_User_Agent::__ua_arg_fwksyncport;
    }
    bool uri_was_empty = false;
    SIPLIB_SIPObject* opened = nullptr;
    std::size_t asked = 0;
    int listenfd = 0;
    std::string syncport;
};

// The earliest priority that a program of its own may use.
__attribute__((init_priority(102))) EarlyUser early;

// What main began with, before any test changed it.
const std::string proxy_at_start = IMS_User_Agent::__ua_proxy;
const std::size_t owners_at_start = IMS_event_mgmt::evlist.size();

TEST(TheClassWideMembers, ServeStaticInitialisersOfOtherUnits)
{
    EXPECT_TRUE(early.uri_was_empty);
    EXPECT_EQ(early.opened, nullptr);
    EXPECT_EQ(early.asked, 1u);
    EXPECT_EQ(early.listenfd, -1);
    EXPECT_EQ(early.syncport, "0");
    EXPECT_EQ(proxy_at_start, "<sip:stored-before-main@127.0.0.1>") << "not wiped before main";
    EXPECT_EQ(owners_at_start, 1u);
}

TEST(TheClassWideMembers, AreStillThereInAnExitHandler)
{
    const ChildResult child = run_in_child([] {
        std::atexit([] {
            IMS_User_Agent::__ua_myuri = "still alive";
            IMS_User_Agent::__ua_connector.open("sip:1", nullptr);
            IMS_event_mgmt::evlist.push_back({"late", "Contact", "x"});
            std::printf("%s", IMS_User_Agent::__ua_myuri.c_str());
        });
        std::exit(3);
    });
    EXPECT_EQ(child.status, 3) << child.err;
    EXPECT_EQ(child.out, "still alive");
}

TEST(TheClassWideMembers, StartWithTheirDocumentedValues)
{
    EXPECT_EQ(IMS_User_Agent::__ua_tapi_listenfd, -1);
    EXPECT_EQ(IMS_User_Agent::__ua_tapi_syncfd, -1);
    EXPECT_EQ(IMS_User_Agent::__ua_tapi_asyncfd, -1);
    EXPECT_STREQ(IMS_User_Agent::__ua_arg_proxy, "");
    EXPECT_STREQ(IMS_User_Agent::__ua_arg_tacsock, "");
    EXPECT_STREQ(IMS_User_Agent::__ua_arg_fwksyncport, "0");
    EXPECT_STREQ(IMS_User_Agent::__ua_arg_fwkasyncport, "0");
    EXPECT_EQ(IMS_User_Agent::__ua_fwk_connector, nullptr);
    EXPECT_EQ(IMS_User_Agent::__ua_fwk_intf, nullptr);
    EXPECT_EQ(IMS_User_Agent::__ua_myuri, "");
}

} // namespace
