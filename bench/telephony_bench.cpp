// Telephony: from the bytes on a socket to handle_event, beside a bare loop on the same number of threads
// that receives, makes the same allocations, copies and hands over through a mutex and a condition; and the
// round trip of a synchronous request beside a bare echo on a Unix socket.
//
// What is one read is fixed by a socket that keeps packets apart. A read of the agent holds at most 1023
// bytes, thus three messages with 256 bytes of body; fifty of those are handed to either splitter without a
// socket. The log shows what is fatal and nothing else: traces and failures are made but not written.
#include "bench/support/ratios.h"
#include "core/IMS_Tapi_ifc.h"
#include "core/IMS_User_Agent.h"
#include "include/shared_value.h"
#include "include/tapi_wire.h"

#include <atomic>
#include <benchmark/benchmark.h>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <mutex>
#include <poll.h>
#include <sched.h>
#include <semaphore.h>
#include <string>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

constexpr int WINDOWS = 40; // in a burst, after which figures are taken

// `count` messages with `body_size` bytes of body.
std::string batch_of(int count, std::size_t body_size)
{
    TAC_MSG_S header = {};
    header.msg_id = 100;
    header.body_len = static_cast<std::uint16_t>(body_size);
    char wire[TAC_MSG_WIRE_SIZE];
    imsua::pack_tapi_header(header, 0, wire);
    std::string bytes;
    for (int i = 0; i < count; ++i)
        bytes += std::string(wire, sizeof wire) + std::string(body_size, 'b');
    return bytes;
}

// What a handler does in either: it sees the message and counts. The client sends a window of messages, fewer
// than the queue's bound, and sleeps until all of them were handled: nobody spins.
struct alignas(64) Counter {
    explicit Counter(int window_size) : window(window_size) { ::sem_init(&emptied, 0, 0); }
    void handle(const void* message)
    {
        benchmark::DoNotOptimize(message);
        if (++handled % window == 0) ::sem_post(&emptied);
    }
    void wait_until_emptied()
    {
        while (::sem_wait(&emptied) != 0) {
        }
    }
    const int window;
    int handled = 0; // the handling thread's own
    sem_t emptied;
};

class Ours : public IMS_User_Agent {
public:
    explicit Ours(int window) : counter(window) { install_tapi_ifc(&ifc_); }
    void split(std::string& bytes)
    {
        ifc_.handle_tapi_message(reinterpret_cast<unsigned char*>(&bytes[0]), static_cast<int>(bytes.size()));
    }
    void consume() { process_one_message(); }
    // Reads from `fd` on a thread of its own until the object goes.
    void read_from(int fd)
    {
        imsua::store_shared(__ua_tapi_asyncfd, fd);
        __ua_sock._set(fd, "r");
        create_external_interface_thread();
    }
    unsigned int get_event_id_from_message(void*) override { return 1; }
    unsigned short handle_event(unsigned int, void* data) override
    {
        counter.handle(data);
        return 0;
    }
    Counter counter;

private:
    IMS_Tapi_ifc ifc_{this};
};

