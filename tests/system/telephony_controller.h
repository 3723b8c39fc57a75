// A telephony controller in the test's own hands, for what imstac does not do: write half a message, wait for
// the agent's log, die.
#ifndef TESTS_SYSTEM_TELEPHONY_CONTROLLER_H_INCLUDED
#define TESTS_SYSTEM_TELEPHONY_CONTROLLER_H_INCLUDED

#include "tools/imstac/wire.h"

#include <array>
#include <string>

class TelephonyController {
public:
    TelephonyController() = default;
    ~TelephonyController();
    TelephonyController(const TelephonyController&) = delete;
    TelephonyController& operator=(const TelephonyController&) = delete;

    // Connects both channels in order, waiting for the agent to come up.
    bool connect(const std::string& path);
    bool send(imstac::Channel channel, const std::string& bytes) const;
    bool send(imstac::Channel channel, std::uint16_t id, const std::string& body = "",
              std::uint32_t ref = 0) const;
    // The next message of this id as "ref body"; "(none)" when none comes, or the agent closed.
    std::string receive(imstac::Channel channel, std::uint16_t id);
    // From now on the agent cannot send on this channel.
    void stop_reading(imstac::Channel channel) const;
    void close();

private:
    std::array<int, 2> fds_{-1, -1};
    std::array<imstac::Splitter, 2> splitters_;
};

// Sends one SIP request over UDP to a port of this machine; the response, "" when none comes.
std::string ask_sip(int port, const std::string& method, const std::string& body);

#endif
