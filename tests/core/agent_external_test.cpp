#include "tests/core/running_agent.h"
#include "tests/platform/baseuafw/blocked_thread.h"
#include "tests/support/child.h"
#include "tests/support/failing_calls.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <future>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>

namespace {

using Records = std::vector<LogRecord>;

const LogRecord peer_closed = {4, "wait_for_ext_message", "peer closed connection"};
const LogRecord to_framework = {5, "wait_for_ext_message",
                                "wait_for_ext_message: calling handle_fwk_message....\n"};
const LogRecord to_telephony = {5, "wait_for_ext_message",
                                "wait_for_ext_message: calling handle_tapi_message....\n"};

LogRecord received(int bytes)
{
    return {5, "wait_for_ext_message", "received " + std::to_string(bytes) + " bytes"};
}
LogRecord accepted_as(const char* name, int fd)
{
    return {5, "accept_incoming_connection", name + ("=" + std::to_string(fd))};
}

// ---- start ----

TEST_F(ARunningAgent, OpensItsSocketAndStartsItsThread)
{
    ASSERT_TRUE(start());
    EXPECT_GE(listening(), 0);
    struct stat found {};
    EXPECT_EQ(::stat("agent.sock", &found), 0);
    EXPECT_TRUE(S_ISSOCK(found.st_mode));
    EXPECT_TRUE(agent->ext_thread_->is_running());
    EXPECT_TRUE(log.has(5, "create_all_external_descriptors", "calling create_external_interface_thread"));
    EXPECT_TRUE(log.has(5, "create_external_interface_thread", "External thread created"));
    EXPECT_EQ(log.of("create_thread").size(), 1u);
}

TEST_F(ARunningAgent, StartsNoThreadWithoutItsSocket)
{
    const std::string name(200, 'n');
    IMS_daemon::__d_progname = name.c_str();
    imsua::store_shared(IMS_User_Agent::__ua_tapi_listenfd, 1000);
    EXPECT_EQ(agent->create_all_external_descriptors(), 0);
    EXPECT_LT(listening(), 0);
    EXPECT_FALSE(agent->ext_thread_->is_running());
    EXPECT_TRUE(log.of("create_all_external_descriptors").empty());
    EXPECT_TRUE(log.of("create_thread").empty());
}

TEST_F(ARunningAgent, OpensASocketWithoutAProgramName)
{
    IMS_daemon::__d_progname = nullptr;
    ASSERT_TRUE(start());
    EXPECT_TRUE(async_client.connect(".sock"));
}

TEST_F(ARunningAgent, SaysThatItsThreadCouldNotBeStarted)
{
    {
        const Failing failing(Call::pthread_create, 1);
        EXPECT_EQ(agent->create_all_external_descriptors(), 0);
    }
    EXPECT_TRUE(log.has(3, "create_external_interface_thread", "External thread could not be created"));
    EXPECT_EQ(agent->create_external_interface_thread(), 1) << "it may be tried again";
}

TEST_F(ARunningAgent, StartsItsThreadOnce)
{
    ASSERT_TRUE(start());
    EXPECT_EQ(agent->create_external_interface_thread(), 1);
    EXPECT_EQ(agent->ext_thread_->create_thread(&IMS_User_Agent::wrap_ext_thread, agent.get()), 0);
    EXPECT_EQ(log.of("create_thread").size(), 1u);
}

TEST_F(ARunningAgent, LivesWithoutSocketAndFramework)
{
    ASSERT_EQ(agent->create_external_interface_thread(), 1);
    stop(); // reached only if the thread, which watches nothing, can be stopped
}

TEST_F(ARunningAgent, IgnoresAThreadWithoutAnAgent)
{
    EXPECT_EQ(IMS_User_Agent::wrap_ext_thread(nullptr), nullptr);
}

// ---- telephony connections ----

TEST_F(ARunningAgent, TakesTheFirstConnectionAsTheAsynchronousOne)
{
    ASSERT_TRUE(start());
    ASSERT_TRUE(async_client.connect());
    ASSERT_TRUE(soon([] { return asynchronous() >= 0; }));
    EXPECT_EQ(synchronous(), -1);
    EXPECT_EQ(logged(accepted_as("__ua_tapi_asyncfd", asynchronous())), 1u);
    ASSERT_TRUE(sync_client.connect());
    ASSERT_TRUE(soon([] { return synchronous() >= 0; }));
    EXPECT_NE(synchronous(), asynchronous());
    EXPECT_EQ(logged(accepted_as("__ua_tapi_syncfd", synchronous())), 1u);
}

TEST_F(ARunningAgent, TakesTelephonyBytesFromBothConnections)
{
    ASSERT_TRUE(start_and_connect());
    ASSERT_TRUE(async_client.send(bytes_of({1, "event"})));
    ASSERT_TRUE(agent->turns(1));
    ASSERT_TRUE(sync_client.send(bytes_of({2, "request", 7})));
    ASSERT_TRUE(agent->turns(1));
    EXPECT_EQ(agent->seen, (std::vector<Seen>{seen_raw(1, "event"), seen_raw(2, "request", 7)}));
    EXPECT_EQ(log.of("wait_for_ext_message"),
              (Records{received(21), to_telephony, received(23), to_telephony}));
}

TEST_F(ARunningAgent, TakesTwoMessagesOfOneRead)
{
    ASSERT_TRUE(start_and_connect());
    ASSERT_TRUE(async_client.send(bytes_of({{1, "a"}, {2, "b"}})));
    ASSERT_TRUE(agent->turns(2));
    EXPECT_EQ(agent->seen, (std::vector<Seen>{seen_raw(1, "a"), seen_raw(2, "b")}));
    EXPECT_EQ(log.of("wait_for_ext_message"), (Records{received(34), to_telephony}));
}

TEST_F(ARunningAgent, DropsAMessageThatComesInTwoHalves)
{
    ASSERT_TRUE(start_and_connect());
    const std::string whole = bytes_of({1, "body"});
    ASSERT_TRUE(async_client.send(whole.substr(0, 8)));
    ASSERT_EQ(logged(received(8)), 1u);
    ASSERT_TRUE(async_client.send(whole.substr(8)));
    const LogRecord incomplete = {4, "handle_tapi_message", "Incomplete bytes for TAPI message"};
    EXPECT_EQ(logged(incomplete, 2), 2u);
    ASSERT_TRUE(async_client.send(bytes_of({2})));
    ASSERT_TRUE(agent->turns(1));
    EXPECT_EQ(agent->seen, (std::vector<Seen>{seen_raw(2)})) << "nothing was carried over";
}

TEST_F(ARunningAgent, ReadsALongMessageInBatchesOf1023Bytes)
{
    ASSERT_TRUE(start_and_connect());
    ASSERT_TRUE(async_client.send(bytes_of({1, std::string(1010, 'x')})));
    ASSERT_TRUE(agent->turns(1));
    EXPECT_EQ(agent->seen, (std::vector<Seen>{seen_raw(1, std::string(1007, 'x') + std::string(3, '\0'))}));
    EXPECT_EQ(logged(received(3)), 1u);
}

TEST_F(ARunningAgent, DropsTelephonyBytesWithoutAnInterface)
{
    ASSERT_EQ(agent->create_all_external_descriptors(), 1);
    ASSERT_TRUE(connect());
    ASSERT_TRUE(async_client.send(bytes_of({1})));
    ASSERT_EQ(logged(received(16)), 1u);
    agent->install_tapi_ifc(&ifc);
    ASSERT_TRUE(async_client.send(bytes_of({2})));
    ASSERT_TRUE(agent->turns(1));
    EXPECT_EQ(agent->seen, (std::vector<Seen>{seen_raw(2)}));
    EXPECT_EQ(logged(to_telephony), 1u);
}

TEST_F(ARunningAgent, AcceptsAndWatchesAThirdClientButDropsItsBytes)
{
    ASSERT_TRUE(start_and_connect());
    const int before[] = {asynchronous(), synchronous()};
    ASSERT_TRUE(third_client.connect());
    ASSERT_TRUE(third_client.send(bytes_of({1, "dropped"})));
    EXPECT_EQ(logged(received(23)), 1u);
    ASSERT_EQ(::shutdown(third_client.fd(), SHUT_WR), 0);
    EXPECT_TRUE(third_client.sees_the_end());
    EXPECT_EQ(logged(peer_closed), 1u);
    EXPECT_EQ(log.of("accept_incoming_connection").size(), 2u);
    EXPECT_TRUE(log.of("handle_tapi_message").empty());
    EXPECT_EQ(asynchronous(), before[0]);
    EXPECT_EQ(synchronous(), before[1]);
    EXPECT_FALSE(agent->has_messages());
}

std::promise<void>* action_entered = nullptr;
std::shared_future<void>* action_may_end = nullptr;

void* wait_in_the_action(TAC_MSG_S* msg)
{
    action_entered->set_value();
    action_may_end->wait();
    ::pthread_testcancel(); // and so is much of what a handler calls
    return new_record(msg->msg_id);
}

constexpr TAPI_EVENT_ACTION_TABLE_T waiting_table[] = {{1, &wait_in_the_action}, {TAPI_TABLE_END, nullptr}};

// The kernel lets one more in than it was told.
TEST_F(ARunningAgent, LetsTwoClientsWaitWhileItIsBusy)
{
    std::promise<void> entered;
    std::promise<void> may_end;
    std::shared_future<void> end = may_end.get_future().share();
    action_entered = &entered;
    action_may_end = &end;
    ifc.initialize_event_tbl(waiting_table);
    ASSERT_TRUE(start_and_connect());
    ASSERT_TRUE(async_client.send(bytes_of({1})));
    entered.get_future().wait();
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    ::getsockname(listening(), reinterpret_cast<sockaddr*>(&address), &size);
    std::vector<std::unique_ptr<StreamEnd>> clients;
    int connected = 0;
    while (connected == static_cast<int>(clients.size()) && connected < 10) {
        clients.push_back(
            std::make_unique<StreamEnd>(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)));
        if (::connect(clients.back()->fd(), reinterpret_cast<sockaddr*>(&address), size) == 0) ++connected;
    }
    EXPECT_EQ(connected, 2 + 1);
    may_end.set_value();
    EXPECT_TRUE(agent->turns(1));
}

