// Programs derive mocks from the platform classes and reach them through the shared libraries.
#include "core/IMS_User_Agent.h"
#include "messages/IMS_NotifyDALinkAvailEv.h"
#include "messages/IMS_NotifyDALinkEv.h"
#include "subscriptions/IMS_address.h"
#include "tests/interfaces/interface_checks.h"

#include <typeinfo>
#include <vector>

namespace {

struct MockConnection : SIPLIB_SIPClientConnection {
    int send() override
    {
        steps.push_back("send");
        return SIPLIB_OK;
    }
    int receive() override
    {
        steps.push_back("receive");
        return SIPLIB_OK;
    }
    int setHeader(const char* name, const char*) override
    {
        steps.push_back(name);
        return SIPLIB_OK;
    }
    std::vector<std::string> steps;
};
struct MockServerConnection : SIPLIB_SIPServerConnection {
    int getBody(char* buf, int& len) override
    {
        len = static_cast<int>(body.copy(buf, static_cast<std::size_t>(len)));
        return SIPLIB_OK;
    }
    std::string body;
};
struct MockDialog : SIPLIB_SIPDialog {
    int send() override { return 71; }
    int receive() override { return 72; }
};
struct MockNotifier : SIPLIB_SIPNotifier {};

// ---- what a mock leaves out ----

TEST(AMock, IsUnsupportedWhereItOverridesNothing)
{
    struct Nothing : SIPLIB_SIPClientConnection {
    } mock;
    char buf[4] = "abc";
    int number = 3;
    EXPECT_EQ(mock.send(), SIPLIB_ERR_UNSUPPORTED);
    EXPECT_EQ(mock.receive(), SIPLIB_ERR_UNSUPPORTED);
    EXPECT_EQ(mock.close(), SIPLIB_ERR_UNSUPPORTED);
    EXPECT_EQ(mock.getHeader("To", buf, number), SIPLIB_ERR_UNSUPPORTED);
    EXPECT_EQ(mock.getBody(buf, number), SIPLIB_ERR_UNSUPPORTED);
    EXPECT_EQ(mock.setBody("x", 1), SIPLIB_ERR_UNSUPPORTED);
    EXPECT_EQ(mock.getMethod(buf, 4), SIPLIB_ERR_UNSUPPORTED);
    EXPECT_EQ(mock.getResponseCode(number), SIPLIB_ERR_UNSUPPORTED);
    EXPECT_EQ(mock.initRequest("X"), SIPLIB_ERR_UNSUPPORTED);
    EXPECT_EQ(mock.initResponse(200), SIPLIB_ERR_UNSUPPORTED);
    EXPECT_EQ(mock.setImsServerAddress(ImsServerAddress()), SIPLIB_ERR_UNSUPPORTED);
    EXPECT_EQ(mock.setListener(nullptr), SIPLIB_ERR_UNSUPPORTED);
    EXPECT_EQ(mock.getDialog(), nullptr);
    EXPECT_STREQ(buf, "abc");
    EXPECT_EQ(number, 3);
}

TEST(AMock, SaysWhatItIs)
{
    MockConnection client;
    MockServerConnection server;
    MockDialog dialog;
    MockNotifier notifier;
    SIPLIB_SIPObject* const objects[] = {&client, &server, &dialog, &notifier};
    EXPECT_EQ(objects[0]->asClientConnection(), &client);
    EXPECT_EQ(objects[0]->asConnection(), &client);
    EXPECT_EQ(objects[1]->asConnection(), &server);
    EXPECT_EQ(objects[1]->asClientConnection(), nullptr);
    EXPECT_EQ(objects[2]->asDialog(), &dialog);
    EXPECT_EQ(objects[2]->asConnection(), nullptr);
    EXPECT_EQ(objects[3]->asNotifier(), &notifier);
    EXPECT_EQ(objects[3]->asDialog(), nullptr);
    EXPECT_EQ(notifier.acceptAndOpen(), nullptr);
    EXPECT_EQ(notifier.acceptAndOpen(&dialog), nullptr);
    EXPECT_EQ(dialog.newRequest("BYE"), nullptr);
}

// ---- virtual tables ----

using Operation = int(void*);

TEST(AMock, HasSendAndReceiveAsItsSecondAndThirdOperations)
{
    MockConnection connection;
    MockDialog dialog;
    EXPECT_EQ(table_entry<Operation>(&connection, 2)(&connection), SIPLIB_OK);
    EXPECT_EQ(table_entry<Operation>(&connection, 3)(&connection), SIPLIB_OK);
    EXPECT_EQ(connection.steps, (std::vector<std::string>{"send", "receive"}));
    EXPECT_EQ(table_entry<Operation>(&dialog, 2)(&dialog), 71);
    EXPECT_EQ(table_entry<Operation>(&dialog, 3)(&dialog), 72);
}

struct Other {
    virtual ~Other() = default;
    int more = 5;
};
struct MockOfSeveralBases : SIPLIB_SIPClientConnection, Other {};

TEST(AMock, KeepsItsAddressOnTheRoadThroughTheQueue)
{
    MockOfSeveralBases mock;
    SIPLIB_SIPConnection* const connection = &mock;
    SIPLIB_SIPObject* const object = &mock;
    EXPECT_EQ(static_cast<void*>(connection), static_cast<void*>(&mock));
    EXPECT_EQ(static_cast<void*>(object), static_cast<void*>(&mock));
}

struct Heard : SIPLIB_SIPClientConnectionListener,
               SIPLIB_SIPServerConnectionListener,
               SIPLIB_SIPDialogListener {
    void notifyResponse(SIPLIB_SIPClientConnection* conn) override { response = conn; }
    void notifyRequest(SIPLIB_SIPNotifier* from) override { notifier = from; }
    void notifyIncomingMessage(SIPLIB_SipUaInfo info) override { method = info.method; }
    void notifyRequest(SIPLIB_SIPNotifier* from, SIPLIB_SIPDialog* in) override
    {
        notifier = from;
        dialog = in;
    }
    SIPLIB_SIPClientConnection* response = nullptr;
    SIPLIB_SIPNotifier* notifier = nullptr;
    SIPLIB_SIPDialog* dialog = nullptr;
    std::string method;
};

TEST(AListenerBase, HasItsOperationsBehindTheDestructor)
{
    Heard heard;
    MockConnection connection;
    MockNotifier notifier;
    MockDialog dialog;
    SIPLIB_SIPClientConnectionListener* const client = &heard;
    SIPLIB_SIPServerConnectionListener* const server = &heard;
    SIPLIB_SIPDialogListener* const in_dialog = &heard;
    table_entry<void(void*, void*)>(client, 2)(client, &connection);
    EXPECT_EQ(heard.response, &connection);
    table_entry<void(void*, void*)>(server, 2)(server, &notifier);
    EXPECT_EQ(heard.notifier, &notifier);
    SIPLIB_SipUaInfo info;
    info.method = "BYE";
    table_entry<void(void*, SIPLIB_SipUaInfo)>(in_dialog, 2)(in_dialog, info);
    EXPECT_EQ(heard.method, "BYE");
    table_entry<void(void*, void*, void*)>(in_dialog, 3)(in_dialog, nullptr, &dialog);
    EXPECT_EQ(heard.dialog, &dialog);
}

// ---- through the libraries ----

struct MockConnector : SIPLIB_SIPConnector {
    using SIPLIB_SIPConnector::open;
    SIPLIB_SIPObject* open(const char*, const char*) override { return opened; }
    SIPLIB_SIPObject* opened = nullptr;
};

TEST(AMockConnector, StandsInForEveryPlainConnector)
{
    MockConnector mock;
    MockConnection connection;
    mock.opened = &connection;
    EXPECT_EQ(SIPLIB_SIPConnector::setOverride(&mock), nullptr);
    SIPLIB_SIPObject* const opened =
        IMS_User_Agent::conn_open(IMS_User_Agent::__ua_connector, "sip:a@127.0.0.1", "sip:b@127.0.0.1");
    EXPECT_EQ(SIPLIB_SIPConnector::setOverride(nullptr), &mock);
    EXPECT_EQ(dynamic_cast<MockConnection*>(opened), &connection);
    EXPECT_EQ(dynamic_cast<SIPLIB_SIPNotifier*>(opened), nullptr);
}

// A form that the mock leaves to the base class does not come back to the mock for ever.
TEST(AMockConnector, MayLeaveFormsToTheBaseClass)
{
    MockConnector mock;
    SIPLIB_SIPConnector::setOverride(&mock);
    EXPECT_EQ(mock.open(nullptr, nullptr, 0, nullptr, 0), nullptr);
    EXPECT_EQ(mock.open(nullptr, nullptr, nullptr), nullptr);
    SIPLIB_SIPConnector::setOverride(nullptr);
    SIPLIB_SIPStop();
}

TEST(TheDocumentOfAReceivedMessage, IsKnownByItsClassOutsideTheLibrary)
{
    MockServerConnection connection;
    connection.body = "<link-info><profile-info><name>internet</name></profile-info></link-info>";
    const IMS_NotifyDALinkEv event(&connection);
    const IMS_NotifyDALinkAvailEv available(&connection);
    const auto* const document = dynamic_cast<DALinkEvXmlData*>(event.body);
    ASSERT_NE(document, nullptr);
    EXPECT_EQ(document->name, "internet");
    EXPECT_EQ(typeid(*event.body), typeid(DALinkEvXmlData));
    EXPECT_NE(dynamic_cast<DALinkAvailEvXmlData*>(available.body), nullptr);
    EXPECT_EQ(dynamic_cast<DALinkEvXmlData*>(available.body), nullptr);
}

struct MockAddress : SIPLIB_SIPAddress {
    int getDisplayName(std::string&) const override { return 1; }
    int getScheme(std::string&) const override { return 1; }
    int toString(std::string&) const override { return 1; }
    int getPort(int& port) const override
    {
        port = 4711;
        return SIPLIB_OK;
    }
    int getParameter(const std::string&, std::string&) const override { return 1; }
    int setParameter(const std::string&, const std::string&) override { return 1; }
    int getHost(std::string& host) const override
    {
        host = "mocked";
        return SIPLIB_OK;
    }
    int getURI(std::string&) const override { return 1; }
    int getUser(std::string&) const override { return 1; }
    static SIPLIB_SIPAddress* make(const std::string&, const std::string&) { return new MockAddress; }
};

TEST(AMockAddress, IsMadeInsteadOfTheParsersOwnUntilNullRestoresIt)
{
    SIPLIB_SIPAddress::setFactory(&MockAddress::make);
    EXPECT_EQ(IMS_address::get_element("host", "Contact", "<sip:a@real>"), "mocked");
    EXPECT_EQ(IMS_address::get_port("Contact", "*"), 4711);
    EXPECT_EQ(SIPLIB_SIPAddress::setFactory(nullptr), &MockAddress::make);
    EXPECT_EQ(IMS_address::get_element("host", "Contact", "<sip:a@real>"), "real");
}

struct MockStore : SIP_IMS_cfg_intf {
    int get_one(const std::string&, std::string& value, const std::string& document) override
    {
        value = document;
        return 9;
    }
    int get_many(std::vector<SIP_IMS_CFG_TAG_VALUE_T>&, const std::string&) override { return 0; }
    int set_one(const std::string&, const std::string&, const std::string&) override { return 0; }
    int wait_for_sync() override { return 0; }
};

TEST(AMockStore, IsAssignedToTheAgentsPointer)
{
    MockStore store;
    std::string value;
    IMS_User_Agent::__ua_fwk_intf = &store;
    EXPECT_EQ(IMS_User_Agent::get_xml_parameter("/a", value, "config"), 9);
    IMS_User_Agent::__ua_fwk_intf = nullptr;
    EXPECT_EQ(value, "config");
}

} // namespace
