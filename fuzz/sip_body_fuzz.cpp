// Received bodies, through the messages that read them. The first byte of the input says how the connection
// behaves: bit 0 a failing status, bit 1 a length beyond the buffer.
#include "fuzz/quiet.h"
#include "messages/IMS_NotifyDALinkAvailEv.h"
#include "messages/IMS_NotifyDALinkEv.h"

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

template <typename Notify>
void receive(Peer& peer, bool expect_body)
{
    fuzz::be_quiet();
    Notify notify(&peer);
    demand((notify.body != nullptr) == expect_body);
    if (notify.body) demand(notify.body->buffer == nullptr && notify.body->buffer_length == 0);
    demand(notify.init_response(200) && notify.send());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) return 0;
    const bool lies = (data[0] & 2) != 0;
    Peer peer(std::string(reinterpret_cast<const char*>(data) + 1, size - 1), (data[0] & 1) != 0, lies);
    receive<IMS_NotifyDALinkEv>(peer, lies || size > 1);
    receive<IMS_NotifyDALinkAvailEv>(peer, lies || size > 1);
    return 0;
}