// `watches`: waits in poll for the socket and a wake-up descriptor before each read.
template <bool watches>
class Bare {
public:
    explicit Bare(int window) : counter(window) {}
    ~Bare()
    {
        if (reader_.joinable()) reader_.join();
    }
    void split(const std::string& bytes) { split(bytes.data(), bytes.size()); }
    void consume()
    {
        std::unique_lock<std::mutex> lock(mutex_);
        if (queue_.empty()) filled_.wait(lock);
        if (queue_.empty()) return;
        Node* const node = queue_.back();
        queue_.pop_back();
        lock.unlock();
        counter.handle(node->message);
        std::free(node->message->body);
        std::free(node->message);
        std::free(node);
    }
    void read_from(int fd)
    {
        reader_ = std::thread([this, fd] {
            const int wakeup = watches ? ::eventfd(0, 0) : -1;
            char buffer[1024];
            for (;;) {
                pollfd watched[] = {{wakeup, POLLIN, 0}, {fd, POLLIN, 0}};
                if (watches && ::poll(watched, 2, -1) < 0) break;
                const ssize_t n = ::recv(fd, buffer, 1023, 0);
                if (n <= 0) break;
                split(buffer, static_cast<std::size_t>(n));
            }
            if (watches) ::close(wakeup);
        });
    }
    Counter counter;

private:
    struct Node {
        int kind;
        TAC_MSG_S* message;
    };
    void split(const char* bytes, std::size_t size)
    {
        while (size >= 16) {
            auto* const message = static_cast<TAC_MSG_S*>(std::malloc(sizeof(TAC_MSG_S)));
            std::memcpy(message, bytes, 12);
            message->body = nullptr;
            const std::size_t body = std::min<std::size_t>(message->body_len, size - 16);
            if (body != 0) {
                message->body = static_cast<unsigned char*>(std::malloc(body));
                std::memcpy(message->body, bytes + 16, body);
            }
            bytes += 16 + body;
            size -= 16 + body;
            hand_over(message);
        }
    }
    void hand_over(TAC_MSG_S* message)
    {
        auto* const node = static_cast<Node*>(std::malloc(sizeof(Node)));
        *node = {0, message};
        const std::lock_guard<std::mutex> guard(mutex_);
        if (queue_.size() > 50) std::abort();
        queue_.insert(queue_.begin(), node);
        filled_.notify_one();
    }
    std::vector<Node*> queue_;
    std::mutex mutex_;
    std::condition_variable filled_;
    std::thread reader_;
};

// One thread sends `per_window` times, a window of messages in all, and sleeps until they were handled; this
// one handles them.
template <typename Receiver, typename Send>
void run_windows(benchmark::State& state, Receiver& receiver, int per_window, Send send)
{
    const int burst = WINDOWS * receiver.counter.window;
    while (state.KeepRunningBatch(burst)) { // figures are for one message
        receiver.counter.handled = 0;
        std::thread sender([&] {
            for (int window = 0; window < WINDOWS; ++window) {
                for (int i = 0; i < per_window; ++i)
                    send();
                receiver.counter.wait_until_emptied();
            }
        });
        while (receiver.counter.handled < burst)
            receiver.consume();
        sender.join();
    }
    state.SetItemsProcessed(state.iterations());
}

// A client sends packets of `per_read` messages, a reader splits them, this thread handles them.
template <typename Receiver>
void receive(benchmark::State& state, int per_read, std::size_t body_size)
{
    IMS_log::set_level(3);
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends) != 0) return state.SkipWithError("socketpair");
    {
        const int per_window = per_read == 1 ? 40 : per_read == 3 ? 13 : 1;
        Receiver receiver(per_window * per_read);
        receiver.read_from(ends[0]);
        const std::string packet = batch_of(per_read, body_size);
        run_windows(state, receiver, per_window, [&] {
            if (::send(ends[1], packet.data(), packet.size(), 0) < 0) std::abort();
        });
        ::close(ends[1]); // ends the bare reader; the agent's is stopped by its destructor
    }
    IMS_User_Agent::__ua_sock._unset(ends[0], "r");
    ::close(ends[0]);
    imsua::store_shared(IMS_User_Agent::__ua_tapi_asyncfd, -1);
}

// Without a socket: one thread splits fifty messages, another handles them.
template <typename Receiver>
void split_and_hand_over(benchmark::State& state, std::size_t body_size)
{
    IMS_log::set_level(3);
    Receiver receiver(50);
    std::string batch = batch_of(50, body_size);
    run_windows(state, receiver, 1, [&] { receiver.split(batch); });
}

// The plain cost of the code: the same on one thread.
template <typename Receiver>
void split_one_thread(benchmark::State& state, std::size_t body_size)
{
    constexpr int per_read = 50;
    IMS_log::set_level(3);
    Receiver receiver(per_read);
    std::string batch = batch_of(per_read, body_size);
    while (state.KeepRunningBatch(per_read)) {
        receiver.split(batch);
        for (int i = 0; i < per_read; ++i)
            receiver.consume();
        receiver.counter.wait_until_emptied();
    }
    state.SetItemsProcessed(state.iterations());
}

// ---- round trip ----

constexpr std::size_t REQUEST_SIZE = 32; // a header and 16 bytes

