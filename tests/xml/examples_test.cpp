// The examples of docs/documents/ are what the documents write and read.
#include "tests/xml/documents.h"
#include "xml/DALinkAvailEvXmlData.h"
#include "xml/DALinkEvXmlData.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace {

std::string file(const std::string& name)
{
    std::ifstream in(IMSUA_SOURCE_DIR "/docs/documents/" + name);
    std::ostringstream text;
    text << in.rdbuf();
    EXPECT_FALSE(text.str().empty()) << name;
    return text.str();
}

// Whether the page shows the example byte for byte.
bool shows(const std::string& page, const std::string& example)
{
    return file(page).find("\n" + example + "```\n") != std::string::npos;
}

TEST(TheLinkEventExample, OfAProfileIsReadAndWrittenAgain)
{
    const std::string example = file("examples/link-event-profile.xml");
    DALinkEvXmlData d;
    ASSERT_EQ(parse(d, example), 0);
    EXPECT_EQ(d.device.name, "wlan0");
    EXPECT_EQ(d.proxy_list.size(), 2u);
    d.ieee.access_type.swap(d.coverage.access_type); // the reader's asymmetry
    ASSERT_EQ(d.encodeXml(), 0);
    EXPECT_EQ(encoded(d), example);
    EXPECT_TRUE(shows("link-event.md", example));
}

TEST(TheLinkEventExample, OfCoverageIsReadAndWrittenAgain)
{
    const std::string example = file("examples/link-event-coverage.xml");
    DALinkEvXmlData d;
    ASSERT_EQ(parse(d, example), 0);
    ASSERT_EQ(d.encodeXml(), 0);
    EXPECT_EQ(encoded(d), example);
    EXPECT_TRUE(shows("link-event.md", example));
}

TEST(TheLinkAvailabilityExample, OfIeeeIsReadAndWrittenAgain)
{
    const std::string example = file("examples/link-availability-ieee.xml");
    DALinkAvailEvXmlData d;
    ASSERT_EQ(parse(d, example), 0);
    d.ieee.access_type.swap(d.threegpp.access_type);
    ASSERT_EQ(d.encodeXml(), 0);
    EXPECT_EQ(encoded(d), example);
    EXPECT_TRUE(shows("link-availability.md", example));
}

TEST(TheLinkAvailabilityExample, Of3gppIsWrittenAndCannotBeRead)
{
    const std::string example = file("examples/link-availability-3gpp.xml");
    DALinkAvailEvXmlData d;
    EXPECT_EQ(parse(d, example), -1);
    d.access_network = "3GPP";
    d.threegpp = {"3GPP-UTRAN-FDD", "26201", "C1A2"};
    ASSERT_EQ(d.encodeXml(), 0);
    EXPECT_EQ(encoded(d), example);
    EXPECT_TRUE(shows("link-availability.md", example));
}

} // namespace
