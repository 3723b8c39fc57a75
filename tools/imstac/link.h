// The two connections to the agent: made in order, written and read without blocking.
//
// Thread   one.
// Memory   what the agent does not take yet waits in memory.
// Ends     the destructor closes what is open.
#ifndef IMSTAC_LINK_H_INCLUDED
#define IMSTAC_LINK_H_INCLUDED

#include "tools/imstac/step.h"

#include <array>
#include <string>
#include <vector>

namespace imstac {

// What arrives. Called from Link::turn only.
class Arrivals {
public:
    virtual ~Arrivals() = default;
    virtual void on_bytes(Channel channel, const char* data, std::size_t size) = 0;
    virtual void on_end(Channel channel) = 0; // the agent closed it, or is gone
};

class Link {
public:
    // What ends turn() besides; -1 for nothing. Borrowed.
    explicit Link(int wake_fd = -1) : wake_fd_(wake_fd) {}
    ~Link();
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;

    // Connects the channels in `order`, trying again until `deadline` while nobody listens there. False, with
    // `why`, when that did not succeed; nothing is then open.
    bool connect(const std::string& path, const std::vector<Channel>& order, Time deadline, std::string& why);

    bool is_open(Channel channel) const { return end(channel).fd >= 0; }
    // Sends `bytes` as soon as the agent takes them; nothing happens on a channel that is not open.
    void send(Channel channel, const std::string& bytes);
    // Closes the channel after what was sent; nothing of it arrives any more.
    void close(Channel channel);
    // What was sent, or is to be closed, has not left yet.
    bool is_busy() const;
    // The agent was gone before it had taken everything.
    bool has_lost() const { return has_lost_; }

    // Waits for something to happen, until `deadline`, and lets it happen: writes, reads, closes. False when
    // the wake descriptor is readable.
    bool turn(Time deadline, Arrivals& arrivals);

private:
    struct End {
        int fd = -1;
        std::string waiting; // to be written
        bool closing = false;
    };
    bool connect_one(const std::string& path, Channel channel, Time deadline, std::string& why);
    void read_from(Channel channel, Arrivals& arrivals);
    void write_to(Channel channel);
    void drop(Channel channel);
    End& end(Channel channel) { return ends_[index_of(channel)]; }
    const End& end(Channel channel) const { return ends_[index_of(channel)]; }

    const int wake_fd_;
    std::array<End, 2> ends_;
    bool has_lost_ = false;
};

// Where the agent's socket stands: `agent` itself if it is a path, else the socket of the program of that
// name.
std::string socket_path(const std::string& agent);

} // namespace imstac

#endif