// ---- the end of a connection ----

TEST_F(ARunningAgent, ClosesAConnectionWhosePeerHasClosed)
{
    ASSERT_TRUE(start_and_connect());
    const int number = asynchronous();
    ASSERT_EQ(::shutdown(async_client.fd(), SHUT_WR), 0);
    EXPECT_TRUE(async_client.sees_the_end());
    EXPECT_EQ(logged(peer_closed), 1u);
    EXPECT_EQ(asynchronous(), number) << "the variable is not reset";
}

TEST_F(ARunningAgent, NeverUsesTheNumberOfALostConnectionAgain)
{
    ASSERT_TRUE(start_and_connect());
    async_client.close();
    sync_client.close();
    ASSERT_EQ(logged(peer_closed, 2), 2u);
    ASSERT_TRUE(third_client.connect());
    ASSERT_TRUE(third_client.send(bytes_of({1})));
    EXPECT_EQ(logged(received(16)), 1u);
    EXPECT_TRUE(log.of("handle_tapi_message").empty()) << "a client that comes back is a third one";
    std::vector<int> opened;
    for (int i = 0; i < 20; ++i) {
        opened.push_back(::eventfd(0, EFD_CLOEXEC));
        EXPECT_NE(opened.back(), asynchronous());
        EXPECT_NE(opened.back(), synchronous());
    }
    agent->send_tapi_async_message(1, 0, nullptr);
    EXPECT_TRUE(log.has(3, "send_tapi_async_message", "send failed"));
    for (const int fd : opened)
        ::close(fd);
}

