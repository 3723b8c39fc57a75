// An agent's connection to the framework daemon: the configuration interface, the connector and what keeps
// both alive, behind IMS_fwk_util::open_framework_sockets.
//
// A small thread of its own (the keeper) watches both channels. When one is lost it gives up both and
// connects again, with growing pauses, until the daemon is back; requests never connect, so while the
// daemon is away they fail at once. docs/decisions/framework-reconnection.md says why it is a thread.
//
// Thread   every operation may be called on any thread; requests are sent one at a time.
// Memory   three descriptors and the keeper while connected. Objects are never deleted after a successful
//          open(): another thread may still hold the pointer. A closed one answers like a lost one.
// Errors   come back as results; nothing throws. Connections and losses are logged once each.
#ifndef BASEUAFW_FWK_SESSION_H_INCLUDED
#define BASEUAFW_FWK_SESSION_H_INCLUDED

#include "baseuafw/baseuafw.h"
#include "baseuafw/fwk_tcp.h"

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace fwk {

// Milliseconds. The defaults are what agents run with.
struct SessionTimes {
    int request = 2000;   // a request without an answer for so long loses the connection
    int first_pause = 20; // before the first new attempt; doubled by each further one
    int longest_pause = 1000;
};

class Session final : public SIP_IMS_cfg_intf, public SIP_IMS_cfg_intf_IMS_socket {
public:
    // `sock` may be null; otherwise it outlives the session's close(), and every new asynchronous
    // descriptor joins its read set.
    Session(int sync_port, int async_port, IMS_socket* sock, SessionTimes times = {});
    ~Session() override; // closes; nobody may be in an operation

    // Connects the synchronous port, then the asynchronous one, and starts the keeper. The asynchronous
    // descriptor is not put into a set here: the external-interface thread does that when it starts.
    // False: nothing is left open.
    bool open();

    // Ends the keeper and both connections. Idempotent, and final: there is no second open().
    void close();

    // The asynchronous socket; -1 once it is closed, be it by the thread that read its end.
    int get_descriptor() const override;

    int get_one(const std::string& xpath, std::string& value, const std::string& document) override;
    int get_many(std::vector<SIP_IMS_CFG_TAG_VALUE_T>& pairs, const std::string& document) override;
    int set_one(const std::string& xpath, const std::string& value, const std::string& document) override;

    // 0 when the daemon said GO; non-zero when the connection is lost or was not there. Blocks; other
    // requests fail at once while it does.
    int wait_for_sync() override;

private:
    enum class State { connected, lost, closed };

    bool ask(const std::string& request, std::string& answer);
    bool begin_sync(int& fd);
    void end_sync(bool answered);
    bool connect_both();
    void install(int sync_fd, int async_fd);
    bool start_keeper();
    void keep();
    bool wait_for_loss();
    bool pause(int milliseconds);
    bool is_closing();
    void lose();
    void drop();
    void release(const SocketId& id);
    void wake();

    const int sync_port_;
    const int async_port_;
    IMS_socket* const sock_;
    const SessionTimes times_;

    // Guards the synchronous channel; held during a request, but not while a SYNC waits.
    std::mutex mutex_;
    std::condition_variable sync_ended_;
    State state_ = State::lost;
    bool sync_waiting_ = false;
    int sync_fd_ = -1; // closed by the keeper alone, or after it has ended
    FrameDecoder decoder_;

    // Guards the asynchronous channel's names.
    mutable std::mutex names_;
    SocketId async_;    // what get_descriptor() gives
    SocketId previous_; // given up; whoever watches it closes it when it has read its end

    int watch_fd_ = -1; // a duplicate of the asynchronous socket, the keeper's own
    int wake_fd_ = -1;
    std::thread keeper_;
};

} // namespace fwk

#endif
