// Received bodies, through the messages that read them. The first byte of the input says how the connection
// behaves: bit 0 a failing status, bit 1 a length beyond the buffer.
#include "fuzz/quiet.h"
#include "messages/IMS_DAMessage.h"
#include "messages/IMS_NotifyDALinkAvailEv.h"
#include "messages/IMS_NotifyDALinkEv.h"
#include "messages/IMS_NotifyReg.h"
#include "messages/IMS_ProxyMessage.h"
#include "messages/IMS_RegPackageInfo.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

using fuzz::demand;

namespace {

class Peer : public SIPLIB_SIPServerConnection {
public:
    Peer(std::string body, bool fails, bool lies) : body_(std::move(body)), fails_(fails), lies_(lies) {}

    int getBody(char* buf, int& len) override
    {
        const std::size_t copied = body_.copy(buf, static_cast<std::size_t>(len));
        len = lies_ ? len + 1000 : static_cast<int>(copied);
        return fails_ ? SIPLIB_ERR_STATE : SIPLIB_OK;
    }
    int initResponse(int) override { return SIPLIB_OK; }
    int send() override { return SIPLIB_OK; }
    int setBody(const char*, int) override { std::abort(); } // an answer carries none

private:
    std::string body_;
    bool fails_;
    bool lies_;
};

// A message made of what the peer sent.
template <typename Message, typename Document, typename... More>
void receive(Peer& peer, bool expect_body, More... more)
{
    fuzz::be_quiet();
    Message message(&peer, more...);
    demand((message.body != nullptr) == expect_body);
    demand(!message.body || dynamic_cast<Document*>(message.body) != nullptr);
    if (message.body) demand(message.body->buffer == nullptr && message.body->buffer_length == 0);
    demand(message.init_response(200) && message.send());
}

// Three lists that run in parallel.
void receive_state(Peer& peer)
{
    fuzz::be_quiet();
    const IMS_NotifyReg notify(&peer, true);
    if (!notify.body) return;
    const auto& state = static_cast<const RegXmlData&>(*notify.body);
    demand(state.match_uri.empty());
    demand(state.aors.size() == state.states.size() && state.aors.size() == state.expires_list.size());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) return 0;
    const bool lies = (data[0] & 2) != 0;
    const bool has_body = lies || size > 1;
    Peer peer(std::string(reinterpret_cast<const char*>(data) + 1, size - 1), (data[0] & 1) != 0, lies);
    receive<IMS_NotifyDALinkEv, DALinkEvXmlData>(peer, has_body);
    receive<IMS_NotifyDALinkAvailEv, DALinkAvailEvXmlData>(peer, has_body);
    receive<IMS_NotifyReg, RegUaXmlData>(peer, has_body, false);
    receive<IMS_NotifyReg, RegXmlData>(peer, has_body, true);
    receive<IMS_ProxyMessage, IMSSetRouteXml>(peer, has_body);
    receive<IMS_DAMessage, DAMessageXmlData>(peer, has_body);
    receive<IMS_RegPackageInfo, IMSComponentPackageInfo>(peer, has_body);
    receive_state(peer);
    return 0;
}