// A client that dies with unread bytes resets its connection.
TEST_F(ARunningAgent, LogsTheErrorOfAConnectionThatWasReset)
{
    ASSERT_TRUE(start_and_connect());
    agent->send_tapi_async_message(1, 0, nullptr);
    async_client.close();
    EXPECT_EQ(logged({5, "wait_for_ext_message", "recv error " + std::to_string(ECONNRESET)}), 1u);
    EXPECT_EQ(logged(peer_closed), 1u);
}

TEST_F(ARunningAgent, GoesOnServingTheOtherConnection)
{
    ASSERT_TRUE(start_and_connect());
    ASSERT_TRUE(async_client.send(bytes_of({1}).substr(0, 10))); // dies in the middle of a message
    async_client.close();
    ASSERT_EQ(logged(peer_closed), 1u);
    ASSERT_TRUE(sync_client.send(bytes_of({2, "", 5})));
    ASSERT_TRUE(agent->turns(1));
    agent->send_tapi_sync_resp_message(nullptr, nullptr, 0);
    EXPECT_EQ(agent->seen, (std::vector<Seen>{seen_raw(2, "", 5)}));
}

// The descriptors belong to the process: who comes next in it serves them on, at a new socket file.
TEST_F(ARunningAgent, LeavesItsConnectionsToTheNextAgentOfTheProcess)
{
    ASSERT_TRUE(start_and_connect());
    const int before[] = {asynchronous(), synchronous(), listening()};
    stop();
    struct stat found {};
    EXPECT_EQ(::stat("agent.sock", &found), 0) << "the process removes it, not the agent";
    agent = std::make_unique<TelephonyAgent>();
    IMS_Tapi_ifc next(agent.get());
    agent->install_tapi_ifc(&next);
    ASSERT_EQ(agent->create_all_external_descriptors(), 1);
    EXPECT_EQ(asynchronous(), before[0]);
    EXPECT_EQ(synchronous(), before[1]);
    EXPECT_NE(listening(), before[2]);
    ASSERT_TRUE(sync_client.send(bytes_of({1, "on the old connection"})));
    ASSERT_TRUE(agent->turns(1));
    EXPECT_EQ(agent->seen, (std::vector<Seen>{seen_raw(1, "on the old connection")}));
    ASSERT_TRUE(third_client.connect());
    ASSERT_TRUE(third_client.send(bytes_of({2})));
    EXPECT_EQ(logged(received(16)), 1u);
    EXPECT_FALSE(agent->has_messages()) << "its client is a third one";
    stop();
    IMS_User_Agent::__ua_sock._close(before[2]);
}

