// The documents: their fields, their tables and what a document of a daemon's own derives from.
#include "include/imsua.h"
#include "tests/interfaces/interface_checks.h"

#include <initializer_list>
#include <libxml/parser.h>
#include <memory>
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
    offers<void (DAMessageXmlData::*)(const std::string&)>(&DAMessageXmlData::parse_proxy_list);
    offers<int (RegXmlData::*)(xmlNode*)>(&RegXmlData::getValues);
    offers<void (RegXmlData::*)(xmlNode*, std::string&, int&, bool&)>(&RegXmlData::get_reg_info);
    offers<void (RegXmlData::*)(xmlNode*, std::string&)>(&RegXmlData::get_uri);
}

// A document that a program makes, hands around as its base and destroys as such; parses, and encodes or not.
template <typename Document>
void expect_document(int encoded)
{
    static_assert(std::is_base_of<XmlData, Document>::value, "");
    static_assert(!std::is_copy_constructible<Document>::value, "");
    static_assert(!std::is_copy_assignable<Document>::value, "");
    const std::unique_ptr<XmlData> document(new Document);
    EXPECT_EQ(document->parseXml(), -1); // no buffer
    EXPECT_EQ(document->encodeXml(), encoded);
}

TEST(ADocument, ParsesAndEncodesAsItsKindDoes)
{
    expect_document<DALinkEvXmlData>(0);
    expect_document<DALinkAvailEvXmlData>(0);
    expect_document<DAMessageXmlData>(0);
    expect_document<IMSSetRouteXml>(0);
    expect_document<IMSComponentPackageInfo>(0);
    expect_document<RegUaXmlData>(0);
    expect_document<NotifyUaXmlData>(0);
    expect_document<AppToRegUaXmlData>(0);
    expect_document<RegistrarToRegUaXmlData>(-1); // received, never sent
    expect_document<RegUaNotifyData>(-1);
    expect_document<RegXmlData>(-1);
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
    expect_buffers_first<DAMessageXmlData>();
    expect_buffers_first<IMSSetRouteXml>();
    expect_buffers_first<IMSComponentPackageInfo>();
    expect_buffers_first<RegUaXmlData>();
    expect_buffers_first<NotifyUaXmlData>();
    expect_buffers_first<AppToRegUaXmlData>();
    expect_buffers_first<RegistrarToRegUaXmlData>();
    expect_buffers_first<RegUaNotifyData>();
    expect_buffers_first<RegXmlData>();
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

// All of one type, public, and one after the other.
template <typename Document, typename Type>
void expect_in_order(std::initializer_list<Type Document::*> fields)
{
    Document d;
    const void* before = &d.buffer_length;
    for (const auto field : fields) {
        EXPECT_LT(place_of(before, &d), place_of(&(d.*field), &d));
        before = &(d.*field);
    }
}

TEST(TheRegistrationDocuments, HaveTheirTextsInOrder)
{
    using A = RegUaXmlData;
    expect_in_order<A, std::string>({&A::aor, &A::name, &A::methods, &A::content_type, &A::events,
                                     &A::header_name, &A::header_value, &A::ua_section});
    expect_in_order<A, std::vector<std::string>>({&A::spare_list_a, &A::spare_list_b});
    using B = RegistrarToRegUaXmlData;
    expect_in_order<B, std::string>(
        {&B::name, &B::kiv_profile_id, &B::action, &B::napi_profile_name, &B::aor, &B::reg_expiry, &B::impi,
         &B::impu, &B::registrar_address, &B::registrar_realm, &B::domain_name, &B::disc_pref, &B::dns_realm,
         &B::ip_address, &B::ue_sip_port, &B::max_attempts, &B::interval, &B::id});
    using C = NotifyUaXmlData;
    expect_in_order<C, std::string>(
        {&C::name, &C::ip_address, &C::access_network, &C::reg_status, &C::spare_a, &C::spare_b});
    using D = AppToRegUaXmlData;
    expect_in_order<D, std::string>({&D::request_type, &D::error, &D::diagnostic});
    using E = RegUaNotifyData;
    expect_in_order<E, std::string>({&E::registration, &E::aor, &E::spare_a, &E::spare_b, &E::contact,
                                     &E::spare_c, &E::event, &E::state, &E::duration_registered, &E::uri,
                                     &E::xmlns, &E::version, &E::spare_d});
}

TEST(TheRegistrationState, HasItsFieldsInOrder)
{
    RegXmlData d;
    const void* const fields[] = {&d.aors, &d.states, &d.expires_list, &d.match_uri, &d.reginfo_state};
    for (std::size_t i = 1; i < sizeof fields / sizeof *fields; ++i)
        EXPECT_LT(place_of(fields[i - 1], &d), place_of(fields[i], &d)) << i;
    static_assert(same<decltype(d.aors), std::vector<std::string>>, "");
    static_assert(same<decltype(d.states), std::vector<std::string>>, "");
    static_assert(same<decltype(d.expires_list), std::vector<int>>, "");
    static_assert(same<decltype(d.match_uri), std::string> && same<decltype(d.reginfo_state), std::string>,
                  "");
}

TEST(TheProxyDocuments, HaveTheirFieldsInOrder)
{
    DAMessageXmlData d;
    const void* const fields[] = {
        &d.name,      &d.profile_id, &d.link_reference, &d.action,     &d.napi_profile_name,
        &d.disc_pref, &d.dns_realm,  &d.dns_services,   &d.ip_address, &d.proxy_list};
    for (std::size_t i = 1; i < sizeof fields / sizeof *fields; ++i)
        EXPECT_LT(place_of(fields[i - 1], &d), place_of(fields[i], &d)) << i;
    static_assert(
        same<decltype(d.profile_id), std::int32_t> && same<decltype(d.link_reference), std::int32_t>, "");
    static_assert(same<decltype(d.proxy_list), std::vector<IMS_DA_PROXY_INFO>>, "");
    EXPECT_EQ(d.profile_id, 0);
    EXPECT_EQ(d.link_reference, 0);
    using R = IMSSetRouteXml;
    expect_in_order<R, std::string>({&R::profile_id, &R::action, &R::name, &R::ip_address, &R::ue_sip_port});
    static_assert(same<decltype(IMSComponentPackageInfo::package_info), std::string>, "");
}

} // namespace