void round_trips(benchmark::State& state, int fd)
{
    const std::string request = batch_of(1, REQUEST_SIZE - TAC_MSG_WIRE_SIZE);
    char answer[REQUEST_SIZE];
    for (auto _ : state) {
        if (::send(fd, request.data(), request.size(), 0) != static_cast<ssize_t>(REQUEST_SIZE) ||
            ::recv(fd, answer, sizeof answer, MSG_WAITALL) != static_cast<ssize_t>(REQUEST_SIZE))
            return state.SkipWithError("no answer");
    }
    state.SetItemsProcessed(state.iterations());
}

// Answers every request with its own body.
class Answering : public IMS_User_Agent {
public:
    Answering() { install_tapi_ifc(&ifc_); }
    void run()
    {
        while (!done)
            process_one_message();
    }
    unsigned int get_event_id_from_message(void* element) override
    {
        return static_cast<unsigned int>(static_cast<_Q_ELEMENT_T*>(element)->msg_type);
    }
    unsigned short handle_event(unsigned int event, void* data) override
    {
        if (event != MSG_TYPE_TAPI_RAW) return 0;
        auto* const request = static_cast<TAC_MSG_S*>(data);
        send_tapi_sync_resp_message(request, request->body, request->body_len);
        return 1;
    }
    std::atomic<bool> done{false};

private:
    IMS_Tapi_ifc ifc_{this};
};

void connect_to_agent(int& async_end, int& sync_end)
{
    IMS_socket& sock = IMS_User_Agent::__ua_sock;
    const auto connected = [&](int& end, const int& descriptor) {
        while ((end = sock._connect("bench.sock", "unix", "stream")) < 0)
            ::sched_yield();
        while (imsua::load_shared(descriptor) < 0)
            ::sched_yield();
    };
    connected(async_end, IMS_User_Agent::__ua_tapi_asyncfd);
    connected(sync_end, IMS_User_Agent::__ua_tapi_syncfd);
}

void round_trip_ours(benchmark::State& state)
{
    IMS_log::set_level(3);
    IMS_daemon::__d_progname = "bench";
    int async_end = -1;
    int sync_end = -1;
    {
        Answering agent;
        if (agent.create_all_external_descriptors() != 1) return state.SkipWithError("no socket");
        std::thread main_loop([&] { agent.run(); });
        connect_to_agent(async_end, sync_end);
        round_trips(state, sync_end);
        agent.done = true;
        agent.fill_queue_and_send_signal(5, nullptr);
        main_loop.join();
    }
    for (const int fd : {async_end, sync_end})
        ::close(fd);
    for (int* const fd : {&IMS_User_Agent::__ua_tapi_listenfd, &IMS_User_Agent::__ua_tapi_asyncfd,
                          &IMS_User_Agent::__ua_tapi_syncfd}) {
        IMS_User_Agent::__ua_sock._close(*fd);
        imsua::store_shared(*fd, -1);
    }
}

// Reads and answers on one thread: one hop less than an agent makes by its contract.
void round_trip_bare(benchmark::State& state)
{
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0) return state.SkipWithError("socketpair");
    std::thread echo([&] {
        char buffer[1024];
        for (ssize_t n; (n = ::recv(ends[0], buffer, sizeof buffer, 0)) > 0;)
            ::send(ends[0], buffer, static_cast<std::size_t>(n), MSG_NOSIGNAL);
    });
    round_trips(state, ends[1]);
    ::close(ends[1]);
    echo.join();
    ::close(ends[0]);
}

// Reads on one thread, answers on another, as an agent must.
void round_trip_bare_two_threads(benchmark::State& state)
{
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0) return state.SkipWithError("socketpair");
    std::mutex mutex;
    std::condition_variable filled;
    std::vector<std::string> queue;
    std::thread answerer([&] {
        for (;;) {
            std::unique_lock<std::mutex> lock(mutex);
            filled.wait(lock, [&] { return !queue.empty(); });
            const std::string bytes = std::move(queue.back());
            queue.pop_back();
            lock.unlock();
            if (bytes.empty()) return;
            ::send(ends[0], bytes.data(), bytes.size(), MSG_NOSIGNAL);
        }
    });
    std::thread reader([&] {
        char buffer[1024];
        for (ssize_t n = 1; n > 0;) {
            n = ::recv(ends[0], buffer, sizeof buffer, 0);
            const std::lock_guard<std::mutex> guard(mutex);
            queue.emplace_back(buffer, static_cast<std::size_t>(std::max<ssize_t>(n, 0)));
            filled.notify_one();
        }
    });
    round_trips(state, ends[1]);
    ::close(ends[1]);
    reader.join();
    answerer.join();
    ::close(ends[0]);
}