TEST(AFailedAccept, EndsTheProcessWith1)
{
    const ChildResult child = run_in_child([] {
        TelephonyAgent agent;
        agent.accept_incoming_connection(-1);
    });
    EXPECT_EQ(child.status, 1) << child.err;
    EXPECT_EQ(child.err, "[3] accept_incoming_connection: accept failed\n");
}

// The connection is there, but there is no descriptor left to accept it on.
TEST(AFailedAccept, EndsTheProcessFromTheThread)
{
    const WorkingDir dir;
    const ChildResult child = run_in_child([] {
        TelephonyAgent agent;
        IMS_daemon::__d_progname = "agent";
        if (agent.create_all_external_descriptors() != 1) ::_exit(2);
        StreamEnd probe;
        if (!probe.connect()) ::_exit(3); // it listens
        if (!soon([] { return asynchronous() >= 0; })) ::_exit(4);
        const int client = ::socket(AF_UNIX, SOCK_STREAM, 0);
        const rlimit none_left = {static_cast<rlim_t>(client) + 1, static_cast<rlim_t>(client) + 1};
        const int lowest = ::dup(client);
        ::close(lowest);
        if (lowest != client + 1 || ::setrlimit(RLIMIT_NOFILE, &none_left) != 0) ::_exit(5);
        ::close(probe.fd());
        if (::dup(client) < 0) ::_exit(6); // takes the number that became free
        sockaddr_storage address{};
        socklen_t size = sizeof address;
        ::getsockname(listening(), reinterpret_cast<sockaddr*>(&address), &size);
        ::connect(client, reinterpret_cast<sockaddr*>(&address), size);
        ::pause();
    });
    EXPECT_EQ(child.status, 1) << child.err;
    EXPECT_NE(child.err.find("agent[3] accept_incoming_connection: accept failed\n"), std::string::npos)
        << child.err;
}

// ---- the wait ----

TEST_F(ARunningAgent, GoesOnAfterAWaitThatFailed)
{
    ASSERT_TRUE(start_and_connect());
    struct sigaction action {};
    struct sigaction before {};
    action.sa_handler = [](int) {};
    ASSERT_EQ(::sigaction(SIGUSR1, &action, &before), 0);
    DIR* const tasks = ::opendir("/proc/self/task");
    const auto self = ::syscall(SYS_gettid);
    for (int round = 0; round < 20; ++round) {
        ::rewinddir(tasks);
        while (const dirent* const task = ::readdir(tasks)) {
            const long tid = std::strtol(task->d_name, nullptr, 10);
            if (tid > 0 && tid != self) ::syscall(SYS_tgkill, ::getpid(), tid, SIGUSR1);
        }
    }
    ::closedir(tasks);
    ASSERT_TRUE(async_client.send(bytes_of({1})));
    EXPECT_TRUE(agent->turns(1));
    ::sigaction(SIGUSR1, &before, nullptr);
}

