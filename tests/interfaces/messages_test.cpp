// The message classes as daemons build and read them.
#include "messages/IMS_DAMessage.h"
#include "messages/IMS_Message.h"
#include "messages/IMS_MessageMsg.h"
#include "messages/IMS_Notify.h"
#include "messages/IMS_NotifyDALinkAvailEv.h"
#include "messages/IMS_NotifyDALinkEv.h"
#include "messages/IMS_NotifyReg.h"
#include "messages/IMS_ProxyMessage.h"
#include "messages/IMS_RegPackageInfo.h"
#include "messages/IMS_SubsDALinkAvailEv.h"
#include "messages/IMS_SubsDALinkEv.h"
#include "messages/IMS_SubsReg.h"
#include "messages/IMS_Subscribe.h"
#include "messages/IMS_reg_message.h"
#include "tests/interfaces/interface_checks.h"

#include <type_traits>

namespace {

using Client = SIPLIB_SIPClientConnection*;
using Server = SIPLIB_SIPConnection*;
using Chars = const char*;
using Text = const std::string&;

template <typename Class, typename... Arguments>
constexpr bool made_of = std::is_constructible<Class, Arguments...>::value;

// ---- constructors ----

static_assert(made_of<IMS_Message, Client, Chars, Chars, Chars, Chars, Chars>, "");
static_assert(made_of<IMS_Message, Client, Chars, Text, Text, Text, Text>, "");
static_assert(made_of<IMS_Notify, Client, Chars, Chars, Chars, Chars, Chars, XmlData*, Chars, int, int>, "");
static_assert(made_of<IMS_MessageMsg, Client, Chars, Chars, Chars, XmlData*>, "");
static_assert(made_of<IMS_reg_message, Client, Chars, Chars, Chars, Chars, XmlData*>, "");
static_assert(made_of<IMS_NotifyDALinkEv, Client, Chars, Chars, Chars, DALinkEvXmlData*, int>, "");
static_assert(made_of<IMS_NotifyDALinkEv, Client, Text, Text, Text, DALinkEvXmlData*, int>, "");
static_assert(made_of<IMS_NotifyDALinkAvailEv, Client, Chars, Chars, Chars, DALinkAvailEvXmlData*>, "");
static_assert(made_of<IMS_NotifyDALinkAvailEv, Client, Text, Text, Text, DALinkAvailEvXmlData*>, "");
static_assert(made_of<IMS_NotifyReg, Client, Chars, Chars, Chars, NotifyUaXmlData*>, "");
static_assert(made_of<IMS_NotifyReg, Client, Text, Text, Text, NotifyUaXmlData*>, "");
static_assert(made_of<IMS_NotifyReg, Server, bool>, "");
static_assert(made_of<IMS_ProxyMessage, Client, Chars, Chars, IMSSetRouteXml*>, "");
static_assert(made_of<IMS_ProxyMessage, Client, Text, Text, IMSSetRouteXml*>, "");
static_assert(made_of<IMS_DAMessage, Client, Chars, Chars, DAMessageXmlData*>, "");
static_assert(made_of<IMS_DAMessage, Client, Text, Text, DAMessageXmlData*>, "");
static_assert(made_of<IMS_RegPackageInfo, Client, Chars, Chars, Chars, IMSComponentPackageInfo*>, "");
static_assert(made_of<IMS_RegPackageInfo, Client, Text, Text, Text, IMSComponentPackageInfo*>, "");
static_assert(made_of<IMS_Subscribe, Client, Chars, Chars, Chars, Chars, int, Chars, int>, "");
static_assert(made_of<IMS_Subscribe, Client, Text, Text, Text, Chars, int, Text, int>, "");
static_assert(made_of<IMS_SubsReg, Client, Chars, Chars, Chars>, "");
static_assert(made_of<IMS_SubsReg, Client, Text, Text, Text>, "");
static_assert(made_of<IMS_SubsDALinkEv, Client, Chars, Chars, Chars>, "");
static_assert(made_of<IMS_SubsDALinkEv, Client, std::string, std::string, std::string>, "");
static_assert(made_of<IMS_SubsDALinkAvailEv, Client, Chars, Chars, Chars, int>, "");
static_assert(made_of<IMS_SubsDALinkAvailEv, Client, std::string, std::string, std::string, int>, "");

// Only the wrong document's kind is refused; char* of older callers is a text.
static_assert(!made_of<IMS_NotifyDALinkEv, Client, Chars, Chars, Chars, DALinkAvailEvXmlData*, int>, "");
static_assert(made_of<IMS_SubsReg, Client, char*, char*, char*>, "");

template <typename Class>
constexpr bool read_from_a_connection =
    made_of<Class, Server> && !std::is_convertible<Server, Class>::value &&
    !std::is_copy_constructible<Class>::value && !std::is_copy_assignable<Class>::value &&
    std::has_virtual_destructor<Class>::value;

static_assert(read_from_a_connection<IMS_Message> && read_from_a_connection<IMS_Notify>, "");
static_assert(read_from_a_connection<IMS_reg_message> && read_from_a_connection<IMS_RegPackageInfo>, "");
static_assert(read_from_a_connection<IMS_ProxyMessage> && read_from_a_connection<IMS_DAMessage>, "");
static_assert(!made_of<IMS_NotifyReg, Server>, "which document it reads is the caller's to say");
static_assert(read_from_a_connection<IMS_MessageMsg> && read_from_a_connection<IMS_Subscribe>, "");
static_assert(read_from_a_connection<IMS_NotifyDALinkEv> && read_from_a_connection<IMS_NotifyDALinkAvailEv>,
              "");

// ---- operations ----

TEST(AMessage, OffersItsOperations)
{
    using M = IMS_Message;
    offers<bool (M::*)()>(&M::send);
    offers<bool (M::*)()>(&M::receive);
    offers<bool (M::*)(Chars, char*, int)>(&M::get_header);
    offers<bool (M::*)(Chars, Chars)>(&M::set_header);
    offers<bool (M::*)(Chars, Chars)>(&M::add_header);
    offers<bool (M::*)(Chars)>(&M::remove_header);
    offers<bool (M::*)(char*, int&)>(&M::get_body);
    offers<bool (M::*)(Chars, int)>(&M::set_body);
    offers<int (M::*)()>(&M::get_response);
    offers<bool (M::*)(int)>(&M::init_response);
    offers<bool (M::*)(Chars)>(&M::init_request);
    offers<bool (M::*)(Chars)>(&M::is_method);
    offers<bool (M::*)(char*)>(&M::get_method);
    offers<bool (M::*)(char*, int)>(&M::get_method);
    offers<bool (M::*)(Chars)>(&M::set_method);
    offers<bool (M::*)(Chars)>(&M::set_request_uri);
    offers<bool (*)(Chars, Chars)>(&M::is_method_name);
    offers<void (M::*)(Chars, Chars, Chars, Chars)>(&M::set_addr_header);
    static_assert(std::is_same<decltype(M::connection), Server>::value, "public");
}

TEST(AMessage, OfEachKindOffersItsOwn)
{
    offers<bool (IMS_Notify::*)()>(&IMS_Notify::send);
    offers<void (IMS_Notify::*)()>(&IMS_Notify::parse);
    offers<bool (IMS_MessageMsg::*)()>(&IMS_MessageMsg::send);
    offers<void (IMS_MessageMsg::*)()>(&IMS_MessageMsg::parse);
    offers<bool (IMS_reg_message::*)()>(&IMS_reg_message::send);
    offers<void (IMS_reg_message::*)()>(&IMS_reg_message::parse);
    offers<void (IMS_Subscribe::*)(Chars)>(&IMS_Subscribe::set_event);
    offers<void (IMS_Subscribe::*)(int)>(&IMS_Subscribe::set_expires);
    offers<void (IMS_Subscribe::*)(int)>(&IMS_Subscribe::set_profile);
}

// ---- layout: connection, then the document, then the byte that says whose it is ----

template <typename Message>
void expect_layout_of_a_carrier()
{
    static_assert(std::is_same<decltype(Message::body), XmlData*>::value, "");
    static_assert(std::is_same<decltype(Message::is_outgoing), bool>::value && sizeof(bool) == 1, "one byte");
    const Message message(static_cast<Server>(nullptr));
    EXPECT_EQ(place_of(&message.connection, &message), sizeof(void*));
    EXPECT_EQ(place_of(&message.body, &message), 2 * sizeof(void*));
    EXPECT_EQ(place_of(&message.is_outgoing, &message), 3 * sizeof(void*));
}

TEST(AMessage, LaysItsFieldsOutInOrder)
{
    expect_layout_of_a_carrier<IMS_Notify>();
    expect_layout_of_a_carrier<IMS_MessageMsg>();
    expect_layout_of_a_carrier<IMS_reg_message>();
    static_assert(sizeof(IMS_Subscribe) == sizeof(IMS_Message) && sizeof(IMS_SubsReg) == sizeof(IMS_Message),
                  "");
    static_assert(sizeof(IMS_SubsDALinkEv) == sizeof(IMS_Message), "");
    static_assert(sizeof(IMS_SubsDALinkAvailEv) == sizeof(IMS_Message), "");
    static_assert(sizeof(IMS_NotifyDALinkEv) == sizeof(IMS_Notify), "");
    static_assert(sizeof(IMS_NotifyDALinkAvailEv) == sizeof(IMS_Notify), "");
    static_assert(sizeof(IMS_NotifyReg) == sizeof(IMS_Notify), "");
    static_assert(sizeof(IMS_ProxyMessage) == sizeof(IMS_MessageMsg), "");
    static_assert(sizeof(IMS_DAMessage) == sizeof(IMS_MessageMsg), "");
    static_assert(sizeof(IMS_RegPackageInfo) == sizeof(IMS_reg_message), "");
    static_assert(sizeof(IMS_Message) == 2 * sizeof(void*), "");
}

// ---- virtual tables ----

struct Steps : SIPLIB_SIPClientConnection {
    int send() override
    {
        steps += "send ";
        return SIPLIB_OK;
    }
    int receive() override
    {
        steps += "receive ";
        return SIPLIB_OK;
    }
    std::string steps;
};

template <typename Message, typename... Arguments>
void expect_send_and_receive(Arguments... arguments)
{
    Steps connection;
    Message message(&connection, arguments...);
    EXPECT_TRUE(table_entry<bool(void*)>(&message, 2)(&message));
    EXPECT_TRUE(table_entry<bool(void*)>(&message, 3)(&message));
    EXPECT_EQ(connection.steps, "send receive ");
}

TEST(AMessage, HasSendAndReceiveAsItsSecondAndThirdOperations)
{
    const char* const a = "<sip:a@h>";
    DALinkEvXmlData* const no_event = nullptr;
    DALinkAvailEvXmlData* const no_state = nullptr;
    NotifyUaXmlData* const no_status = nullptr;
    IMSSetRouteXml* const no_route = nullptr;
    DAMessageXmlData* const no_proxy = nullptr;
    IMSComponentPackageInfo* const no_package = nullptr;
    XmlData* const nothing = nullptr;
    expect_send_and_receive<IMS_Message>("OPTIONS", a, a, a, a);
    expect_send_and_receive<IMS_Notify>(a, a, a, "e", "t", nothing, "active", 0, 0);
    expect_send_and_receive<IMS_MessageMsg>(a, a, "t", nothing);
    expect_send_and_receive<IMS_reg_message>(a, a, a, "t", nothing);
    expect_send_and_receive<IMS_NotifyDALinkEv>(a, a, a, no_event, 1);
    expect_send_and_receive<IMS_NotifyDALinkAvailEv>(a, a, a, no_state);
    expect_send_and_receive<IMS_NotifyReg>(a, a, a, no_status);
    expect_send_and_receive<IMS_ProxyMessage>(a, a, no_route);
    expect_send_and_receive<IMS_DAMessage>(a, a, no_proxy);
    expect_send_and_receive<IMS_RegPackageInfo>(a, a, a, no_package);
    expect_send_and_receive<IMS_Subscribe>(a, a, a, "e", 0, a, 0);
    expect_send_and_receive<IMS_SubsReg>(a, a, a);
    expect_send_and_receive<IMS_SubsDALinkEv>(a, a, a);
    expect_send_and_receive<IMS_SubsDALinkAvailEv>(a, a, a, 1);
}

// ---- texts as callers hold them ----

TEST(AMessage, TakesLiteralsNullsCharactersAndStrings)
{
    const Client none = nullptr;
    char chars[] = "<sip:a@h>";
    std::string text = chars;
    DALinkEvXmlData event;
    const IMS_Message literals(none, "NOTIFY", "a", "b", "c", "d");
    const IMS_Message nulls(none, "NOTIFY", nullptr, nullptr, nullptr, nullptr);
    const IMS_Message strings(none, chars, text, text, text, text);
    const IMS_Message mixed(none, "NOTIFY", text, "b", chars, "");
    const IMS_NotifyDALinkEv notify_of_nulls(none, nullptr, nullptr, nullptr, nullptr, 0);
    const IMS_NotifyDALinkEv notify_of_strings(none, text, text, "", &event, 0);
    const IMS_NotifyDALinkAvailEv availability(none, chars, chars, chars, nullptr);
    const IMS_NotifyReg registration(none, text, chars, "", nullptr);
    const IMS_ProxyMessage route(none, nullptr, nullptr, nullptr);
    const IMS_DAMessage discovery(none, text, text, nullptr);
    const IMS_RegPackageInfo package(none, chars, text, "c", nullptr);
    const IMS_Subscribe subscribe(none, text, text, text, chars, 0, text, 0);
    const IMS_SubsReg by_reference(none, text, text, text);
    const IMS_SubsDALinkEv by_value(none, text, text, text);
    const IMS_SubsDALinkAvailEv of_nulls(none, nullptr, nullptr, nullptr, 0);
    EXPECT_EQ(by_value.connection, nullptr);
    EXPECT_EQ(notify_of_strings.body, &event);
}

} // namespace
