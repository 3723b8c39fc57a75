// The examples of docs/documents/ are what the documents write and read, and the pages show them byte for
// byte.
#include "tests/support/sample_documents.h"
#include "tests/xml/documents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace {

using testing::ElementsAre;

std::string file(const std::string& name)
{
    std::ifstream in(IMSUA_SOURCE_DIR "/docs/documents/" + name);
    std::ostringstream text;
    text << in.rdbuf();
    EXPECT_FALSE(text.str().empty()) << name;
    return text.str();
}

std::string example(const std::string& name)
{
    return file("examples/" + name);
}

// Whether the page shows the example byte for byte.
bool shows(const std::string& page, const std::string& name)
{
    return file(page).find("\n" + example(name) + "```\n") != std::string::npos;
}

// The sample of a document is written as its example.
template <typename Document>
void expect_written(const std::string& name, const std::string& page)
{
    Document d;
    samples::fill(d);
    ASSERT_EQ(d.encodeXml(), 0);
    EXPECT_EQ(encoded(d), example(name));
    EXPECT_TRUE(shows(page, name)) << page;
}

// What is read from the example is written as the example again.
template <typename Document>
void expect_read_and_written(const std::string& name)
{
    Document d;
    ASSERT_EQ(parse(d, example(name)), 0);
    ASSERT_EQ(d.encodeXml(), 0);
    EXPECT_EQ(encoded(d), example(name));
}

TEST(TheLinkEventExample, OfAProfileIsReadAndWrittenAgain)
{
    expect_written<DALinkEvXmlData>("link-event-profile.xml", "link-event.md");
    DALinkEvXmlData d;
    ASSERT_EQ(parse(d, example("link-event-profile.xml")), 0);
    EXPECT_EQ(d.device.name, "wlan0");
    EXPECT_EQ(d.proxy_list.size(), 2u);
    d.ieee.access_type.swap(d.coverage.access_type); // the reader's asymmetry
    ASSERT_EQ(d.encodeXml(), 0);
    EXPECT_EQ(encoded(d), example("link-event-profile.xml"));
}

TEST(TheLinkEventExample, OfCoverageIsReadAndWrittenAgain)
{
    expect_read_and_written<DALinkEvXmlData>("link-event-coverage.xml");
    EXPECT_TRUE(shows("link-event.md", "link-event-coverage.xml"));
}

TEST(TheLinkAvailabilityExample, OfIeeeIsReadAndWrittenAgain)
{
    expect_written<DALinkAvailEvXmlData>("link-availability-ieee.xml", "link-availability.md");
    DALinkAvailEvXmlData d;
    ASSERT_EQ(parse(d, example("link-availability-ieee.xml")), 0);
    d.ieee.access_type.swap(d.threegpp.access_type);
    ASSERT_EQ(d.encodeXml(), 0);
    EXPECT_EQ(encoded(d), example("link-availability-ieee.xml"));
}

TEST(TheLinkAvailabilityExample, Of3gppIsWrittenAndCannotBeRead)
{
    DALinkAvailEvXmlData d;
    EXPECT_EQ(parse(d, example("link-availability-3gpp.xml")), -1);
    samples::fill(d, "3GPP");
    ASSERT_EQ(d.encodeXml(), 0);
    EXPECT_EQ(encoded(d), example("link-availability-3gpp.xml"));
    EXPECT_TRUE(shows("link-availability.md", "link-availability-3gpp.xml"));
}

TEST(TheProxyDiscoveryExamples, AreReadAndWrittenAgain)
{
    expect_written<DAMessageXmlData>("proxy-discovery-found.xml", "proxy-discovery.md");
    expect_read_and_written<DAMessageXmlData>("proxy-discovery-found.xml");
    expect_read_and_written<DAMessageXmlData>("proxy-discovery.xml");
    EXPECT_TRUE(shows("proxy-discovery.md", "proxy-discovery.xml"));
}

TEST(TheRouteExample, IsReadAndWrittenAgain)
{
    expect_written<IMSSetRouteXml>("route.xml", "route.md");
    expect_read_and_written<IMSSetRouteXml>("route.xml");
}

TEST(TheComponentPackageExample, IsReadAndWrittenAgain)
{
    expect_written<IMSComponentPackageInfo>("component-package.xml", "component-package.md");
    expect_read_and_written<IMSComponentPackageInfo>("component-package.xml");
}

TEST(TheRegistrationStatusExample, IsReadAndWrittenAgain)
{
    expect_written<NotifyUaXmlData>("registration-status.xml", "registration-status.md");
    expect_read_and_written<NotifyUaXmlData>("registration-status.xml");
}

TEST(TheApplicationRequestExample, IsReadAndWrittenAgain)
{
    expect_written<AppToRegUaXmlData>("application-request.xml", "application-request.md");
    expect_read_and_written<AppToRegUaXmlData>("application-request.xml");
}

TEST(TheUserAgentsDescriptionExample, IsWrittenWithAHeaderThatOnlyAPeersFormGivesBack)
{
    expect_written<RegUaXmlData>("ua-info.xml", "ua-info.md");
    RegUaXmlData own;
    ASSERT_EQ(parse(own, example("ua-info.xml")), 0);
    EXPECT_EQ(own.header_name, "");
    RegUaXmlData d;
    ASSERT_EQ(parse(d, example("ua-info-from-a-peer.xml")), 0);
    EXPECT_EQ(d.header_name, "Accept-Contact");
    EXPECT_EQ(d.header_value, " *");
    for (const auto field : {&RegUaXmlData::aor, &RegUaXmlData::name, &RegUaXmlData::methods,
                             &RegUaXmlData::content_type, &RegUaXmlData::events, &RegUaXmlData::ua_section})
        EXPECT_EQ(d.*field, own.*field);
    EXPECT_EQ(d.aor, "sip:alice@home.example");
    EXPECT_TRUE(shows("ua-info.md", "ua-info-from-a-peer.xml"));
}