TEST_F(ARunningAgent, DropsTheBytesOfAnyOtherDescriptor)
{
    FrameworkChannel channel; // nobody says that it is the framework's
    ASSERT_TRUE(start());
    IMS_User_Agent::__ua_sock._set(channel.agent_fd, "r");
    ASSERT_TRUE(channel.daemon->send("text"));
    EXPECT_EQ(logged(received(4)), 1u);
    EXPECT_FALSE(agent->has_messages());
    channel.daemon->close();
    EXPECT_EQ(logged(peer_closed), 1u);
}

// ---- framework text ----

class ARunningAgentWithAFramework : public ARunningAgent {
protected:
    ARunningAgentWithAFramework()
    {
        connector.fd = channel.agent_fd;
        IMS_User_Agent::__ua_fwk_connector = &connector;
    }
    ~ARunningAgentWithAFramework() override { channel.daemon->close(); }
    FakeFrameworkSocket connector;
    FrameworkChannel channel;
};

Seen seen_text(const std::string& text)
{
    return {MSG_TYPE_FWK, 0, text, 0, 0};
}

TEST_F(ARunningAgentWithAFramework, QueuesFrameworkText)
{
    ASSERT_TRUE(start());
    ASSERT_TRUE(channel.daemon->send("CHANGED config\n/a/b\n"));
    ASSERT_TRUE(agent->turns(1));
    EXPECT_EQ(agent->seen, (std::vector<Seen>{seen_text("CHANGED config\n/a/b\n")}));
    EXPECT_EQ(log.of("wait_for_ext_message"), (Records{received(20), to_framework}));
}

TEST_F(ARunningAgentWithAFramework, WatchesItWithoutATelephonySocket)
{
    ASSERT_EQ(agent->create_external_interface_thread(), 1);
    ASSERT_TRUE(channel.daemon->send("text"));
    ASSERT_TRUE(agent->turns(1));
    EXPECT_EQ(agent->seen, (std::vector<Seen>{seen_text("text")}));
}

TEST_F(ARunningAgentWithAFramework, TerminatesAReadOfExactly1023Bytes)
{
    ASSERT_TRUE(start());
    ASSERT_TRUE(channel.daemon->send(std::string(1023, 'a') + "rest"));
    ASSERT_TRUE(agent->turns(2));
    EXPECT_EQ(agent->seen, (std::vector<Seen>{seen_text(std::string(1023, 'a')), seen_text("rest")}));
    EXPECT_EQ(log.of("wait_for_ext_message"),
              (Records{received(1023), to_framework, received(4), to_framework}));
}

TEST_F(ARunningAgentWithAFramework, ClosesItsEndWhenTheFrameworkIsGone)
{
    ASSERT_TRUE(start());
    ASSERT_EQ(::shutdown(channel.daemon->fd(), SHUT_WR), 0);
    EXPECT_TRUE(channel.daemon->sees_the_end());
    EXPECT_EQ(logged(peer_closed), 1u);
}

TEST_F(ARunningAgentWithAFramework, AsksForTheDescriptorAtEveryRead)
{
    ASSERT_TRUE(start());
    ASSERT_TRUE(channel.daemon->send("old"));
    ASSERT_TRUE(agent->turns(1));
    FrameworkChannel second;
    connector.fd = second.agent_fd;
    IMS_User_Agent::__ua_sock._set(second.agent_fd, "r");
    ASSERT_TRUE(second.daemon->send("new"));
    ASSERT_TRUE(agent->turns(1));
    ASSERT_TRUE(channel.daemon->send("stale"));
    EXPECT_EQ(logged(received(5)), 1u);
    EXPECT_FALSE(agent->has_messages()) << "the old descriptor is any other one by now";
    EXPECT_EQ(agent->seen, (std::vector<Seen>{seen_text("old"), seen_text("new")}));
    second.daemon->close();
    channel.daemon->close();
    EXPECT_EQ(logged(peer_closed, 2), 2u);
}

TEST_F(ARunningAgentWithAFramework, TakesTelephonyAndFrameworkSideBySide)
{
    ASSERT_TRUE(start_and_connect());
    ASSERT_TRUE(channel.daemon->send("one"));
    ASSERT_TRUE(agent->turns(1));
    ASSERT_TRUE(sync_client.send(bytes_of({2})));
    ASSERT_TRUE(agent->turns(1));
    EXPECT_EQ(agent->seen, (std::vector<Seen>{seen_text("one"), seen_raw(2)}));
}

