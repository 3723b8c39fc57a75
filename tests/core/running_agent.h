// An agent with its external-interface thread, on sockets of the test's own; and the other ends of them.
#ifndef TESTS_CORE_RUNNING_AGENT_H_INCLUDED
#define TESTS_CORE_RUNNING_AGENT_H_INCLUDED

#include "core/IMS_Tapi_ifc.h"
#include "include/shared_value.h"
#include "tests/core/class_wide.h"
#include "tests/core/telephony_agent.h"
#include "tests/support/log_records.h"
#include "tests/support/temp_dir.h"

#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

// One end of a stream. Everything waits with a deadline.
class StreamEnd {
public:
    explicit StreamEnd(int fd = -1) : fd_(fd) {}
    ~StreamEnd() { close(); }
    StreamEnd(const StreamEnd&) = delete;
    StreamEnd& operator=(const StreamEnd&) = delete;

    // Connects to the agent's telephony socket as soon as it listens.
    bool connect(const char* name = "agent.sock")
    {
        return soon([&] { return (fd_ = IMS_User_Agent::__ua_sock._connect(name, "unix", "stream")) >= 0; });
    }
    bool send(const std::string& bytes) const
    {
        return ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
    }
    // `count` bytes, or what came before the end or the deadline.
    std::string receive(std::size_t count) const
    {
        std::string bytes;
        while (bytes.size() < count && is_readable()) {
            char chunk[4096];
            const ssize_t n = ::recv(fd_, chunk, std::min(sizeof chunk, count - bytes.size()), 0);
            if (n <= 0) break;
            bytes.append(chunk, static_cast<std::size_t>(n));
        }
        return bytes;
    }
    // True when the other side has closed; what it sent before is skipped.
    bool sees_the_end() const
    {
        char chunk[4096];
        ssize_t n = 1;
        while (n > 0 && is_readable())
            n = ::recv(fd_, chunk, sizeof chunk, 0);
        return n == 0 || (n < 0 && errno == ECONNRESET);
    }
    bool has_nothing() const
    {
        char byte = 0;
        return ::recv(fd_, &byte, 1, MSG_DONTWAIT | MSG_PEEK) < 0 && errno == EAGAIN;
    }
    void close()
    {
        if (fd_ >= 0) ::close(fd_);
        fd_ = -1;
    }
    int fd() const { return fd_; }

private:
    bool is_readable() const
    {
        pollfd p{fd_, POLLIN, 0};
        return ::poll(&p, 1, 15000) > 0;
    }
    int fd_;
};

// Stands in for the framework's connector; its descriptor may change while a thread asks for it.
struct FakeFrameworkSocket : SIP_IMS_cfg_intf_IMS_socket {
    int get_descriptor() const override { return fd; }
    std::atomic<int> fd{-1};
};

// The framework's asynchronous channel: `agent_fd` is what the connector gives, `daemon` the other end.
struct FrameworkChannel {
    FrameworkChannel()
    {
        int ends[2] = {-1, -1};
        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return;
        agent_fd = ends[0];
        daemon = std::make_unique<StreamEnd>(ends[1]);
    }
    int agent_fd = -1; // the watching thread closes it
    std::unique_ptr<StreamEnd> daemon;
};

inline int asynchronous()
{
    return imsua::load_shared(IMS_User_Agent::__ua_tapi_asyncfd);
}
inline int synchronous()
{
    return imsua::load_shared(IMS_User_Agent::__ua_tapi_syncfd);
}
inline int listening()
{
    return imsua::load_shared(IMS_User_Agent::__ua_tapi_listenfd);
}

class ARunningAgent : public testing::Test {
protected:
    ARunningAgent()
    {
        IMS_daemon::__d_progname = "agent";
        IMS_User_Agent::__ua_fwk_connector = nullptr;
    }
    ~ARunningAgent() override
    {
        stop();
        for (StreamEnd* end : {&async_client, &sync_client, &third_client})
            end->close();
        close_what_is_left();
    }
    // Ends the agent, and with it its thread.
    void stop() { agent.reset(); }

    bool start()
    {
        agent->install_tapi_ifc(&ifc);
        return agent->create_all_external_descriptors() == 1;
    }
    // Both channels, in their order.
    bool connect()
    {
        if (!async_client.connect() || !soon([] { return asynchronous() >= 0; })) return false;
        return sync_client.connect() && soon([] { return synchronous() >= 0; });
    }
    bool start_and_connect() { return start() && connect(); }

    // Waits until the record was logged; the number of times it was by then.
    std::size_t logged(const LogRecord& record, std::size_t times = 1)
    {
        std::size_t found = 0;
        soon([&] {
            found = 0;
            for (const LogRecord& r : log.of(record.function))
                found += r == record ? 1 : 0;
            return found >= times;
        });
        return found;
    }

    LogRecords log;
    WorkingDir dir;
    ClassWide members;
    std::unique_ptr<TelephonyAgent> agent = std::make_unique<TelephonyAgent>();
    IMS_Tapi_ifc ifc{agent.get()};
    StreamEnd async_client;
    StreamEnd sync_client;
    StreamEnd third_client;

private:
    // The thread is gone, the clients are closed: whatever the sets still hold is at its end, but the
    // listening socket.
    static void close_what_is_left()
    {
        IMS_socket& sock = IMS_User_Agent::__ua_sock;
        if (listening() >= 0) sock._close(listening());
        std::vector<int> ended;
        do {
            sock._wake();
            sock._select("r", ended);
            for (const int fd : ended)
                sock._close(fd);
        } while (!ended.empty());
    }
};

#endif
