// The bounded queue in front of the SIP thread, and the descriptor that wakes it.
//
// Thread   push: any. take, close: the SIP thread, or whoever ends it.
// Memory   room for as many orders as ever waited at one time, `most` and a little more; on the SIP thread
// itself push never waits and may go beyond.
#ifndef SIPLIB_ORDER_QUEUE_H_INCLUDED
#define SIPLIB_ORDER_QUEUE_H_INCLUDED

#include "siplib/backend.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <vector>

namespace siplib {

struct Order {
    enum class Kind : unsigned char { request, response, task };
    Kind kind = Kind::task;
    RequestOrder request;
    ResponseOrder response;
    std::function<void()> task;
};

class OrderQueue {
public:
    explicit OrderQueue(std::size_t most);
    ~OrderQueue();
    OrderQueue(const OrderQueue&) = delete;
    OrderQueue& operator=(const OrderQueue&) = delete;

    bool usable() const { return wake_ >= 0; }
    int wake_descriptor() const { return wake_; } // readable while something waits

    // False: closed. With `may_wait`, waits while the queue is full.
    bool push(Order order, bool may_wait);

    // Moves at most `most` orders to `batch`, which is cleared first.
    void take(std::vector<Order>& batch, std::size_t most);

    // No push succeeds any more; those that wait return. What is left is dropped.
    void close();

private:
    void grow();

    const std::size_t most_;
    const int wake_;
    std::mutex mutex_;
    std::condition_variable room_;
    std::vector<Order> orders_; // a ring: nothing is allocated while it does not grow
    std::size_t first_ = 0, count_ = 0;
    unsigned waiting_ = 0;
    bool closed_ = false;
};

} // namespace siplib

#endif
