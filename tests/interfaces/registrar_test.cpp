// The registrar client as daemons call it.
#include "registrar/IMS_LocalRegistrar.h"
#include "tests/interfaces/interface_checks.h"

namespace {

TEST(TheLocalRegistrarClient, OffersItsOperations)
{
    using R = IMS_LocalRegistrar;
    offers<void (*)(SIPLIB_SIPClientConnection*, std::string, std::string, int, std::string, RegUaXmlData*)>(
        &R::setup_message);
    offers<void (*)(RegUaXmlData*, std::string)>(&R::build_register_xml);
    offers<std::string (*)()>(&R::form_user_agent_header);
    offers<int (*)(const char*, char*, int)>(&R::get_mac_address);
    offers<void (*)(SIPLIB_SIPConnection*)>(&R::set_ims_server_ip_address_and_port);
}

TEST(TheLocalRegistrarClient, TakesACallersLiterals)
{
    IMS_LocalRegistrar::setup_message(nullptr, "<sip:a@h>", "internet", 60, "", nullptr);
    char mac[13];
    EXPECT_EQ(IMS_LocalRegistrar::get_mac_address("lo", mac, sizeof mac), 0);
    EXPECT_STREQ(mac, "000000000000");
}

} // namespace