TEST(TheRegistrarConfigurationExample, FillsAllEighteenFields)
{
    using D = RegistrarToRegUaXmlData;
    D d;
    ASSERT_EQ(parse(d, example("registrar-configuration.xml")), 0);
    for (const auto field :
         {&D::name, &D::kiv_profile_id, &D::action, &D::napi_profile_name, &D::aor, &D::reg_expiry, &D::impi,
          &D::impu, &D::registrar_address, &D::registrar_realm, &D::domain_name, &D::disc_pref, &D::dns_realm,
          &D::ip_address, &D::ue_sip_port, &D::max_attempts, &D::interval, &D::id})
        EXPECT_NE(d.*field, "");
    EXPECT_EQ(d.reg_expiry, "3600");
    EXPECT_EQ(d.id, "r1");
    EXPECT_TRUE(shows("registrar-configuration.md", "registrar-configuration.xml"));
}

TEST(TheRegistrationValuesExample, FillsAllNineFields)
{
    using D = RegUaNotifyData;
    D d;
    ASSERT_EQ(parse(d, example("registration-values.xml")), 0);
    const std::pair<std::string D::*, const char*> fields[] = {{&D::registration, "r1"},
                                                               {&D::aor, "sip:alice@home.example"},
                                                               {&D::contact, "c1"},
                                                               {&D::event, "registered"},
                                                               {&D::state, "active"},
                                                               {&D::duration_registered, "7322"},
                                                               {&D::uri, "sip:alice@192.0.2.7:5070"},
                                                               {&D::xmlns, "urn:ietf:params:xml:ns:reginfo"},
                                                               {&D::version, "0"}};
    for (const auto& field : fields)
        EXPECT_EQ(d.*field.first, field.second);
    EXPECT_TRUE(shows("registration-values.md", "registration-values.xml"));
}

// RFC 3680, 5.1: registrations with contacts in a default namespace.
TEST(TheReginfoExample, OfAFullStateGivesTheContactThatIsAlive)
{
    RegXmlData d;
    ASSERT_EQ(parse(d, example("reginfo.xml")), 0);
    EXPECT_EQ(d.reginfo_state, "full");
    EXPECT_THAT(d.aors, ElementsAre("sip:alice@home.example"));
    EXPECT_THAT(d.states, ElementsAre("active"));
    EXPECT_THAT(d.expires_list, ElementsAre(3600));
    RegXmlData other;
    other.match_uri = "192.0.2.8";
    ASSERT_EQ(parse(other, example("reginfo.xml")), 0);
    EXPECT_THAT(other.states, ElementsAre("terminated"));
    EXPECT_THAT(other.expires_list, ElementsAre(-1));
    EXPECT_TRUE(shows("reginfo.md", "reginfo.xml"));
}

// With RFC 3680's unknown-param, RFC 5628's gruu elements and a wildcarded identity; it fits a received
// request.
TEST(TheReginfoExample, OfAnImsCoreIsReadPastItsExtensions)
{
    EXPECT_LE(example("reginfo-3gpp.xml").size(), static_cast<std::size_t>(BODY_BUFFER_SIZE));
    RegXmlData d;
    ASSERT_EQ(parse(d, example("reginfo-3gpp.xml")), 0);
    EXPECT_EQ(d.reginfo_state, "partial");
    EXPECT_THAT(d.aors, ElementsAre("sip:bob@home.example", "tel:+15550100"));
    EXPECT_THAT(d.states, ElementsAre("active", "active"));
    EXPECT_THAT(d.expires_list, ElementsAre(600000, 600000));
    EXPECT_TRUE(shows("reginfo.md", "reginfo-3gpp.xml"));
}

TEST(TheReginfoExample, ThatIsTooLargeForARequestIsReadByADocumentOfOnesOwn)
{
    const std::string text = example("reginfo-large.xml");
    EXPECT_EQ(text.size(), 1800u);
    RegXmlData d;
    d.match_uri = "192.0.2.7:5070";
    ASSERT_EQ(parse(d, text), 0);
    EXPECT_THAT(d.aors, ElementsAre("sip:carol@home.example", "sip:sales@home.example", "tel:+15550123"));
    EXPECT_THAT(d.states, ElementsAre("active", "terminated", "active"));
    EXPECT_THAT(d.expires_list, ElementsAre(3600, -1, 3600));
    RegXmlData cut;
    EXPECT_EQ(parse(cut, text.substr(0, BODY_BUFFER_SIZE)), -1);
    EXPECT_THAT(cut.aors, testing::IsEmpty());
}

TEST(TheReginfoExamples, GiveNothingToTheDocumentThatReadsElementsByName)
{
    for (const char* name : {"reginfo.xml", "reginfo-3gpp.xml", "reginfo-large.xml"}) {
        RegUaNotifyData d;
        ASSERT_EQ(parse(d, example(name)), 0);
        EXPECT_EQ(d.registration + d.aor + d.contact + d.state + d.uri + d.version + d.xmlns, "") << name;
    }
}

} // namespace
