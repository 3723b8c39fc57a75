// An agent that reads requests with one message class and prints a line for each:
//
//     message_reader PORT CLASS [options of an agent]
//
//     NOTIFY | Event: kiv-reg-event-info | Expires: 0 | ... | name=internet status=registered
//
// Its first line is "reading at <uri>". Every request is answered with 200.
#include "include/imsua.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

// The text of a document that was read, or why there is none.
template <typename Document, typename Print>
std::string values_of(const XmlData* body, Print print)
{
    const auto* document = dynamic_cast<const Document*>(body);
    if (!document) return body ? "another document" : "no document";
    return print(*document);
}

std::string values(const DALinkEvXmlData& d)
{
    return "name=" + d.name + " profile=" + std::to_string(d.profile_id) + " device=" + d.device.name +
           " status=" + d.device.status;
}

std::string values(const DALinkAvailEvXmlData& d)
{
    return "network=" + d.access_network + " type=" + d.threegpp.access_type + " ap=" + d.ieee.ap;
}

std::string values(const IMSSetRouteXml& d)
{
    return "profile=" + d.profile_id + " action=" + d.action + " device=" + d.name +
           " proxy=" + d.ip_address + " port=" + d.ue_sip_port;
}

std::string values(const DAMessageXmlData& d)
{
    std::string text = "name=" + d.name + " profile=" + std::to_string(d.profile_id) +
                       " link=" + std::to_string(d.link_reference) + " action=" + d.action +
                       " services=" + d.dns_services;
    for (const IMS_DA_PROXY_INFO& proxy : d.proxy_list)
        text += " proxy=" + proxy.address + "/" + proxy.kind + "/" + std::to_string(proxy.port);
    return text;
}

std::string values(const IMSComponentPackageInfo& d)
{
    return "package=" + d.package_info;
}

std::string values(const NotifyUaXmlData& d)
{
    return "name=" + d.name + " ip=" + d.ip_address + " network=" + d.access_network +
           " status=" + d.reg_status;
}

std::string values(const RegUaXmlData& d)
{
    return "name=" + d.name + " methods=" + d.methods + " type=" + d.content_type + " events=" + d.events;
}

std::string values(const RegXmlData& d)
{
    std::string text = "reginfo=" + d.reginfo_state;
    for (std::size_t i = 0; i < d.aors.size(); ++i)
        text += " aor=" + d.aors[i] + " " + d.states[i] + " " + std::to_string(d.expires_list[i]);
    return text;
}

template <typename Document>
std::string values_in(const XmlData* body)
{
    return values_of<Document>(body, [](const Document& document) { return values(document); });
}

// The way to a body of any length, as docs/messages/README.md shows it: a buffer as large as the largest
// message, and a document of one's own.
template <typename Document>
bool read_whole(IMS_Message& message, Document& document)
{
    std::vector<char> text(16 * 1024);
    int length = static_cast<int>(text.size());
    if (!message.get_body(text.data(), length) || length == 0) return false;
    document.buffer = text.data();
    document.buffer_length = length;
    const bool parsed = document.parseXml() == 0;
    document.buffer = nullptr; // the text ends with this call
    document.buffer_length = 0;
    return parsed;
}

template <typename Document>
std::string whole_body(IMS_Message& message)
{
    Document document;
    return read_whole(message, document) ? values(document) : "not read";
}

std::string header(IMS_Message& message, const char* name)
{
    char value[512];
    return message.get_header(name, value, sizeof value) ? std::string(" | ") + name + ": " + value : "";
}

// What every class can be asked.
std::string envelope(IMS_Message& message)
{
    char method[SIPLIB_METHOD_SIZE];
    std::string text = message.get_method(method) ? method : "?";
    for (const char* name : {"Event", "Expires", "Subscription-State", "Kiv-Profile-ID", "Content-Type",
                             "Authorization", "Contact"})
        text += header(message, name);
    return text;
}

bool answer(IMS_Message& message)
{
    return message.init_response(200) && message.send();
}

