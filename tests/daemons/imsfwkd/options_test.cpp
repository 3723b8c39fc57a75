#include "daemons/imsfwkd/options.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

class TheOptions : public ::testing::Test {
protected:
    bool parse(std::vector<std::string> words)
    {
        words.insert(words.begin(), "imsfwkd");
        std::vector<char*> argv;
        for (std::string& word : words)
            argv.push_back(word.data());
        options = {};
        why.clear();
        return imsfwkd::parse_options(static_cast<int>(argv.size()), argv.data(), options, why);
    }
    imsfwkd::Options options;
    std::string why;
};

} // namespace

TEST_F(TheOptions, AreReadInAnyOrderBesideOthers)
{
    ASSERT_TRUE(parse(
        {"-asyncport", "5002", "-loglevel", "3", "-store", "/s", "-portfile", "/p", "-syncport", "5001"}));
    EXPECT_EQ(options.store, "/s");
    EXPECT_EQ(options.sync_port, 5001);
    EXPECT_EQ(options.async_port, 5002);
    EXPECT_EQ(options.portfile, "/p");
}

TEST_F(TheOptions, TakeFreePortsUnlessTold)
{
    ASSERT_TRUE(parse({"-store", "/s"}));
    EXPECT_EQ(options.sync_port, 0);
    EXPECT_EQ(options.async_port, 0);
}

TEST_F(TheOptions, DemandAStore)
{
    EXPECT_FALSE(parse({}));
    EXPECT_EQ(why, "-store DIR is missing");
    EXPECT_FALSE(parse({"-store", ""}));
}

TEST_F(TheOptions, RefuseWhatIsNoPort)
{
    for (const char* port : {"", "x", "-1", "65536", "123456", "1x"}) {
        EXPECT_FALSE(parse({"-store", "/s", "-syncport", port})) << port;
        EXPECT_EQ(why, std::string("-syncport: no port number: ") + port);
    }
}

TEST_F(TheOptions, DoNotEndWithoutTheirValue)
{
    EXPECT_FALSE(parse({"-store", "/s", "-asyncport"}));
    EXPECT_EQ(why, "-asyncport: its value is missing");
}
