#include "daemons/imsfwkd/conversation.h"

#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

using imsfwkd::Conversation;
using imsfwkd::Store;

namespace {

class AConversation : public ::testing::Test {
protected:
    AConversation()
    {
        dir.write("config.xml", "<config><name>eth0</name><text>a\nb%</text><empty/><T1>500</T1></config>");
        std::string why;
        EXPECT_TRUE(store.open(why)) << why;
    }
    void load()
    {
        while (store.load_next()) {
        }
    }
    void feed(const std::string& bytes) { talk.feed(bytes.data(), bytes.size()); }
    // The payload of the next answer; "(none)" when there is none.
    std::string next()
    {
        std::string frame;
        if (!talk.next_answer(frame)) return "(none)";
        fwk::FrameDecoder decoder;
        decoder.feed(frame.data(), frame.size());
        std::string payload;
        EXPECT_EQ(decoder.next(payload), fwk::FrameDecoder::Result::frame);
        EXPECT_EQ(decoder.buffered(), 0u);
        return payload;
    }
    std::string ask(const std::string& request)
    {
        feed(fwk::frame(request));
        return next();
    }

    TempDir dir;
    Store store{dir.path()};
    Conversation talk{store};
};

class ALoadedConversation : public AConversation {
protected:
    ALoadedConversation() { load(); }
};

} // namespace

TEST_F(ALoadedConversation, AnswersGet)
{
    EXPECT_EQ(ask("GET config\n/config/name"), "1\neth0");
    EXPECT_EQ(ask("GET config\n/config/text"), "1\na%0Ab%25");
    EXPECT_EQ(ask("GET config\n/config/empty"), "1\n");
    EXPECT_EQ(ask("GET config\n//name"), "1\neth0");
}

TEST_F(ALoadedConversation, AnswersZeroToWhatIsNotThere)
{
    for (const char* request :
         {"GET config\n/config/none", "GET none\n/config/name", "GET ../config\n/config/name",
          "GET config\n/config[", "GET config\n", "GET config\ncount(//name)", "MGET config\nnone",
          "MGET config\n", "SET none\n/config/name\nx", "SET config\n/config\nx", "SET config\n/config[\nx",
          "SET config\n/other/a\nx"})
        EXPECT_EQ(ask(request), "0") << request;
}

TEST_F(ALoadedConversation, AnswersMgetWithWhatIsThere)
{
    EXPECT_EQ(ask("MGET config\n/config/name\nnone\nT1\n//text"),
              "1\n/config/name\neth0\nT1\n500\n//text\na%0Ab%25");
}

TEST_F(ALoadedConversation, AnswersSet)
{
    EXPECT_EQ(ask("SET config\n/config/name\na%0Ab%25c"), "1");
    EXPECT_EQ(ask("GET config\n/config/name"), "1\na%0Ab%25c");
    EXPECT_EQ(ask("SET config\n/config/new/one\n"), "1");
    EXPECT_EQ(ask("GET config\n/config/new/one"), "1\n");
}

TEST_F(ALoadedConversation, SaysWhatIsWrongWithARequestAndGoesOn)
{
    for (const char* request : {"", "PUT config\n/a", "get config\n/a", "SYNC now", "GET", "GETconfig\n/a"})
        EXPECT_EQ(ask(request), "ERR requests are GET, MGET, SET and SYNC") << request;
    EXPECT_EQ(ask("GET config"), "ERR GET <document> LF <path>");
    EXPECT_EQ(ask("MGET config"), "ERR MGET <document> LF <tag> LF <tag>...");
    EXPECT_EQ(ask("SET config\n/config/name"), "ERR SET <document> LF <path> LF <value>");
    EXPECT_FALSE(talk.is_over());
    EXPECT_EQ(ask("GET config\n/config/name"), "1\neth0");
}

TEST_F(ALoadedConversation, EndsWithAnAnswerWhenTheBytesAreNoFrames)
{
    feed("GET config\n/config/name");
    EXPECT_EQ(next(), "ERR a frame is a decimal length, a line feed and that many bytes");
    EXPECT_TRUE(talk.is_over());
    EXPECT_FALSE(talk.wants_input());
    feed(fwk::frame("SYNC"));
    EXPECT_EQ(next(), "(none)");
}

TEST_F(ALoadedConversation, EndsWithAnAnswerWhenAFrameIsTooLong)
{
    feed("65537\n");
    EXPECT_EQ(next(), "ERR a frame holds 65536 bytes at most");
    EXPECT_TRUE(talk.is_over());
}

TEST_F(ALoadedConversation, AnswersOneRequestAfterTheOther)
{
    feed(fwk::frame("SYNC") + fwk::frame("GET config\n/config/name") + "3\nGE");
    EXPECT_EQ(next(), "GO");
    EXPECT_EQ(next(), "1\neth0");
    EXPECT_EQ(next(), "(none)");
    EXPECT_TRUE(talk.wants_input());
}

TEST_F(ALoadedConversation, LimitsTheTagsOfARequest)
{
    std::string request = "MGET config";
    for (int i = 0; i < 256; ++i)
        request += "\nT1";
    EXPECT_EQ(ask(request).compare(0, 8, "1\nT1\n500"), 0);
    EXPECT_EQ(ask(request + "\nT1"), "ERR MGET takes 256 tags at most");
}

TEST_F(ALoadedConversation, SaysSoWhenAValueFitsInNoFrame)
{
    dir.write("large.xml", "<a>" + std::string(70000, 'x') + "</a>");
    store.reload("large");
    EXPECT_EQ(ask("GET large\n/a"), "ERR the value is longer than a frame");
    EXPECT_EQ(ask("MGET large\n/a"), "ERR the values are longer than a frame");
}

TEST_F(AConversation, SaysGoWhenTheStoreHasLoaded)
{
    EXPECT_EQ(ask("SYNC"), "(none)");
    EXPECT_FALSE(talk.wants_input());
    feed(fwk::frame("GET config\n/config/name"));
    EXPECT_EQ(next(), "(none)");
    load();
    EXPECT_EQ(next(), "GO");
    EXPECT_EQ(next(), "1\neth0");
}