// Reads with Message, whose document is a Document.
template <typename Message, typename Document, typename... More>
std::string read(SIPLIB_SIPConnection* conn, More... more)
{
    Message message(conn, more...);
    std::string line = envelope(message) + " | " + values_in<Document>(message.body);
    return answer(message) ? line : line + " | not answered";
}

template <typename Document>
std::string read_own(SIPLIB_SIPConnection* conn)
{
    IMS_Message message(conn);
    std::string line = envelope(message) + " | " + whole_body<Document>(message);
    return answer(message) ? line : line + " | not answered";
}

// A body of any length, after the class that reads 1024 bytes of it had its try.
std::string read_large_state(SIPLIB_SIPConnection* conn)
{
    const unsigned before = SIPLIB_SIPCutBodies();
    IMS_NotifyReg message(conn, true);
    std::string line = "cut=" + std::to_string(SIPLIB_SIPCutBodies() - before) + " | " +
                       values_in<RegXmlData>(message.body) + " | " + whole_body<RegXmlData>(message);
    line += " | cut=" + std::to_string(SIPLIB_SIPCutBodies() - before);
    return answer(message) ? line : line + " | not answered";
}

std::string read_without_body(SIPLIB_SIPConnection* conn)
{
    IMS_Message message(conn);
    std::string line = envelope(message);
    return answer(message) ? line : line + " | not answered";
}

using Reader = std::string (*)(SIPLIB_SIPConnection*);

const std::map<std::string, Reader> readers = {
    {"IMS_NotifyDALinkEv",
     [](SIPLIB_SIPConnection* c) { return read<IMS_NotifyDALinkEv, DALinkEvXmlData>(c); }},
    {"IMS_NotifyDALinkAvailEv",
     [](SIPLIB_SIPConnection* c) { return read<IMS_NotifyDALinkAvailEv, DALinkAvailEvXmlData>(c); }},
    {"IMS_NotifyReg", [](SIPLIB_SIPConnection* c) { return read<IMS_NotifyReg, RegXmlData>(c, true); }},
    {"IMS_NotifyReg-description",
     [](SIPLIB_SIPConnection* c) { return read<IMS_NotifyReg, RegUaXmlData>(c, false); }},
    {"IMS_ProxyMessage", [](SIPLIB_SIPConnection* c) { return read<IMS_ProxyMessage, IMSSetRouteXml>(c); }},
    {"IMS_DAMessage", [](SIPLIB_SIPConnection* c) { return read<IMS_DAMessage, DAMessageXmlData>(c); }},
    {"IMS_RegPackageInfo",
     [](SIPLIB_SIPConnection* c) { return read<IMS_RegPackageInfo, IMSComponentPackageInfo>(c); }},
    {"status", read_own<NotifyUaXmlData>},
    {"description", read_own<RegUaXmlData>},
    {"large-state", read_large_state},
    {"none", read_without_body},
};

class Agent : public IMS_User_Agent {
public:
    explicit Agent(Reader reader) : reader_(reader) {}

private:
    unsigned int get_event_id_from_message(void* element) override
    {
        return static_cast<unsigned int>(static_cast<_Q_ELEMENT_T*>(element)->msg_type);
    }
    unsigned short handle_event(unsigned int event, void* data) override
    {
        if (event != MSG_TYPE_SIP_REQUEST) return 0;
        std::puts(reader_(static_cast<SIPLIB_SIPConnection*>(data)).c_str());
        std::fflush(stdout);
        return 1;
    }
    Reader reader_;
};

} // namespace

int main(int argc, char** argv)
{
    const auto reader = argc > 2 ? readers.find(argv[2]) : readers.end();
    if (reader == readers.end()) return 2;
    auto& agent = *new Agent(reader->second);
    agent.set_options(argc, argv);
    if (!agent.open_local_notifier(std::atoi(argv[1]))) return 1;
    std::printf("reading at %s\n", IMS_User_Agent::__ua_myuri.c_str());
    std::fflush(stdout);
    agent.handle_message();
}
