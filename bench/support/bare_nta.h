// The baseline of the SIP benchmarks: the same requests sent by Sofia-SIP's NTA alone, from one thread, with
// a window of outstanding transactions.
#ifndef BENCH_SUPPORT_BARE_NTA_H_INCLUDED
#define BENCH_SUPPORT_BARE_NTA_H_INCLUDED

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace bench {

class BareNta {
public:
    BareNta();
    ~BareNta();

    // Sends each request (complete but for Via) and returns when each has its final response: how many were
    // 200.
    int send_all(const std::vector<std::string>& requests, int window);

    BareNta(const BareNta&) = delete;
    BareNta& operator=(const BareNta&) = delete;

private:
    friend class HandedNta;
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

// The same on a thread of its own, to which the requests of a sweep are handed all at once, and which tells
// when they are done: two wake-ups a sweep and nothing else. Less than that no library with a thread of its
// own can do.
class HandedNta {
public:
    HandedNta();
    ~HandedNta();
    int send_all(const std::vector<std::string>& requests, int window);

    HandedNta(const HandedNta&) = delete;
    HandedNta& operator=(const HandedNta&) = delete;

private:
    void serve();
    void work();

    const int wake_;
    std::mutex mutex_; // guards what follows, up to done_
    const std::vector<std::string>* requests_ = nullptr;
    int window_ = 0;
    int good_ = 0;
    bool ending_ = false;
    std::condition_variable done_;
    BareNta* nta_ = nullptr; // on the thread
    std::thread thread_;
};

} // namespace bench

#endif
