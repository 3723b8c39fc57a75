#include "siplib/sip_params.h"

#include <gtest/gtest.h>

#include <string>

using namespace siplib;

namespace {

// "name=value|flag|..." of all parameters that can be read, then "#" and what is left.
std::string read_all(std::string_view text, ParamKind kind)
{
    std::string seen;
    Param param;
    while (take_param(text, kind, param)) {
        seen += param.name;
        if (!param.value.empty()) seen.append("=").append(param.value);
        seen += '|';
    }
    return seen.append("#").append(text);
}

} // namespace

TEST(Parameters, AreReadOneAfterTheOther)
{
    EXPECT_EQ(read_all(";a=1;lr;B=x%20y", ParamKind::uri), "a=1|lr|B=x%20y|#");
    EXPECT_EQ(read_all(";tag=a1;q=0.7", ParamKind::header), "tag=a1|q=0.7|#");
    EXPECT_EQ(read_all("", ParamKind::uri), "#");
}

// RFC 3261 section 7.3.1: blanks may stand around semicolon and equals sign of a header, never in a URI.
TEST(Parameters, MayBeSpacedInHeadersOnly)
{
    EXPECT_EQ(read_all(" ; tag \t=  98 ;q", ParamKind::header), "tag=98|q|#");
    EXPECT_EQ(read_all(";tag =98", ParamKind::uri), "tag|# =98");
    EXPECT_EQ(read_all(" ;tag=98", ParamKind::uri), "# ;tag=98");
}

TEST(Parameters, MayBeQuotedInHeadersOnly)
{
    EXPECT_EQ(read_all(";i=\"<urn:x>;,\\\"\";q", ParamKind::header), "i=\"<urn:x>;,\\\"\"|q|#");
    EXPECT_EQ(read_all(";i=\"x\"", ParamKind::uri), "#;i=\"x\"");
}

TEST(Parameters, StopAtTheFirstMalformedOne)
{
    EXPECT_EQ(read_all(";a;;b", ParamKind::uri), "a|#;;b");
    EXPECT_EQ(read_all(";a;", ParamKind::header), "a|#;");
    EXPECT_EQ(read_all(";a=;b", ParamKind::header), "#;a=;b");
    EXPECT_EQ(read_all(";a=\"open", ParamKind::header), "#;a=\"open");
    EXPECT_EQ(read_all(";=b", ParamKind::uri), "#;=b");
    EXPECT_EQ(read_all(";a=%4", ParamKind::uri), "#;a=%4");
    EXPECT_EQ(params_length(";a=1;b>x", ParamKind::uri), 6u);
}

TEST(Parameters, AreFoundInAnyCaseAndTheFirstCounts)
{
    Param found;
    ASSERT_TRUE(find_param(";LR;Transport=tcp;transport=udp", ParamKind::uri, "TRANSPORT", found));
    EXPECT_EQ(found.value, "tcp");
    ASSERT_TRUE(find_param(";LR", ParamKind::uri, "lr", found));
    EXPECT_EQ(found.value, "");
    EXPECT_FALSE(find_param(";transportx=1", ParamKind::uri, "transport", found));
    EXPECT_FALSE(find_param(";a=1", ParamKind::uri, "", found));
}

TEST(AQuotedString, EndsAtItsClosingQuote)
{
    EXPECT_EQ(quoted_length("\"\""), 2u);
    EXPECT_EQ(quoted_length("\"a\\\"b\" c"), 6u);
    EXPECT_EQ(quoted_length("\"\xC3\xA9\t\""), 5u);
    for (const char* bad :
         {"", "a\"\"", "\"", "\"a", "\"a\\", "\"a\\\"", "\"\x01\"", "\"\x7F\"", "\"\\\xC3\"", "\"\\\n\""})
        EXPECT_EQ(quoted_length(bad), 0u) << bad;
}

TEST(AQuotedString, LosesItsQuotesAndEscapes)
{
    EXPECT_EQ(unquoted("\"a \\\"b\\\" \\\\ \\c\""), "a \"b\" \\ c");
    EXPECT_EQ(unquoted("plain"), "plain");
    EXPECT_EQ(unquoted(""), "");
    EXPECT_EQ(unquoted("\"a\"b"), "\"a\"b") << "not one whole quoted string";
}

TEST(AQuotedString, GivesBackEveryTextThatWasPutInQuotes)
{
    std::string all;
    for (int c = 1; c < 256; ++c)
        if (c != '\r' && c != '\n') all += static_cast<char>(c);
    const std::string text = in_quotes(all);
    EXPECT_EQ(quoted_length(text), text.size());
    EXPECT_EQ(unquoted(text), all);
    EXPECT_EQ(in_quotes(""), "\"\"");
}