// Both ports of a framework daemon that goes away and comes back, in a process of its own. To each agent that
// connects it says the next text, and leaves when it is told to. Nothing needs to be answered.
class ComingFramework {
public:
    explicit ComingFramework(std::initializer_list<const char*> texts)
    {
        const int sync = listen(sync_port);
        const int async = listen(async_port);
        int ends[2] = {-1, -1};
        if (::pipe(ends) != 0) return;
        child_ = ::fork();
        if (child_ == 0) serve(sync, async, ends[0], texts);
        for (const int fd : {sync, async, ends[0]})
            ::close(fd);
        leave_ = ends[1];
    }
    ~ComingFramework()
    {
        ::kill(child_, SIGKILL);
        ::waitpid(child_, nullptr, 0);
        ::close(leave_);
    }
    ComingFramework(const ComingFramework&) = delete;
    ComingFramework& operator=(const ComingFramework&) = delete;
    bool leave() const { return ::write(leave_, "", 1) == 1; }
    std::string sync_port;
    std::string async_port;

private:
    static int listen(std::string& port)
    {
        const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        const bool listens =
            ::bind(fd, reinterpret_cast<sockaddr*>(&address), size) == 0 && ::listen(fd, 4) == 0;
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
        port = listens ? std::to_string(ntohs(address.sin_port)) : "0";
        return fd;
    }
    [[noreturn]] static void serve(int sync, int async, int told, std::initializer_list<const char*> texts)
    {
        for (const char* const text : texts) {
            const int ends[] = {::accept(sync, nullptr, nullptr), ::accept(async, nullptr, nullptr)};
            char byte = 0;
            if (::send(ends[1], text, std::strlen(text), MSG_NOSIGNAL) < 0 || ::read(told, &byte, 1) != 1)
                break;
            for (const int fd : ends)
                ::close(fd);
        }
        ::_exit(0);
    }
    pid_t child_ = -1;
    int leave_ = -1;
};

TEST_F(ARunningAgent, HearsTheFrameworkAgainAfterItCameBack)
{
    ComingFramework framework({"first", "second", "third", "last"});
    IMS_User_Agent::__ua_arg_fwksyncport = &framework.sync_port[0];
    IMS_User_Agent::__ua_arg_fwkasyncport = &framework.async_port[0];
    ASSERT_EQ(IMS_User_Agent::open_framework_sockets(), 1);
    ASSERT_TRUE(start());
    for (const char* const text : {"first", "second", "third"}) {
        ASSERT_TRUE(agent->turns(1)) << text;
        EXPECT_EQ(agent->seen.back(), seen_text(text));
        ASSERT_TRUE(framework.leave()) << "the agent connects again by itself";
    }
    ASSERT_TRUE(agent->turns(1));
    EXPECT_EQ(agent->seen.back(), seen_text("last"));
    EXPECT_EQ(IMS_User_Agent::close_framework_sockets(), 1);
}

// ---- framework text, without a thread ----

std::string standard_output_of(void (*body)(TelephonyAgent&))
{
    return run_in_child([body] {
               TelephonyAgent agent;
               body(agent);
               ::_exit(0); // whatever was not flushed is lost
           })
        .out;
}

void take_text(TelephonyAgent& agent, const char* text, int len)
{
    int fd = 3;
    agent.handle_fwk_message(fd, reinterpret_cast<unsigned char*>(const_cast<char*>(text)), len);
    EXPECT_EQ(fd, 3);
}

TEST(AFrameworkMessage, IsPrintedAsItCame)
{
    const std::string out = standard_output_of([](TelephonyAgent& agent) { take_text(agent, "a\nb", 3); });
    EXPECT_EQ(out, "Received Framework message len=3\nReceived Framework message=a\nb");
}

TEST(AFrameworkMessage, IsPrintedUpToItsLength)
{
    const std::string out = standard_output_of([](TelephonyAgent& agent) { take_text(agent, "abcdef", 2); });
    EXPECT_EQ(out, "Received Framework message len=2\nReceived Framework message=ab");
}

TEST(AFrameworkMessage, MayHoldAZeroByte)
{
    const std::string out = standard_output_of([](TelephonyAgent& agent) { take_text(agent, "a\0b%s", 5); });
    EXPECT_EQ(out, "Received Framework message len=5\nReceived Framework message=a");
    TelephonyAgent agent;
    agent.on_event = [](void* data) { EXPECT_EQ(std::memcmp(data, "a\0b%s", 6), 0); };
    take_text(agent, "a\0b%s", 5);
    EXPECT_TRUE(agent.turns(1));
}

