#include "siplib/order_queue.h"

#include <cstdint>
#include <sys/eventfd.h>
#include <unistd.h>

namespace siplib {

OrderQueue::OrderQueue(std::size_t most)
    : most_(most > 0 ? most : 1), wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
}

OrderQueue::~OrderQueue()
{
    if (wake_ >= 0) ::close(wake_);
}

bool OrderQueue::push(Order order, bool may_wait)
{
    bool was_empty = false;
    {
        std::unique_lock<std::mutex> lock(mutex_);
        while (may_wait && !closed_ && orders_.size() >= most_) {
            ++waiting_;
            room_.wait(lock);
            --waiting_;
        }
        if (closed_) return false;
        was_empty = orders_.empty();
        orders_.push_back(std::move(order));
    }
    if (was_empty) eventfd_write(wake_, 1);
    return true;
}

void OrderQueue::take(std::vector<Order>& batch, std::size_t most)
{
    batch.clear();
    bool wake_writers = false;
    {
        std::lock_guard<std::mutex> guard(mutex_);
        while (!orders_.empty() && batch.size() < most) {
            batch.push_back(std::move(orders_.front()));
            orders_.pop_front();
        }
        if (orders_.empty()) {
            eventfd_t count = 0;
            eventfd_read(wake_, &count);
        }
        // Waking writers one by one as soon as there is room would make them and this thread take turns.
        wake_writers = waiting_ > 0 && orders_.size() <= most_ / 2;
    }
    if (wake_writers) room_.notify_all();
}

void OrderQueue::close()
{
    {
        std::lock_guard<std::mutex> guard(mutex_);
        closed_ = true;
        orders_.clear();
    }
    room_.notify_all();
}

} // namespace siplib
