// An agent that sends one request and ends when it was answered:
//
//     message_sender URI CLASS [options of an agent]
//
// Prints "answered 200" and ends with 0; with 1 when the request could not be sent.
#include "include/imsua.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

namespace {

const char* const from = "<sip:sender@127.0.0.1>";
const char* const to = "<sip:reader@127.0.0.1>";
const char* const contact = "<sip:sender@127.0.0.1:5099>";

bool send_link_event(SIPLIB_SIPClientConnection* conn)
{
    DALinkEvXmlData event;
    event.name = "internet";
    event.profile_id = 7;
    event.device.name = "wlan0";
    event.device.status = "up";
    return IMS_NotifyDALinkEv(conn, from, to, contact, &event, 7).send();
}

bool send_availability(SIPLIB_SIPClientConnection* conn)
{
    DALinkAvailEvXmlData state;
    state.access_network = "IEEE";
    state.ieee.access_type = "802.11";
    state.ieee.ap = "ap1";
    return IMS_NotifyDALinkAvailEv(conn, from, to, contact, &state).send();
}

bool send_status(SIPLIB_SIPClientConnection* conn)
{
    NotifyUaXmlData status;
    status.name = "internet";
    status.ip_address = "192.0.2.7";
    status.access_network = "IEEE";
    status.reg_status = "registered";
    return IMS_NotifyReg(conn, from, to, contact, &status).send();
}

bool send_route(SIPLIB_SIPClientConnection* conn)
{
    IMSSetRouteXml route;
    route.profile_id = "7";
    route.action = "add";
    route.name = "wlan0";
    route.ip_address = "192.0.2.1";
    route.ue_sip_port = "5070";
    return IMS_ProxyMessage(conn, from, to, &route).send();
}

bool send_discovery(SIPLIB_SIPClientConnection* conn)
{
    DAMessageXmlData found;
    found.name = "internet";
    found.profile_id = 7;
    found.link_reference = 17;
    found.action = "found";
    found.dns_services = "SIP+D2U";
    found.proxy_list = {{"192.0.2.1", 5060, "pcscf"}, {"proxy.example.com", 5061, "backup"}};
    return IMS_DAMessage(conn, from, to, &found).send();
}

bool send_package(SIPLIB_SIPClientConnection* conn)
{
    IMSComponentPackageInfo package;
    package.package_info = "voice";
    return IMS_RegPackageInfo(conn, from, to, contact, &package).send();
}

bool send_subscription(SIPLIB_SIPClientConnection* conn)
{
    return IMS_SubsReg(conn, from, to, contact).send();
}

bool send_link_subscription(SIPLIB_SIPClientConnection* conn)
{
    return IMS_SubsDALinkEv(conn, from, to, contact).send();
}

bool send_availability_subscription(SIPLIB_SIPClientConnection* conn)
{
    return IMS_SubsDALinkAvailEv(conn, from, to, contact, 7).send();
}

bool send_registration(SIPLIB_SIPClientConnection* conn)
{
    conn->initRequest("REGISTER");
    IMS_LocalRegistrar::setup_message(conn, "<sip:joe@192.0.2.7:5070;transport=tcp>", "internet", 3600,
                                      "Digest username=\"joe\", realm=\"device\"", nullptr);
    return conn->send() == SIPLIB_OK;
}

using Sender = bool (*)(SIPLIB_SIPClientConnection*);

const std::map<std::string, Sender> senders = {
    {"IMS_NotifyDALinkEv", send_link_event},
    {"IMS_NotifyDALinkAvailEv", send_availability},
    {"IMS_NotifyReg", send_status},
    {"IMS_ProxyMessage", send_route},
    {"IMS_DAMessage", send_discovery},
    {"IMS_RegPackageInfo", send_package},
    {"IMS_SubsReg", send_subscription},
    {"IMS_SubsDALinkEv", send_link_subscription},
    {"IMS_SubsDALinkAvailEv", send_availability_subscription},
    {"IMS_LocalRegistrar", send_registration},
};

class Agent : public IMS_User_Agent {
public:
    int answered = 0;
    void turn() { process_one_message(); }

private:
    unsigned int get_event_id_from_message(void* element) override
    {
        return static_cast<unsigned int>(static_cast<_Q_ELEMENT_T*>(element)->msg_type);
    }
    unsigned short handle_event(unsigned int event, void* data) override
    {
        if (event == MSG_TYPE_SIP_RESPONSE)
            answered = IMS_Message(static_cast<SIPLIB_SIPConnection*>(data)).get_response();
        return 1;
    }
};

} // namespace

int main(int argc, char** argv)
{
    const auto sender = argc > 2 ? senders.find(argv[2]) : senders.end();
    if (sender == senders.end()) return 2;
    Agent agent;
    agent.set_options(argc, argv);
    IMS_UA_SipClientConnListener listener(&agent);
    SIPLIB_SIPObject* object = IMS_User_Agent::conn_open(IMS_User_Agent::__ua_connector, argv[1], from);
    SIPLIB_SIPClientConnection* conn = object ? object->asClientConnection() : nullptr;
    if (!conn || conn->setListener(&listener) != SIPLIB_OK || !sender->second(conn)) return 1;
    while (agent.answered < 200)
        agent.turn();
    std::printf("answered %d\n", agent.answered);
    SIPLIB_SIPStop();
    return 0;
}
