// A critical section plus one condition.
//
// Thread   any; the rules of lock and unlock hold.
// Errors   none: a plain process-private mutex and condition cannot fail when used as described.
#ifndef BASEUAFW_IMS_MUTEX_H_INCLUDED
#define BASEUAFW_IMS_MUTEX_H_INCLUDED

#include "baseuafw/baseuafw_api.h"

#include <pthread.h>

// What guards a queue between threads. Not recursive, not for several processes.
class BASEUAFW_API IMS_mutex {
public:
    // Unlocked, with nobody waiting.
    IMS_mutex();
    // Nobody may hold the lock or wait on the condition.
    ~IMS_mutex();
    IMS_mutex(const IMS_mutex&) = delete;
    IMS_mutex& operator=(const IMS_mutex&) = delete;

    // Blocks until the lock is the caller's. Not recursive: locking twice on one thread hangs it.
    void lock() { ::pthread_mutex_lock(&m_); }
    // Gives the lock back; the caller holds it. Whom signal() woke goes on now.
    void unlock()
    {
        int due = due_;
        due_ = 0;
        ::pthread_mutex_unlock(&m_);
        for (; due > 0; --due)
            ::pthread_cond_signal(&c_);
    }
    // Gives the lock back, waits for signal(), takes the lock again. The caller holds the lock. May return
    // without a signal, so the caller tests again what it waits for. A cancellation point; a cancelled
    // thread holds the lock again while its clean-up handlers run.
    void wait()
    {
        for (; due_ > 0; --due_)
            ::pthread_cond_signal(&c_);
        const Waiter waiter(*this);
        ::pthread_cond_wait(&c_, &m_);
    }
    // Wakes at least one waiter, if there is one; nothing is remembered when there is none. The caller
    // holds the lock.
    void signal()
    {
        if (waiting_ <= woken_) return;
        ++woken_;
        ++due_;
    }

private:
    // Counts a thread for as long as it waits, also when it is cancelled there.
    struct Waiter {
        explicit Waiter(IMS_mutex& of) : mutex(of) { ++mutex.waiting_; }
        ~Waiter()
        {
            --mutex.waiting_;
            if (mutex.woken_ > 0) --mutex.woken_;
        }
        Waiter(const Waiter&) = delete;
        Waiter& operator=(const Waiter&) = delete;
        IMS_mutex& mutex;
    };

    pthread_mutex_t m_;
    pthread_cond_t c_;
    // Guarded by the lock. A waiter that is woken while the lock is held runs into it and sleeps again, which
    // costs two changes of threads: so waiters are woken when it is given back, and each only once.
    int waiting_ = 0; // threads in wait()
    int woken_ = 0;   // of these, how many a signal is meant for
    int due_ = 0;     // signals since the lock was taken
};

#endif
