// Which listener callback runs just now, and waiting for its end.
//
// All callbacks run on the SIP thread, one after the other. Whoever exchanges a listener waits here for the
// callback of the old one, so that the old listener can be destroyed afterwards.
//
// Thread   any; one lock of its own, not held during the callback.
#ifndef SIPLIB_CALLBACKS_H_INCLUDED
#define SIPLIB_CALLBACKS_H_INCLUDED

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

namespace siplib {

class Callbacks {
public:
    // Begin with the listening object's lock held (so that an exchange sees it), end without.
    void begin(const void* object)
    {
        std::lock_guard<std::mutex> guard(mutex_);
        running_ = object;
        thread_ = std::this_thread::get_id();
        ++serial_;
    }
    void end()
    {
        std::lock_guard<std::mutex> guard(mutex_);
        running_ = nullptr;
        if (waiting_) ended_.notify_all();
    }

    // Returns when no callback of `object` runs that began before. At once when called from a callback.
    void wait_for(const void* object)
    {
        std::unique_lock<std::mutex> lock(mutex_);
        if (running_ != object || thread_ == std::this_thread::get_id()) return;
        const std::uint64_t seen = serial_;
        ++waiting_;
        ended_.wait(lock, [&] { return running_ != object || serial_ != seen; });
        --waiting_;
    }

private:
    std::mutex mutex_;
    std::condition_variable ended_;
    const void* running_ = nullptr;
    std::thread::id thread_;
    std::uint64_t serial_ = 0;
    unsigned waiting_ = 0;
};

} // namespace siplib

#endif
