#include "daemons/imslinkevd/notify_documents.h"

#include "include/ims_types.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {

Link_report a_report()
{
    Link_report report;
    report.reference = 7;
    report.name = "eth0";
    report.mac = "02:00:00:00:00:01";
    report.ip_address = "192.0.2.1";
    report.up = true;
    report.cause = "operational";
    report.access_network = "IEEE";
    report.access_type = "802.3";
    report.access_point = "eth0";
    return report;
}

TEST(ALinkEventDocument, CarriesTheReportThroughItsText)
{
    DALinkEvXmlData document;
    fill_document(a_report(), {3, "home & garden"}, document);
    ASSERT_EQ(document.encodeXml(), 0);
    DALinkEvXmlData read;
    read.buffer = document.buffer;
    read.buffer_length = document.buffer_length;
    ASSERT_EQ(read.parseXml(), 0);
    EXPECT_EQ(read.name, "home & garden");
    EXPECT_EQ(read.profile_id, 3);
    EXPECT_EQ(read.link_reference, 7);
    EXPECT_EQ(read.access_network, "IEEE");
    EXPECT_EQ(read.ieee.ap, "eth0");
    EXPECT_EQ(read.device.name, "eth0");
    EXPECT_EQ(read.device.ue_mac, "02:00:00:00:00:01");
    EXPECT_EQ(read.device.ip_address, "192.0.2.1");
    EXPECT_EQ(read.device.status, "up");
    EXPECT_EQ(read.device.cause, "operational");
}

// The longest names that the kernel and the settings allow.
TEST(ALinkEventDocument, FitsTheBufferOfItsReaders)
{
    Link_report report = a_report();
    report.reference = 2147483647;
    report.name = std::string(15, '&');
    report.access_point = report.name;
    report.mac = "00:11:22:33:44:55:66:77:88:99:aa:bb:cc:dd:ee:ff:00:11:22:33";
    report.ip_address = "2001:0db8:1111:2222:3333:4444:5555:6666";
    report.up = false;
    report.cause = "lower-layer-down";
    DALinkEvXmlData document;
    fill_document(report, {2147483647, std::string(64, 'x')}, document);
    ASSERT_EQ(document.encodeXml(), 0);
    EXPECT_LT(document.buffer_length, static_cast<int>(BODY_BUFFER_SIZE));
}

TEST(AnAvailabilityDocument, CarriesTheAccessThroughItsText)
{
    DALinkAvailEvXmlData document;
    fill_document(a_report(), document);
    ASSERT_EQ(document.encodeXml(), 0);
    DALinkAvailEvXmlData read;
    read.buffer = document.buffer;
    read.buffer_length = document.buffer_length;
    ASSERT_EQ(read.parseXml(), 0);
    EXPECT_EQ(read.access_network, "IEEE");
    EXPECT_EQ(read.threegpp.access_type, "802.3") << "where readers find the first access type";
    EXPECT_EQ(read.ieee.ap, "eth0");
}

TEST(ADocumentText, HoldsOnlyWhatXmlCanCarry)
{
    EXPECT_EQ(document_text("plain <name>"), "plain <name>");
    EXPECT_EQ(document_text("a&b"), "a&amp;b");
    EXPECT_EQ(document_text(std::string("a\x01z\x7f", 4)), "a?z?");
    EXPECT_EQ(document_text("z\xc3\xbcrich \xe2\x82\xac \xf0\x9f\x98\x80"),
              "z\xc3\xbcrich \xe2\x82\xac \xf0\x9f\x98\x80");
    EXPECT_EQ(document_text("\xff\xc3"), "??") << "no UTF-8";
    EXPECT_EQ(document_text("\xc0\xaf"), "??") << "overlong";
    EXPECT_EQ(document_text("\xed\xa0\x80"), "???") << "a surrogate";
    EXPECT_EQ(document_text("\xef\xbf\xbf"), "???") << "no character";
    EXPECT_EQ(document_text("\xf4\x90\x80\x80"), "????") << "beyond Unicode";
    EXPECT_EQ(document_text(std::string(100, 'x')), std::string(64, 'x'));
}

} // namespace
