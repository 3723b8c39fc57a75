// Used-up objects that are kept for their memory, so that the next request finds its buffers ready: a
// request's texts are written on one thread and done with on another, and memory that comes and goes that way
// costs the allocator several times what it costs on one thread.
//
// Thread   any; one lock of its own.
// Memory   at most `most` objects; whoever gives one away sees to it that it is not large.
#ifndef SIPLIB_SPARES_H_INCLUDED
#define SIPLIB_SPARES_H_INCLUDED

#include <mutex>
#include <utility>
#include <vector>

namespace siplib {

template <typename T>
class Spares {
public:
    explicit Spares(std::size_t most) : most_(most) { kept_.reserve(most); }

    // The one given last, with whatever it still holds; a new one when there is none.
    T take()
    {
        std::lock_guard<std::mutex> guard(mutex_);
        if (kept_.empty()) return T();
        T taken = std::move(kept_.back());
        kept_.pop_back();
        return taken;
    }

    // False, and `used` as it was, when there are enough.
    bool give(T& used)
    {
        std::lock_guard<std::mutex> guard(mutex_);
        if (kept_.size() >= most_) return false;
        kept_.push_back(std::move(used)); // room was reserved: nothing is allocated under the lock
        return true;
    }

    void drop_all()
    {
        std::vector<T> dropped;
        dropped.reserve(most_);
        std::lock_guard<std::mutex> guard(mutex_);
        kept_.swap(dropped);
    }

    std::size_t kept() const
    {
        std::lock_guard<std::mutex> guard(mutex_);
        return kept_.size();
    }

private:
    const std::size_t most_;
    mutable std::mutex mutex_;
    std::vector<T> kept_;
};

} // namespace siplib

#endif
