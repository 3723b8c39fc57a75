#include "subscriptions/IMS_address.h"
#include "tests/subscriptions/fake_address.h"

#include <gtest/gtest.h>

namespace {

using Texts = std::vector<std::string>;

const char* const contact = "\"Ann Lee\" <sip:ann@host.example.com:5071;transport=tcp;lr>;q=0.5";

// ---- on the library's own parser ----

TEST(AnAddressValue, GivesEachOfItsElements)
{
    EXPECT_EQ(IMS_address::get_element("displayname", "Contact", contact), "Ann Lee");
    EXPECT_EQ(IMS_address::get_element("host", "Contact", contact), "host.example.com");
    EXPECT_EQ(IMS_address::get_element("uri", "Contact", contact),
              "sip:ann@host.example.com:5071;transport=tcp;lr");
    EXPECT_EQ(IMS_address::get_element("scheme", "Contact", contact), "sip");
    EXPECT_EQ(IMS_address::get_element("user", "Contact", contact), "ann");
    EXPECT_EQ(IMS_address::get_element("tostring", "Contact", contact), contact);
}

TEST(AnAddressValue, HasNoOtherElements)
{
    for (const char* element : {"Host", "HOST", "port", "", "host ", "hostname"})
        EXPECT_EQ(IMS_address::get_element(element, "Contact", contact), "") << element;
}

TEST(AnAddressValue, GivesItsParameters)
{
    EXPECT_EQ(IMS_address::get_parameter("transport", "Contact", contact), "tcp");
    EXPECT_EQ(IMS_address::get_parameter("q", "Contact", contact), "0.5");
    EXPECT_EQ(IMS_address::get_parameter("lr", "Contact", contact), "") << "present without a value";
    EXPECT_EQ(IMS_address::get_parameter("transport", "Contact", "<sip:ann@h>"), "");
}

TEST(AnAddressValue, GivesItsPort)
{
    EXPECT_EQ(IMS_address::get_port("Contact", contact), 5071);
    EXPECT_EQ(IMS_address::get_port("Contact", "<sip:ann@h>"), 5060);
    EXPECT_EQ(IMS_address::get_port("Route", "<sips:ann@h>"), 5061);
}

TEST(AValueThatIsNoAddress, GivesNothingAndPort0)
{
    for (const char* value : {"", "  ", "*", "<>", "sip:", "<sip:a@h", "no address"}) {
        EXPECT_EQ(IMS_address::get_element("host", "Contact", value), "") << value;
        EXPECT_EQ(IMS_address::get_element("tostring", "Contact", value), "") << value;
        EXPECT_EQ(IMS_address::get_parameter("transport", "Contact", value), "") << value;
        EXPECT_EQ(IMS_address::get_port("Contact", value), 0) << value;
    }
}

// ---- what is asked of the parser ----

class Asking : public testing::Test {
protected:
    ~Asking() override { EXPECT_EQ(addresses.alive, 0) << "every address is deleted"; }
    FakeAddresses addresses;
};

TEST_F(Asking, ForAnElementCallsItsGetterOnce)
{
    const char* const elements[][2] = {{"displayname", "name"}, {"host", "host"}, {"uri", "uri"},
                                       {"scheme", "scheme"},    {"user", "user"}, {"tostring", "whole"}};
    for (const auto& element : elements) {
        addresses.asked.clear();
        EXPECT_EQ(IMS_address::get_element(element[0], "Route", "v"), std::string("the ") + element[1]);
        EXPECT_EQ(addresses.asked, (Texts{"Route=v", element[1]}));
    }
}

TEST_F(Asking, ForAnUnknownElementCallsNoGetter)
{
    EXPECT_EQ(IMS_address::get_element("Host", "Route", "v"), "");
    EXPECT_EQ(addresses.asked, (Texts{"Route=v"}));
}

TEST_F(Asking, DropsWhatAFailingGetterWrote)
{
    addresses.status = 104;
    EXPECT_EQ(IMS_address::get_element("host", "Route", "v"), "");
    EXPECT_EQ(IMS_address::get_parameter("transport", "Route", "v"), "");
    EXPECT_EQ(IMS_address::get_port("Route", "v"), -1);
    EXPECT_EQ(addresses.asked,
              (Texts{"Route=v", "host", "Route=v", "parameter transport", "Route=v", "port"}));
}

TEST_F(Asking, ForAPortGivesWhatTheGetterWrote)
{
    for (int port : {5060, 0, -1, 70000}) {
        addresses.port = port;
        EXPECT_EQ(IMS_address::get_port("Route", "v"), port);
    }
}

TEST_F(Asking, ForAPortThatTheGetterDoesNotWriteGivesMinus1)
{
    addresses.writes_port = false;
    EXPECT_EQ(IMS_address::get_port("Route", "v"), -1);
}

TEST_F(Asking, StopsAtAFactoryThatGivesNull)
{
    addresses.is_address = false;
    EXPECT_EQ(IMS_address::get_element("host", "Route", "v"), "");
    EXPECT_EQ(IMS_address::get_parameter("transport", "Route", "v"), "");
    EXPECT_EQ(IMS_address::get_port("Route", "v"), 0);
    EXPECT_EQ(addresses.asked, (Texts{"Route=v", "Route=v", "Route=v"}));
}

} // namespace
