#include "core/IMS_queue_manager.h"

#include "baseuafw/baseuafw.h"

#include <new>

namespace {

using Elements = std::vector<_Q_ELEMENT_T*>;

// Strictly more than this many elements held refuse the next one, so 51 fit.
constexpr Elements::size_type refused_above = 50;

// Null when there is no memory for the vector or for all it will ever hold.
Elements* create_elements()
{
    Elements* const elements = new (std::nothrow) Elements;
    if (!elements) return nullptr;
    try {
        elements->reserve(refused_above + 1);
    } catch (const std::bad_alloc&) {
        delete elements;
        return nullptr;
    }
    return elements;
}

} // namespace

IMS_queue_manager::IMS_queue_manager() : queue_(create_elements())
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
    if (queue_->size() > refused_above) {
        IMS_log::loginfo(4, "enqueue", "Message queue overflow! - Enqueue operation failed");
        return QUEUE_OVERFLOW;
    }
    queue_->insert(queue_->begin(), element);
    return QUEUE_OK;
}

int IMS_queue_manager::dequeue(_Q_ELEMENT_T** element)
{
    if (!element) return QUEUE_NULL_ELEMENT;
    if (queue_->empty()) {
        IMS_log::loginfo(4, "dequeue", "Message queue underflow! - Dequeue operation failed");
        return QUEUE_UNDERFLOW;
    }
    *element = queue_->back();
    queue_->pop_back();
    return QUEUE_OK;
}

bool IMS_queue_manager::isEmpty() const
{
    return queue_->empty();
}
