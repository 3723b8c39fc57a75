// The documents: their fields, their tables and what a document of a daemon's own derives from.
#include "tests/interfaces/interface_checks.h"
#include "xml/DALinkAvailEvXmlData.h"
#include "xml/DALinkEvXmlData.h"

#include <libxml/parser.h>
#include <type_traits>

namespace {

template <typename A, typename B>
constexpr bool same = std::is_same<A, B>::value;

static_assert(same<decltype(XmlData::encoded_buffer), xmlChar*> && same<decltype(XmlData::buffer), char*>,
              "");
static_assert(same<decltype(XmlData::buffer_length), int>, "");
static_assert(!std::is_copy_constructible<XmlData>::value && !std::is_copy_assignable<XmlData>::value, "");

TEST(ADocument, OffersItsOperations)
{
    offers<int (XmlData::*)()>(&XmlData::parseXml);
    offers<int (XmlData::*)()>(&XmlData::encodeXml);
    offers<bool (*)(xmlDocPtr, const char*, std::string&)>(&XmlData::get_value);
    offers<int (DALinkEvXmlData::*)()>(&DALinkEvXmlData::parseXml);
    offers<int (DALinkEvXmlData::*)()>(&DALinkEvXmlData::encodeXml);
    offers<void (DALinkEvXmlData::*)(const std::string&)>(&DALinkEvXmlData::parse_proxy_list);
    offers<int (DALinkAvailEvXmlData::*)()>(&DALinkAvailEvXmlData::parseXml);
    offers<int (DALinkAvailEvXmlData::*)()>(&DALinkAvailEvXmlData::encodeXml);
}

// A document of a daemon's own.
class Own : public XmlData {
public:
    ~Own() override { release_encoded(); }
    int parseXml() override { return 21; }
    int encodeXml() override
    {
        const xmlDocPtr doc = xmlNewDoc(reinterpret_cast<const xmlChar*>("1.0"));
        xmlDocSetRootElement(doc, xmlNewNode(nullptr, reinterpret_cast<const xmlChar*>("own")));
        return publish(doc);
    }
};

TEST(ADocument, IsDerivedFromOutsideTheLibrary)
{
    Own document;
    EXPECT_EQ(static_cast<XmlData&>(document).encodeXml(), 0);
    EXPECT_EQ(std::string(document.buffer, static_cast<std::size_t>(document.buffer_length)),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<own/>\n");
}

template <typename Document>
void expect_buffers_first()
{
    const Document document;
    EXPECT_EQ(place_of(&document.encoded_buffer, &document), sizeof(void*));
    EXPECT_EQ(place_of(&document.buffer, &document), 2 * sizeof(void*));
    EXPECT_EQ(place_of(&document.buffer_length, &document), 3 * sizeof(void*));
}

TEST(ADocument, HasItsBuffersFirst)
{
    expect_buffers_first<XmlData>();
    expect_buffers_first<DALinkEvXmlData>();
    expect_buffers_first<DALinkAvailEvXmlData>();
}

TEST(ADocument, HasParseAndEncodeAsItsSecondAndThirdOperations)
{
    Own own;
    EXPECT_EQ(table_entry<int(void*)>(&own, 2)(&own), 21);
    EXPECT_EQ(table_entry<int(void*)>(&own, 3)(&own), 0);
    DALinkEvXmlData event;
    EXPECT_EQ(table_entry<int(void*)>(&event, 2)(&event), -1);
    EXPECT_EQ(table_entry<int(void*)>(&event, 3)(&event), 0);
}

TEST(TheLinkEvent, HasItsFieldsInOrder)
{
    DALinkEvXmlData d;
    const void* const fields[] = {&d.coverage.access_type,
                                  &d.coverage.hplmn,
                                  &d.coverage.utran_cell_id,
                                  &d.name,
                                  &d.profile_id,
                                  &d.link_reference,
                                  &d.access_network,
                                  &d.ieee.access_type,
                                  &d.ieee.ap,
                                  &d.device.name,
                                  &d.device.ue_mac,
                                  &d.device.ip_address,
                                  &d.device.status,
                                  &d.device.cause,
                                  &d.proxy_list};
    for (std::size_t i = 1; i < sizeof fields / sizeof *fields; ++i)
        EXPECT_LT(place_of(fields[i - 1], &d), place_of(fields[i], &d)) << i;
    static_assert(same<decltype(d.name), std::string> && same<decltype(d.device.cause), std::string>, "");
    static_assert(
        same<decltype(d.profile_id), std::int32_t> && same<decltype(d.link_reference), std::int32_t>, "");
    static_assert(same<decltype(d.proxy_list), std::vector<IMS_DA_PROXY_INFO>>, "");
    EXPECT_EQ(d.profile_id, 0);
    EXPECT_EQ(d.link_reference, 0);
    d.parse_proxy_list("10.0.0.1:pcscf:5060");
    EXPECT_EQ(d.proxy_list.at(0).port, 5060);
}

TEST(TheLinkAvailability, HasItsFieldsInOrderAndSharesItsRecords)
{
    DALinkAvailEvXmlData d;
    const void* const fields[] = {&d.access_network,         &d.threegpp.access_type, &d.threegpp.hplmn,
                                  &d.threegpp.utran_cell_id, &d.ieee.access_type,     &d.ieee.ap};
    for (std::size_t i = 1; i < sizeof fields / sizeof *fields; ++i)
        EXPECT_LT(place_of(fields[i - 1], &d), place_of(fields[i], &d)) << i;
    static_assert(same<decltype(d.threegpp), decltype(DALinkEvXmlData::coverage)>, "");
    static_assert(same<decltype(d.ieee), decltype(DALinkEvXmlData::ieee)>, "");
    DALinkEvXmlData event;
    event.ieee = d.ieee;
    event.coverage = d.threegpp;
    EXPECT_EQ(event.ieee.ap, "");
}

} // namespace
