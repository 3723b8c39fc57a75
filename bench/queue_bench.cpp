// The queue hop: from a producer to handle_event, beside a bare mutex, condition and bounded vector that make
// the same allocations.
//
// Three patterns: a stream (a producer thread that keeps up to 40 messages under way), a round trip (one
// message at a time, the producer waits until it was handled), and a turn on one thread (no contention: the
// plain cost of the code). Where two threads wake each other, a run falls by chance into one of two ways of
// going on: the consumer sleeps before each message, or it always finds the next one there, which is ten
// times as fast. So there are many short runs, interleaved, and a second copy of the baseline shows how far
// chance alone goes. The log's level is that of a deployed daemon: failures, no traces.
#include "bench/support/ratios.h"
#include "core/IMS_User_Agent.h"

#include <atomic>
#include <benchmark/benchmark.h>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <sched.h>
#include <thread>
#include <vector>

namespace {

constexpr int BURST = 5000;   // messages a producer thread sends
constexpr int UNDER_WAY = 40; // below the queue's bound, so that nothing is dropped
constexpr std::size_t PAYLOAD = 32;

// What a handler does in either: it sees the payload and counts. On a cache line of its own, since the
// producer looks at it all the time: beside a lock it would slow that down.
struct alignas(64) Counter {
    std::atomic<int> handled{0};
    void handle(const void* data)
    {
        benchmark::DoNotOptimize(data);
        handled.fetch_add(1, std::memory_order_release);
    }
};

// Gives the processor away only when waiting takes long: a system call in every round would be most of what
// is measured.
template <typename Condition>
void wait_until(Condition condition)
{
    for (unsigned round = 1; !condition(); ++round)
        if (round % 1024 == 0) ::sched_yield();
}

class Ours : public IMS_User_Agent {
public:
    void produce(void* payload) { fill_queue_and_send_signal(MSG_TYPE_FWK, payload); }
    void consume() { process_one_message(); }
    unsigned int get_event_id_from_message(void*) override { return 1; }
    unsigned short handle_event(unsigned int, void* data) override
    {
        counter.handle(data);
        return 0;
    }
    Counter counter;
};

class Bare {
public:
    struct Node {
        int kind;
        void* data;
    };
    Bare() { queue_.reserve(51); }
    void produce(void* payload)
    {
        auto* const node = static_cast<Node*>(std::malloc(sizeof(Node)));
        *node = {11, payload};
        std::lock_guard<std::mutex> guard(mutex_);
        if (queue_.size() > 50) std::abort();
        queue_.insert(queue_.begin(), node);
        filled_.notify_one();
    }
    void consume()
    {
        std::unique_lock<std::mutex> lock(mutex_);
        if (queue_.empty()) filled_.wait(lock);
        if (queue_.empty()) return;
        Node* const node = queue_.back();
        queue_.pop_back();
        lock.unlock();
        counter.handle(node->data);
        std::free(node->data);
        std::free(node);
    }
    Counter counter;

private:
    std::vector<Node*> queue_;
    std::mutex mutex_;
    std::condition_variable filled_;
};

// Sends BURST messages from a thread of its own, never more than `under_way` unhandled.
template <typename Queue>
void run_threads(benchmark::State& state, int under_way)
{
    IMS_log::set_level(4);
    Queue queue;
    while (state.KeepRunningBatch(BURST)) { // figures are for one message
        queue.counter.handled = 0;
        std::thread producer([&] {
            for (int sent = 0; sent < BURST; ++sent) {
                wait_until(
                    [&] { return sent - queue.counter.handled.load(std::memory_order_acquire) < under_way; });
                queue.produce(std::malloc(PAYLOAD));
            }
        });
        while (queue.counter.handled.load(std::memory_order_relaxed) < BURST)
            queue.consume();
        producer.join();
    }
    state.SetItemsProcessed(state.iterations());
}

template <typename Queue>
void stream(benchmark::State& state)
{
    run_threads<Queue>(state, UNDER_WAY);
}

template <typename Queue>
void round_trip(benchmark::State& state)
{
    run_threads<Queue>(state, 1);
}

template <typename Queue>
void one_thread(benchmark::State& state)
{
    IMS_log::set_level(4);
    Queue queue;
    for (auto _ : state) {
        queue.produce(std::malloc(PAYLOAD));
        queue.consume();
    }
    state.SetItemsProcessed(state.iterations());
}

// With `held` messages waiting all the time: what the vector's front insertion costs.
template <typename Queue>
void one_thread_full(benchmark::State& state)
{
    IMS_log::set_level(4);
    Queue queue;
    for (int i = 0; i < 50; ++i)
        queue.produce(std::malloc(PAYLOAD));
    for (auto _ : state) {
        queue.produce(std::malloc(PAYLOAD));
        queue.consume();
    }
    for (int i = 0; i < 50; ++i)
        queue.consume();
    state.SetItemsProcessed(state.iterations());
}

void add(const char* name, void (*run)(benchmark::State&))
{
    benchmark::RegisterBenchmark(name, run)->UseRealTime();
}

} // namespace

int main(int argc, char** argv)
{
    add("QueueStream_ours", stream<Ours>);
    add("QueueStream_bare", stream<Bare>);
    add("QueueRoundTrip_ours", round_trip<Ours>);
    add("QueueStream_bare2", stream<Bare>);
    add("QueueRoundTrip_bare", round_trip<Bare>);
    add("QueueRoundTrip_bare2", round_trip<Bare>);
    add("QueueOneThread_ours", one_thread<Ours>);
    add("QueueOneThread_bare", one_thread<Bare>);
    add("QueueOneThreadFull_ours", one_thread_full<Ours>);
    add("QueueOneThreadFull_bare", one_thread_full<Bare>);
    return bench::run_with_ratios(
        argc, argv,
        {{"queue hop, stream of messages", "QueueStream_ours", "QueueStream_bare", 0.9},
         {"queue hop, one message at a time", "QueueRoundTrip_ours", "QueueRoundTrip_bare", 0.9},
         {"chance: stream, bare to itself", "QueueStream_bare2", "QueueStream_bare", 0},
         {"chance: one at a time, bare to itself", "QueueRoundTrip_bare2", "QueueRoundTrip_bare", 0},
         {"queue turn, one thread", "QueueOneThread_ours", "QueueOneThread_bare", 0.9},
         {"queue turn, one thread, 50 held", "QueueOneThreadFull_ours", "QueueOneThreadFull_bare", 0.9}});
}
