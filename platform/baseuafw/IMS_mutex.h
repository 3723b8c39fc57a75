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
    // Gives the lock back; the caller holds it.
    void unlock() { ::pthread_mutex_unlock(&m_); }
    // Gives the lock back, waits for signal(), takes the lock again. The caller holds the lock. May return
    // without a signal, so the caller tests again what it waits for. A cancellation point; a cancelled
    // thread holds the lock again while its clean-up handlers run.
    void wait() { ::pthread_cond_wait(&c_, &m_); }
    // Wakes at least one waiter, if there is one; nothing is remembered when there is none. The caller
    // holds the lock.
    void signal() { ::pthread_cond_signal(&c_); }

private:
    pthread_mutex_t m_;
    pthread_cond_t c_;
};

#endif
