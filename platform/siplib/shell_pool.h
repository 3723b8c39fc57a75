// A type-stable pool: objects that are reused, first in first out, and never freed while the stack runs.
//
// A stale pointer thus always points to a live object of its class. Reuse begins only when `spare` shells lie
// free, so that a shell rests as long as possible before it carries another message.
//
// Thread   any; one lock of its own, under which nothing of the shells is called.
// Memory   at most `limit` shells; they are made when they are first needed.
#ifndef SIPLIB_SHELL_POOL_H_INCLUDED
#define SIPLIB_SHELL_POOL_H_INCLUDED

#include "siplib/clock.h"

#include <deque>
#include <memory>
#include <mutex>
#include <new>
#include <vector>

namespace siplib {

template <typename Shell>
class ShellPool {
public:
    // A shell that can be given back when nothing has happened to it until `at`.
    struct Resting {
        Shell* shell;
        std::uint32_t generation, episode;
        Time at;
    };

    explicit ShellPool(std::size_t limit) : limit_(limit), spare_(limit / 4 < 1024 ? limit / 4 : 1024) {}

    // A free shell; null when all are in use.
    Shell* take()
    {
        std::lock_guard<std::mutex> guard(mutex_);
        const bool full = all_.size() >= limit_;
        if (!free_.empty() && (full || free_.size() > spare_)) {
            Shell* shell = free_.front();
            free_.pop_front();
            return shell;
        }
        if (full) return nullptr;
        std::unique_ptr<Shell> made(new (std::nothrow) Shell);
        if (!made) return nullptr;
        all_.push_back(std::move(made));
        return all_.back().get();
    }

    void give_back(Shell* shell)
    {
        std::lock_guard<std::mutex> guard(mutex_);
        free_.push_back(shell);
    }

    void rest(const Resting& resting)
    {
        std::lock_guard<std::mutex> guard(mutex_);
        resting_.push_back(resting);
    }

    // The one that rests longest, if it is due; with `early`, also when it is not.
    bool next_due(Time at, bool early, Resting& out)
    {
        std::lock_guard<std::mutex> guard(mutex_);
        if (resting_.empty() || (!early && resting_.front().at > at)) return false;
        out = resting_.front();
        resting_.pop_front();
        return true;
    }

    // The shell that was made `index`-th, for walks that look for idle ones; null beyond the last.
    Shell* at(std::size_t index)
    {
        std::lock_guard<std::mutex> guard(mutex_);
        return index < all_.size() ? all_[index].get() : nullptr;
    }

    std::size_t made() const
    {
        std::lock_guard<std::mutex> guard(mutex_);
        return all_.size();
    }
    std::size_t unused() const
    {
        std::lock_guard<std::mutex> guard(mutex_);
        return free_.size();
    }
    std::size_t resting() const
    {
        std::lock_guard<std::mutex> guard(mutex_);
        return resting_.size();
    }

private:
    const std::size_t limit_, spare_;
    mutable std::mutex mutex_;
    std::vector<std::unique_ptr<Shell>> all_;
    std::deque<Shell*> free_;
    std::deque<Resting> resting_;
};

} // namespace siplib

#endif
