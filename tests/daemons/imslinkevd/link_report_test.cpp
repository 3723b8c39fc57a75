#include "daemons/imslinkevd/link_report.h"

#include <gtest/gtest.h>
#include <linux/if.h>
#include <linux/if_arp.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

namespace {

// An Ethernet link that works, unless a test changes a field.
Link link_named(const std::string& name, int index = 2)
{
    Link link;
    link.index = index;
    link.name = name;
    link.mac = "02:00:00:00:00:02";
    link.hardware = ARPHRD_ETHER;
    link.admin_up = true;
    link.running = true;
    link.operstate = IF_OPER_UP;
    return link;
}

Link loopback()
{
    Link link = link_named("lo", 1);
    link.loopback = true;
    link.hardware = ARPHRD_LOOPBACK;
    link.operstate = IF_OPER_UNKNOWN;
    return link;
}

Link_address address(int family, const std::string& text, unsigned scope = RT_SCOPE_UNIVERSE)
{
    Link_address a;
    a.family = family;
    a.scope = scope;
    a.text = text;
    return a;
}

std::vector<std::string> names(const std::vector<Link_report>& reports)
{
    std::vector<std::string> list;
    for (const auto& report : reports)
        list.push_back(report.name);
    return list;
}

using Names = std::vector<std::string>;

TEST(ALinkReport, SaysUpOnlyForALinkThatIsSwitchedOnAndOperational)
{
    const auto report = report_of(link_named("eth0"));
    EXPECT_TRUE(report.up);
    EXPECT_STREQ(status_text(report), "up");
    EXPECT_EQ(report.cause, "operational");
    EXPECT_EQ(report.reference, 2);
    EXPECT_EQ(report.mac, "02:00:00:00:00:02");
}

TEST(ALinkReport, GivesTheCauseOfADownLink)
{
    auto link = link_named("eth0");
    const struct {
        unsigned state;
        const char* cause;
    } rows[] = {{IF_OPER_DOWN, "no-carrier"},
                {IF_OPER_LOWERLAYERDOWN, "lower-layer-down"},
                {IF_OPER_DORMANT, "dormant"},
                {IF_OPER_TESTING, "testing"},
                {IF_OPER_NOTPRESENT, "not-present"}};
    for (const auto& row : rows) {
        link.operstate = row.state;
        EXPECT_FALSE(report_of(link).up);
        EXPECT_EQ(report_of(link).cause, row.cause);
    }
    link.admin_up = false;
    EXPECT_EQ(report_of(link).cause, "admin-down");
    EXPECT_STREQ(status_text(report_of(link)), "down");
}

TEST(ALinkReport, TrustsRunningWhereTheDriverTellsNoState)
{
    auto link = link_named("tun0");
    link.operstate = IF_OPER_UNKNOWN;
    EXPECT_TRUE(report_of(link).up);
    link.running = false;
    EXPECT_FALSE(report_of(link).up);
    EXPECT_EQ(report_of(link).cause, "no-carrier");
}

TEST(ALinkReport, PrefersGlobalIpv4ThenGlobalIpv6ThenLinkLocal)
{
    auto link = link_named("eth0");
    EXPECT_EQ(report_of(link).ip_address, "");
    link.addresses.push_back(address(AF_INET6, "fe80::1", RT_SCOPE_LINK));
    EXPECT_EQ(report_of(link).ip_address, "fe80::1");
    link.addresses.push_back(address(AF_INET6, "2001:db8::1"));
    EXPECT_EQ(report_of(link).ip_address, "2001:db8::1");
    link.addresses.push_back(address(AF_INET, "192.0.2.1"));
    link.addresses.push_back(address(AF_INET, "192.0.2.2"));
    EXPECT_EQ(report_of(link).ip_address, "192.0.2.1");
    link.addresses[2].tentative = true;
    EXPECT_EQ(report_of(link).ip_address, "192.0.2.2");
}

TEST(ALinkReport, NamesTheAccessNetwork)
{
    EXPECT_EQ(report_of(link_named("eth0")).access_type, "802.3");
    EXPECT_EQ(report_of(link_named("wlan0")).access_type, "802.11");
    EXPECT_EQ(report_of(link_named("wlan0")).access_network, "IEEE");
    EXPECT_EQ(report_of(link_named("wwan0")).access_network, "3GPP");
    EXPECT_EQ(report_of(loopback()).access_network, "loopback");
    auto tunnel = link_named("sit0");
    tunnel.hardware = ARPHRD_SIT;
    EXPECT_EQ(report_of(tunnel).access_network, "other");
}

TEST(ALinkReport, OfARemovedLinkKeepsItsNameButNotItsAddress)
{
    auto link = link_named("eth0");
    link.addresses.push_back(address(AF_INET, "192.0.2.1"));
    const auto removed = removed_report(report_of(link));
    EXPECT_FALSE(removed.up);
    EXPECT_EQ(removed.cause, "removed");
    EXPECT_EQ(removed.name, "eth0");
    EXPECT_EQ(removed.ip_address, "");
    EXPECT_NE(removed, report_of(link));
}

TEST(ThePreferredLink, IsTheFirstThatIsUp)
{
    auto down = link_named("eth0", 2);
    down.admin_up = false;
    const std::vector<Link_report> reports = {report_of(down), report_of(link_named("eth1", 3))};
    EXPECT_EQ(preferred_report(reports).name, "eth1");
    EXPECT_EQ(preferred_report({report_of(down)}).name, "eth0");
    EXPECT_EQ(preferred_report({}).cause, "no-link");
}

TEST(TheAvailability, IsTheAccessOfThePreferredLinkOrNothing)
{
    auto down = link_named("eth0");
    down.admin_up = false;
    EXPECT_EQ(availability_of({report_of(down)}), availability_of({}));
    const auto available = availability_of({report_of(down), report_of(link_named("wlan0", 3))});
    EXPECT_EQ(available.reference, 0);
    EXPECT_EQ(available.access_network, "IEEE");
    EXPECT_EQ(available.access_type, "802.11");
    EXPECT_EQ(available.access_point, "wlan0");
    EXPECT_EQ(available.mac, "");
}

TEST(ALinkFilter, LeavesOutTheLoopbackUnlessItIsNamed)
{
    const std::vector<Link> links = {loopback(), link_named("eth0", 2), link_named("wlan0", 3),
                                     link_named("eth1", 4)};
    EXPECT_EQ(names(Link_filter().reports(links)), (Names{"eth0", "wlan0", "eth1"}));
    EXPECT_EQ(names(Link_filter("lo").reports(links)), (Names{"lo"}));
}

TEST(ALinkFilter, PutsTheEarlierPatternFirstAndNoLinkTwice)
{
    const std::vector<Link> links = {loopback(), link_named("eth0", 2), link_named("wlan0", 3),
                                     link_named("eth1", 4)};
    EXPECT_EQ(names(Link_filter("wlan0,eth*,*0").reports(links)), (Names{"wlan0", "eth0", "eth1"}));
    EXPECT_EQ(names(Link_filter(",eth1,,").reports(links)), (Names{"eth1"}));
    EXPECT_EQ(names(Link_filter("nothing").reports(links)), (Names{}));
}

} // namespace
