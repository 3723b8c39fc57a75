#include "core/IMS_UA_SipClientConnListener.h"
#include "core/IMS_UA_SipDialogListener.h"
#include "core/IMS_UA_SipServerConnListener.h"
#include "tests/core/sip_fakes.h"
#include "tests/core/test_agent.h"
#include "tests/support/log_records.h"

#include <gtest/gtest.h>

namespace {

using Records = std::vector<LogRecord>;

class AListener : public testing::Test {
protected:
    // What the agent was given, after one turn of its loop.
    TestAgent::Event delivered()
    {
        agent.process_one_message();
        return agent.events.back();
    }
    LogRecords log;
    TestAgent agent;
    FakeClientConnection response;
    FakeServerConnection request;
    FakeDialog dialog;
    FakeNotifier notifier;
};

using AClientListener = AListener;
using AServerListener = AListener;
using ADialogListener = AListener;

TEST_F(AClientListener, QueuesTheResponse)
{
    IMS_UA_SipClientConnListener(&agent).notifyResponse(&response);
    EXPECT_EQ(response.receives, 0) << "receiving is the main loop's";
    const auto event = delivered();
    EXPECT_EQ(event.kind, MSG_TYPE_SIP_RESPONSE);
    EXPECT_EQ(event.data, static_cast<SIPLIB_SIPConnection*>(&response));
    EXPECT_EQ(response.receives, 1);
    EXPECT_TRUE(log.of("notifyResponse").empty());
}

TEST_F(AClientListener, ReportsAMissingConnection)
{
    IMS_UA_SipClientConnListener(&agent).notifyResponse(nullptr);
    EXPECT_EQ(log.all(), (Records{{4, "notifyResponse", "Null client connection"}}));
    EXPECT_TRUE(agent.queue_.isEmpty());
}

TEST_F(AClientListener, ReportsAMissingAgentAndNothingElse)
{
    IMS_UA_SipClientConnListener listener(nullptr);
    listener.notifyResponse(&response);
    listener.notifyResponse(nullptr);
    const LogRecord wanted = {4, "notifyResponse", "Null user_agent"};
    EXPECT_EQ(log.all(), (Records{wanted, wanted}));
    EXPECT_EQ(response.receives, 0);
}

TEST_F(AServerListener, AcceptsARequestAndQueuesIt)
{
    notifier.accepted = &request;
    IMS_UA_SipServerConnListener(&agent).notifyRequest(&notifier);
    EXPECT_EQ(notifier.accepts, 1);
    const auto event = delivered();
    EXPECT_EQ(event.kind, MSG_TYPE_SIP_REQUEST);
    EXPECT_EQ(event.data, static_cast<SIPLIB_SIPConnection*>(&request));
    EXPECT_EQ(request.receives, 0) << "a request is there already";
    EXPECT_TRUE(log.of("notifyRequest").empty());
}

TEST_F(AServerListener, RejectsANullNotifierBeforeAnythingElse)
{
    IMS_UA_SipServerConnListener(&agent).notifyRequest(nullptr);
    IMS_UA_SipServerConnListener(nullptr).notifyRequest(nullptr);
    const LogRecord wanted = {4, "notifyRequest", "Null SIPNotifier"};
    EXPECT_EQ(log.all(), (Records{wanted, wanted}));
    EXPECT_TRUE(agent.queue_.isEmpty());
}

TEST_F(AServerListener, AcceptsEvenWithoutAnAgent)
{
    notifier.accepted = &request;
    IMS_UA_SipServerConnListener(nullptr).notifyRequest(&notifier);
    EXPECT_EQ(notifier.accepts, 1);
    EXPECT_EQ(log.all(), (Records{{4, "notifyRequest", "Null user_agent"}}));
}

TEST_F(AServerListener, ReportsThatNothingCouldBeAccepted)
{
    IMS_UA_SipServerConnListener(&agent).notifyRequest(&notifier);
    EXPECT_EQ(log.all(), (Records{{4, "notifyRequest", "Null server connection"}}));
    EXPECT_TRUE(agent.queue_.isEmpty());
}

TEST_F(AServerListener, ReportsOnlyTheMissingAgentWhenBothAreMissing)
{
    IMS_UA_SipServerConnListener(nullptr).notifyRequest(&notifier);
    EXPECT_EQ(log.all(), (Records{{4, "notifyRequest", "Null user_agent"}}));
}

TEST_F(ADialogListener, AcceptsInsideTheDialogAndQueuesAnOrdinaryRequest)
{
    notifier.accepted = &request;
    IMS_UA_SipDialogListener(&agent).notifyRequest(&notifier, &dialog);
    EXPECT_EQ(notifier.accepts, 0);
    EXPECT_EQ(notifier.dialogs, std::vector<SIPLIB_SIPDialog*>{&dialog});
    const auto event = delivered();
    EXPECT_EQ(event.kind, MSG_TYPE_SIP_REQUEST);
    EXPECT_EQ(event.data, static_cast<SIPLIB_SIPConnection*>(&request));
}

TEST_F(ADialogListener, RejectsANullNotifierBeforeAnythingElse)
{
    IMS_UA_SipDialogListener(nullptr).notifyRequest(nullptr, &dialog);
    EXPECT_EQ(log.all(), (Records{{4, "notifyRequest", "Null SIPNotifier"}}));
}

TEST_F(ADialogListener, AcceptsEvenWithoutAnAgent)
{
    notifier.accepted = &request;
    IMS_UA_SipDialogListener(nullptr).notifyRequest(&notifier, &dialog);
    EXPECT_EQ(notifier.dialogs.size(), 1u);
    EXPECT_EQ(log.all(), (Records{{4, "notifyRequest", "Null user_agent"}}));
}

TEST_F(ADialogListener, ReportsThatNothingCouldBeAccepted)
{
    IMS_UA_SipDialogListener(&agent).notifyRequest(&notifier, nullptr);
    EXPECT_EQ(notifier.dialogs, std::vector<SIPLIB_SIPDialog*>{nullptr});
    EXPECT_EQ(log.all(), (Records{{4, "notifyRequest", "Null server connection"}}));
}

TEST_F(ADialogListener, IgnoresTheNewsOfAMessage)
{
    IMS_UA_SipDialogListener listener(&agent);
    static_cast<SIPLIB_SIPDialogListener&>(listener).notifyIncomingMessage(SIPLIB_SipUaInfo());
    EXPECT_TRUE(agent.queue_.isEmpty());
    EXPECT_TRUE(log.all().empty());
}

} // namespace
