#include "core/IMS_queue_manager.h"

#include "baseuafw/baseuafw.h"

#include <atomic>
#include <memory_resource>
#include <new>
#include <vector>

namespace {

// Strictly more than this many elements held refuse the next one, so 51 fit.
constexpr std::size_t refused_above = 50;

} // namespace

// In one piece: two threads write here all the time, so what they touch lies together and nothing else near
// it.
struct IMS_queue_manager::Elements {
    std::pmr::monotonic_buffer_resource room{storage, sizeof storage, std::pmr::null_memory_resource()};
    std::pmr::vector<_Q_ELEMENT_T*> list{&room}; // newest first
    std::atomic<std::size_t> held{0};            // its size, for everybody
    _Q_ELEMENT_T* storage[refused_above + 1];    // what the list lies in

    Elements() { list.reserve(refused_above + 1); }
    void publish_size() { held.store(list.size(), std::memory_order_release); }
};

IMS_queue_manager::IMS_queue_manager() : queue_(new (std::nothrow) Elements)
{
    if (queue_) return;
    IMS_log::loginfo(3, "IMS_queue_manager", "Could not create message queue!");
    IMS_daemon::fatal_exit(-1);
}

IMS_queue_manager::~IMS_queue_manager()
{
    delete queue_;
}

int IMS_queue_manager::enqueue(_Q_ELEMENT_T* element)
{
    if (!element) return QUEUE_NULL_ELEMENT;
    if (queue_->list.size() > refused_above) {
        IMS_log::loginfo(4, "enqueue", "Message queue overflow! - Enqueue operation failed");
        return QUEUE_OVERFLOW;
    }
    queue_->list.insert(queue_->list.begin(), element);
    queue_->publish_size();
    return QUEUE_OK;
}

int IMS_queue_manager::dequeue(_Q_ELEMENT_T** element)
{
    if (!element) return QUEUE_NULL_ELEMENT;
    if (queue_->list.empty()) {
        IMS_log::loginfo(4, "dequeue", "Message queue underflow! - Dequeue operation failed");
        return QUEUE_UNDERFLOW;
    }
    *element = queue_->list.back();
    queue_->list.pop_back();
    queue_->publish_size();
    return QUEUE_OK;
}

bool IMS_queue_manager::isEmpty() const
{
    return queue_->list.empty();
}

std::size_t IMS_queue_manager::heldAbout() const
{
    return queue_->held.load(std::memory_order_acquire);
}
