// The record of what really went over the wire, retransmissions and the stack's own answers included.
//
// Sofia-SIP can dump every byte that a transport sends or receives into a file. Here that file is anonymous
// memory, read after each step of the SIP thread: datagrams are messages, streams are cut into messages by
// Content-Length, and each goes to siplib::MessageRecord. The local address is that of the agent's port, also
// for a TCP connection that leaves from another port.
//
// Thread   the SIP thread.
// Memory   what one step of the SIP thread sent and received; of a stream, the message that is not complete.
#ifndef SIPLIB_SOFIA_WIRE_RECORD_H_INCLUDED
#define SIPLIB_SOFIA_WIRE_RECORD_H_INCLUDED

#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace siplib::sofia {

// Of a message that is sent, the dump of Sofia-SIP 1.12.11 holds the head only: its writer stops after the
// first piece of a message, and the blank line and the body are others. What is handed to Sofia-SIP is
// therefore noted here, and the bodies of the last messages are put back.
class SentBodies {
public:
    static constexpr std::size_t most = 4096;

    // A whole message that is about to be sent; one without a body need not be noted.
    void note(std::string_view message);

    // The body that belongs to a head; empty when it is not known.
    std::string_view find(std::string_view head) const;

private:
    std::unordered_map<std::string, std::string> bodies_; // by kind, Call-ID and CSeq
    std::deque<std::string> order_;
};

// Of the SIP thread, shared by all agents.
SentBodies& sent_bodies();

// Reads Sofia-SIP's dump format.
class DumpReader {
public:
    struct Message {
        bool sent;
        std::string_view transport, peer, bytes;
    };
    using Sink = std::function<void(const Message&)>;

    // Takes whole records; what follows the last whole one has to come again. Returns how much was read.
    std::size_t read(std::string_view dump, const Sink& sink);

    explicit DumpReader(const SentBodies& bodies) : bodies_(bodies) {}

private:
    const SentBodies& bodies_;
    void take_stream(bool sent, std::string_view peer, std::string_view bytes, const Sink& sink);
    std::unordered_map<std::string, std::string> begun_; // of each stream and direction
};

class WireRecord {
public:
    WireRecord();
    ~WireRecord();
    WireRecord(const WireRecord&) = delete;
    WireRecord& operator=(const WireRecord&) = delete;

    // What to give to make_agent as `record`; null while nothing is recorded.
    const char* path() const { return path_.empty() ? nullptr : path_.c_str(); }
    void set_local(std::string local) { local_ = std::move(local); }
    void drain();

private:
    int file_ = -1;
    std::string path_, local_;
    DumpReader reader_{sent_bodies()};
};

} // namespace siplib::sofia

#endif
