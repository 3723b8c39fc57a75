#include "daemons/imslinkevd/link_table.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

namespace {

Link_news link_news(int index, const char* name)
{
    Link_news news;
    news.index = index;
    news.name = name;
    news.mac = "02:00:00:00:00:01";
    news.operstate = 6;
    return news;
}

Link_address address(const std::string& text, int family = AF_INET)
{
    Link_address a;
    a.family = family;
    a.prefix = 24;
    a.text = text;
    return a;
}

TEST(ALinkTable, TellsWhetherNewsChangedAnything)
{
    Link_table table;
    EXPECT_TRUE(table.put_link(link_news(2, "eth0")));
    EXPECT_FALSE(table.put_link(link_news(2, "eth0")));
    auto news = link_news(2, "eth0");
    news.admin_up = true;
    EXPECT_TRUE(table.put_link(news));
    EXPECT_TRUE(table.remove_link(2));
    EXPECT_FALSE(table.remove_link(2));
    EXPECT_EQ(table.size(), 0u);
}

TEST(ALinkTable, KeepsWhatTheNewsDoNotMention)
{
    Link_table table;
    table.put_link(link_news(2, "eth0"));
    Link_news partial;
    partial.index = 2;
    partial.carrier = false;
    EXPECT_TRUE(table.put_link(partial));
    const auto link = table.links().at(0);
    EXPECT_EQ(link.name, "eth0");
    EXPECT_EQ(link.mac, "02:00:00:00:00:01");
    EXPECT_EQ(link.operstate, 6u);
    EXPECT_EQ(link.carrier, false);
}

TEST(ALinkTable, IgnoresLinksWithoutNumberOrName)
{
    Link_table table;
    EXPECT_FALSE(table.put_link(link_news(0, "x")));
    EXPECT_FALSE(table.put_link(link_news(-1, "x")));
    Link_news nameless;
    nameless.index = 5;
    EXPECT_FALSE(table.put_link(nameless));
}

TEST(ALinkTable, KeepsAddressesInTheOrderOfTheirArrival)
{
    Link_table table;
    table.put_link(link_news(2, "eth0"));
    EXPECT_FALSE(table.put_address(3, address("192.0.2.9")));
    EXPECT_TRUE(table.put_address(2, address("192.0.2.2")));
    EXPECT_TRUE(table.put_address(2, address("192.0.2.1")));
    EXPECT_FALSE(table.put_address(2, address("192.0.2.1")));
    auto tentative = address("192.0.2.2");
    tentative.tentative = true;
    EXPECT_TRUE(table.put_address(2, tentative));
    ASSERT_EQ(table.links().at(0).addresses.size(), 2u);
    EXPECT_TRUE(table.links()[0].addresses[0].tentative);
    EXPECT_TRUE(table.remove_address(2, address("192.0.2.2")));
    EXPECT_FALSE(table.remove_address(2, address("192.0.2.2")));
    EXPECT_FALSE(table.remove_address(3, address("192.0.2.2")));
    EXPECT_EQ(table.links()[0].addresses.at(0).text, "192.0.2.1");
}

TEST(ALinkTable, IsBounded)
{
    Link_table table;
    for (int i = 1; i <= static_cast<int>(Link_table::MAX_LINKS) + 10; ++i)
        table.put_link(link_news(i, "x"));
    EXPECT_EQ(table.size(), Link_table::MAX_LINKS);
    for (int i = 0; i < 100; ++i)
        table.put_address(1, address("10.0.0." + std::to_string(i)));
    EXPECT_EQ(table.links()[0].addresses.size(), Link_table::MAX_ADDRESSES);
}

} // namespace
