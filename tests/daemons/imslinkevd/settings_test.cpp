#include "daemons/imslinkevd/settings.h"

#include <gtest/gtest.h>
#include <map>

namespace {

struct TheSettings : ::testing::Test {
    bool options(std::vector<std::string> words)
    {
        words.insert(words.begin(), "imslinkevd");
        std::vector<char*> argv;
        for (auto& word : words)
            argv.push_back(word.data());
        return read_options(static_cast<int>(argv.size()), argv.data(), settings, why);
    }
    bool configuration(const std::map<std::string, std::string>& store)
    {
        return read_configuration(
            [&](const std::string& path, std::string& value) {
                const auto found = store.find(path);
                if (found != store.end()) value = found->second;
                return found != store.end();
            },
            settings, why);
    }
    Settings settings;
    std::string why;
};

TEST_F(TheSettings, ComeFromTheCommandLine)
{
    EXPECT_TRUE(options({"-port",        "6000", "-links",          "eth0,wlan*", "-profile",        "7",
                         "-profilename", "home", "-minexpires",     "10",         "-defaultexpires", "20",
                         "-maxexpires",  "30",   "-maxsubscribers", "5",          "-mininterval",    "0",
                         "-unknown",     "x",    "-siptrace",       "f"}));
    EXPECT_EQ(settings.first_port, 6000);
    EXPECT_EQ(settings.links, "eth0,wlan*");
    EXPECT_EQ(settings.profile_id, 7);
    EXPECT_EQ(settings.profile_name, "home");
    EXPECT_EQ(settings.expires.least, 10u);
    EXPECT_EQ(settings.expires.usual, 20u);
    EXPECT_EQ(settings.expires.most, 30u);
    EXPECT_EQ(settings.max_subscribers, 5);
    EXPECT_EQ(settings.min_interval, 0);
}

TEST_F(TheSettings, RefuseWhatIsNoNumberOrOutOfRange)
{
    for (const char* value : {"", "x", "-1", "0", "65536", "99999999999999999999", "1 "}) {
        EXPECT_FALSE(options({"-port", value})) << value;
        EXPECT_EQ(why.rfind("port: '", 0), 0u) << why;
    }
    EXPECT_EQ(settings.first_port, 5080);
    EXPECT_TRUE(options({"-port"})) << "an option without a value is ignored";
}

TEST_F(TheSettings, RefuseExpiriesThatDoNotRise)
{
    EXPECT_FALSE(options({"-minexpires", "4000"}));
    EXPECT_EQ(why, "minexpires, defaultexpires and maxexpires must rise in this order");
}

TEST_F(TheSettings, ComeFromTheConfigurationUnlessTheCommandLineSaysOtherwise)
{
    EXPECT_TRUE(configuration({{"/config/linkev/port", "6000"}, {"/config/linkev/links", "eth*"}}));
    EXPECT_TRUE(options({"-port", "7000"}));
    EXPECT_EQ(settings.first_port, 7000);
    EXPECT_EQ(settings.links, "eth*");
}

TEST_F(TheSettings, KeepWhatAWrongConfigurationValueWouldReplace)
{
    EXPECT_FALSE(configuration({{"/config/linkev/port", "many"}, {"/config/linkev/profile", "3"}}));
    EXPECT_EQ(settings.first_port, 5080);
    EXPECT_EQ(settings.profile_id, 3);
    EXPECT_FALSE(configuration({{"/config/linkev/minexpires", "99999"}}));
    EXPECT_EQ(settings.expires.least, 60u);
}

TEST_F(TheSettings, HaveAUsageLineEach)
{
    const auto lines = option_lines();
    EXPECT_EQ(lines.size(), 9u);
    for (const auto& line : lines)
        EXPECT_EQ(line.rfind("    -", 0), 0u);
}

} // namespace
