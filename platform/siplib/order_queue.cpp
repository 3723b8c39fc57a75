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

void OrderQueue::grow()
{
    std::vector<Order> larger(orders_.empty() ? 64 : 2 * orders_.size());
    for (std::size_t i = 0; i < count_; ++i)
        larger[i] = std::move(orders_[(first_ + i) % orders_.size()]);
    orders_.swap(larger);
    first_ = 0;
}

bool OrderQueue::push(Order order, bool may_wait)
{
    bool was_empty = false;
    {
        std::unique_lock<std::mutex> lock(mutex_);
        while (may_wait && !closed_ && count_ >= most_) {
            ++waiting_;
            room_.wait(lock);
            --waiting_;
        }
        if (closed_) return false;
        was_empty = count_ == 0;
        if (count_ == orders_.size()) grow();
        orders_[(first_ + count_) % orders_.size()] = std::move(order);
        ++count_;
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
        while (count_ > 0 && batch.size() < most) {
            batch.push_back(std::move(orders_[first_]));
            first_ = (first_ + 1) % orders_.size();
            --count_;
        }
        if (count_ == 0) {
            eventfd_t count = 0;
            eventfd_read(wake_, &count);
        }
        // Waking writers one by one as soon as there is room would make them and this thread take turns.
        wake_writers = waiting_ > 0 && count_ <= most_ / 2;
    }
    if (wake_writers) room_.notify_all();
}

void OrderQueue::close()
{
    {
        std::lock_guard<std::mutex> guard(mutex_);
        closed_ = true;
        orders_.clear();
        first_ = count_ = 0;
    }
    room_.notify_all();
}

} // namespace siplib