TEST(AFrameworkMessage, MayBeEmpty)
{
    const std::string empty = "Received Framework message len=0\nReceived Framework message=";
    EXPECT_EQ(standard_output_of([](TelephonyAgent& agent) { take_text(agent, "abc", 0); }), empty);
    EXPECT_EQ(standard_output_of([](TelephonyAgent& agent) { take_text(agent, "abc", -5); }), empty);
    EXPECT_EQ(standard_output_of([](TelephonyAgent& agent) { take_text(agent, nullptr, 12); }), empty);
    TelephonyAgent agent;
    take_text(agent, nullptr, 12);
    take_text(agent, "abc", -5);
    EXPECT_TRUE(agent.turns(2));
    EXPECT_EQ(agent.seen, (std::vector<Seen>{seen_text(""), seen_text("")}));
}

TEST(AFrameworkMessage, IsDroppedWithoutMemory)
{
    LogRecords log;
    TelephonyAgent agent;
    {
        const Failing failing(Call::malloc, 1);
        take_text(agent, "text", 4);
    }
    EXPECT_FALSE(agent.has_messages());
    ASSERT_EQ(log.all().size(), 1u);
    EXPECT_EQ(log.all()[0].level, 3);
    EXPECT_EQ(log.all()[0].function, "handle_fwk_message");
}

TEST(AFrameworkMessage, IsDroppedWhenTheQueueIsFull)
{
    TelephonyAgent agent;
    for (int i = 0; i < 51; ++i)
        agent.fill_queue_and_send_signal(3, nullptr);
    take_text(agent, "text", 4);
    agent.drain();
    EXPECT_TRUE(agent.seen.empty());
    EXPECT_EQ(agent.events.size(), 51u);
}

using Lines = std::vector<std::string>;

Lines lines_of(const char* text)
{
    Lines lines = {"left over"};
    IMS_User_Agent::parse_prov_msg(text, lines);
    return lines;
}

TEST(AProvisioningMessage, IsItsLinesWithoutTheHeader)
{
    EXPECT_EQ(lines_of("header\none\ntwo"), (Lines{"one", "two"}));
    EXPECT_EQ(lines_of("header\none\ntwo\n"), (Lines{"one", "two", ""}));
    EXPECT_EQ(lines_of("header\n\n one \n"), (Lines{"", " one ", ""}));
    EXPECT_EQ(lines_of("header\r\none\r\n"), (Lines{"one\r", ""}));
}

TEST(AProvisioningMessage, MayHaveNothingButAHeader)
{
    EXPECT_EQ(lines_of("header"), Lines{});
    EXPECT_EQ(lines_of("header\n"), Lines{""});
    EXPECT_EQ(lines_of("\n"), Lines{""});
}

TEST(AProvisioningMessage, MayBeEmpty)
{
    EXPECT_EQ(lines_of(""), Lines{});
    EXPECT_EQ(lines_of(nullptr), Lines{});
}

TEST(AProvisioningMessage, HasNoLinesWithoutMemory)
{
    LogRecords log;
    const std::string text = "a header that does not fit into a string object\none";
    Lines lines;
    bool failed = false;
    for (int nth = 1; nth < 20; ++nth) {
        lines = {"left over"};
        const Failing failing(Call::operator_new, nth);
        IMS_User_Agent::parse_prov_msg(text.c_str(), lines);
        if (!failing.has_happened()) break;
        failed = true;
        EXPECT_EQ(lines, Lines{}) << nth;
    }
    EXPECT_TRUE(failed);
    EXPECT_EQ(lines, Lines{"one"});
}

// ---- cancellation and the end of the agent ----

bool every_other_thread_sleeps()
{
    DIR* const tasks = ::opendir("/proc/self/task");
    const std::string self = std::to_string(::syscall(SYS_gettid));
    bool all = true;
    while (const dirent* const task = ::readdir(tasks)) {
        if (task->d_name[0] == '.' || task->d_name == self) continue;
        std::ifstream stat(std::string("/proc/self/task/") + task->d_name + "/stat");
        std::string text;
        std::getline(stat, text);
        const std::size_t name_end = text.rfind(')');
        all = all && (name_end == std::string::npos || text.compare(name_end, 3, ") S") == 0);
    }
    ::closedir(tasks);
    return all;
}

