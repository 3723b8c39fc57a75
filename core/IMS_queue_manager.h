// The bounded queue between everything that happens to an agent and its main loop.
//
// First in, first out; at most 51 elements: an element is refused once more than 50 are held.
//
// Thread   takes no lock. Callers hold the agent's mutex around every call but the two hints.
// Memory   never owns the elements; the room for all of them is reserved at construction, so that no
//          operation allocates while the agent's mutex is held.
// Errors   come back as QUEUE_STATUS values; a queue that cannot be created ends the process.
#ifndef IMS_QUEUE_MANAGER_H_INCLUDED
#define IMS_QUEUE_MANAGER_H_INCLUDED

#include "include/ims_types.h"
#include "include/imsua_export.h"

#include <cstddef>

class IMSUA_API IMS_queue_manager {
public:
    // An empty queue. No memory for it: "Could not create message queue!" at level 3, exit status 255.
    IMS_queue_manager();

    // Elements still held are not freed: they belong to whoever queued them.
    ~IMS_queue_manager();

    // Queues `element` behind all others. QUEUE_OK; QUEUE_NULL_ELEMENT for null; QUEUE_OVERFLOW, with
    // a line at level 4, when more than 50 elements are held. Borrowed until it is dequeued.
    int enqueue(_Q_ELEMENT_T* element);

    // Stores the oldest element in `*element` and removes it. QUEUE_OK; QUEUE_UNDERFLOW, with a line at
    // level 4, on an empty queue; QUEUE_NULL_ELEMENT for a null argument. `*element` changes on QUEUE_OK
    // only.
    int dequeue(_Q_ELEMENT_T** element);

    // True when no element is held.
    bool isEmpty() const;

    // How many elements were held a moment ago. Without the callers' mutex, on any thread: no more than a
    // hint.
    std::size_t heldAbout() const;
    bool seemsEmpty() const { return heldAbout() == 0; }

    IMS_queue_manager(const IMS_queue_manager&) = delete;
    IMS_queue_manager& operator=(const IMS_queue_manager&) = delete;

private:
    struct Elements;

    Elements* queue_;
};

#endif