template <typename Run>
void add(const std::string& name, Run run)
{
    benchmark::RegisterBenchmark(name.c_str(), run)->MeasureProcessCPUTime()->UseRealTime();
}

// The same measurement of both.
void add_receive(const std::string& name, int per_read, std::size_t body_size)
{
    add(name + "_ours", [=](benchmark::State& state) { receive<Ours>(state, per_read, body_size); });
    add(name + "_bare", [=](benchmark::State& state) { receive<Bare<true>>(state, per_read, body_size); });
    add(name + "_alone", [=](benchmark::State& state) { receive<Bare<false>>(state, per_read, body_size); });
}

void add_split(const std::string& name, std::size_t body_size)
{
    add(name + "_ours", [=](benchmark::State& state) { split_and_hand_over<Ours>(state, body_size); });
    add(name + "_bare", [=](benchmark::State& state) { split_and_hand_over<Bare<false>>(state, body_size); });
}

void add_one_thread(const std::string& name, std::size_t body_size)
{
    add(name + "_ours", [=](benchmark::State& state) { split_one_thread<Ours>(state, body_size); });
    add(name + "_bare", [=](benchmark::State& state) { split_one_thread<Bare<false>>(state, body_size); });
}

// For information: beside a baseline that does less, or more.
bench::Ratio alone(const std::string& what, const std::string& name)
{
    return {what, name + "_ours", name + "_alone", 0};
}

bench::Ratio handed(const std::string& what, const std::string& name)
{
    return {what, name + "_ours", name + "_handed", 0};
}

bench::Ratio ratio(const std::string& what, const std::string& name, double target)
{
    return {what, name + "_ours", name + "_bare", target};
}

} // namespace

int main(int argc, char** argv)
{
    ::setenv("IMS_SOCKET_DIR", std::filesystem::temp_directory_path().c_str(), 1);
    add_receive("Tapi16_1PerRead", 1, 0);
    add_receive("Tapi16_50PerRead", 50, 0);
    add_receive("Tapi256_1PerRead", 1, 256);
    add_receive("Tapi256_3PerRead", 3, 256);
    add_split("Tapi256_50Split", 256);
    add_one_thread("Tapi16_OneThread", 0);
    add_one_thread("Tapi256_OneThread", 256);
    add("TapiRoundTrip_ours", &round_trip_ours);
    add("TapiRoundTrip_bare", &round_trip_bare);
    add("TapiRoundTrip_handed", &round_trip_bare_two_threads);
    return bench::run_with_ratios(argc, argv,
                                  {ratio("telephony, 16 bytes, 1 a read", "Tapi16_1PerRead", 0.85),
                                   ratio("telephony, 16 bytes, 50 a read", "Tapi16_50PerRead", 0.85),
                                   ratio("telephony, body of 256, 1 a read", "Tapi256_1PerRead", 0.85),
                                   ratio("telephony, body of 256, 3 a read", "Tapi256_3PerRead", 0.85),
                                   ratio("telephony, body of 256, 50 split", "Tapi256_50Split", 0.85),
                                   ratio("telephony, 16 bytes, one thread", "Tapi16_OneThread", 0.85),
                                   ratio("telephony, body of 256, one thread", "Tapi256_OneThread", 0.85),
                                   ratio("telephony, synchronous round trip", "TapiRoundTrip", 0.67),
                                   alone("16 bytes, 1 a read, beside one alone", "Tapi16_1PerRead"),
                                   alone("16 bytes, 50 a read, beside one alone", "Tapi16_50PerRead"),
                                   alone("body of 256, 1 a read, beside one alone", "Tapi256_1PerRead"),
                                   alone("body of 256, 3 a read, beside one alone", "Tapi256_3PerRead"),
                                   handed("round trip, beside a bare hand-over", "TapiRoundTrip")});
}