TEST_F(ARunningAgent, IsNotCancelledInTheMiddleOfAMessage)
{
    std::promise<void> entered;
    std::promise<void> may_end;
    std::shared_future<void> end = may_end.get_future().share();
    action_entered = &entered;
    action_may_end = &end;
    ifc.initialize_event_tbl(waiting_table);
    ASSERT_TRUE(start_and_connect());
    ASSERT_TRUE(async_client.send(bytes_of({1})));
    entered.get_future().wait();
    agent->ext_thread_->cancel_thread();
    may_end.set_value();
    EXPECT_TRUE(agent->turns(1));
    EXPECT_EQ(agent->seen, (std::vector<Seen>{seen_mapped(1)}));
    agent->ext_thread_->wait_until_ended();
    EXPECT_FALSE(agent->ext_thread_->is_running());
}

TEST_F(ARunningAgent, IsCancelledAfterTheRoundThatItWaitsFor)
{
    ASSERT_TRUE(start_and_connect());
    ASSERT_TRUE(async_client.send(bytes_of({1})));
    ASSERT_TRUE(agent->turns(1)); // it waits again, or is on its way to
    agent->ext_thread_->cancel_thread();
    ASSERT_TRUE(sync_client.send(bytes_of({2})));
    agent->ext_thread_->wait_until_ended();
    EXPECT_FALSE(agent->ext_thread_->is_running());
    EXPECT_LE(agent->seen.size(), 2u);
}

// Also where the loop runs on a thread of the caller's: not in the wait itself, where it holds what the next
// round needs.
TEST_F(ARunningAgent, LetsAnyThreadThatRunsItsLoopBeCancelledBetweenTwoRoundsOnly)
{
    FrameworkChannel channel;
    IMS_User_Agent::__ua_sock._set(channel.agent_fd, "r");
    BlockedThread thread([&] { agent->wait_for_ext_message(); });
    ASSERT_EQ(::pthread_cancel(thread.handle()), 0);
    ASSERT_TRUE(channel.daemon->send("last"));
    thread.join();
    EXPECT_EQ(log.of("wait_for_ext_message"), (Records{received(4)}));
}

// They wait for the same descriptors, and neither must take a wake-up that was meant for the other.
TEST_F(ARunningAgent, MayEndWhileAnotherOneRuns)
{
    for (int round = 0; round < 20; ++round) {
        TelephonyAgent other;
        TelephonyAgent third;
        ASSERT_EQ(other.create_external_interface_thread(), 1);
        ASSERT_EQ(third.create_external_interface_thread(), 1);
        ASSERT_TRUE(soon([] { return every_other_thread_sleeps(); }));
    }
    ASSERT_TRUE(start_and_connect());
}

TEST_F(ARunningAgent, IsStoppedWhileClientsKeepSending)
{
    ASSERT_TRUE(start_and_connect());
    const int flags = ::fcntl(async_client.fd(), F_GETFL);
    ::fcntl(async_client.fd(), F_SETFL, flags | O_NONBLOCK);
    std::atomic<bool> done{false};
    std::thread flood([&] {
        const std::string bytes = bytes_of({{1, "x"}, {2}});
        while (!done)
            (void)async_client.send(bytes);
    });
    ASSERT_TRUE(agent->turns(20));
    IMS_thread_utility* const thread = agent->ext_thread_;
    agent->ext_thread_->cancel_thread();
    thread->wait_until_ended();
    agent->drain();
    stop();
    done = true;
    flood.join();
    EXPECT_FALSE(thread->is_running());
}

TEST_F(ARunningAgent, LetsItsInterfaceComeAndGoDuringTraffic)
{
    ASSERT_TRUE(start_and_connect());
    constexpr int count = 2000;
    std::thread client([&] {
        for (int i = 0; i < count; ++i)
            ASSERT_TRUE(async_client.send(bytes_of({1})));
    });
    for (int i = 0; i < count; ++i) {
        agent->install_tapi_ifc(i % 2 != 0 ? &ifc : nullptr);
        agent->drain();
    }
    client.join();
    agent->install_tapi_ifc(&ifc);
    ASSERT_TRUE(soon([&] { // the queue may still be full of the other client's
        EXPECT_TRUE(sync_client.send(bytes_of({2})));
        agent->drain();
        return !agent->seen.empty() && agent->seen.back() == seen_raw(2);
    }));
}

} // namespace
