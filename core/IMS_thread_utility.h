// One thread and its attributes: create it once, ask it to stop, know when it has ended.
//
// Thread   create_thread and init_attributes on one thread at a time; the rest on any thread.
// Memory   the thread keeps what it needs itself, so this object may be destroyed while it runs.
// Errors   are logged at level 4; create_thread also returns them.
#ifndef IMS_THREAD_UTILITY_H_INCLUDED
#define IMS_THREAD_UTILITY_H_INCLUDED

#include "include/ims_types.h"
#include "include/imsua_export.h"

#include <memory>
#include <pthread.h>

class IMSUA_API IMS_thread_utility {
public:
    // A wrapper for a detached thread.
    IMS_thread_utility();

    // `type` 0: the thread will be detached; any other value: joinable.
    explicit IMS_thread_utility(THREAD_TYPE type);

    // Does not stop the thread. A joinable one is detached, since nobody can join it any more.
    ~IMS_thread_utility();

    // Prepares the attributes and forgets a thread created before, which goes on by itself. A failure logs
    // "Thread attributes could not be initialized." at level 4 and carries on.
    void init_attributes(THREAD_TYPE type);

    // Starts `routine(arg)` on a new thread. 0 on success, and also, without starting anything, when this
    // object has created its thread already; otherwise pthread_create's error code (ENOMEM when there is no
    // memory for the start), after which the call may be repeated.
    int create_thread(void* (*routine)(void*), void* arg);

    // Asks the thread to end at its next cancellation point. No effect before it was created or after it
    // ended.
    void cancel_thread();

    // Ends the calling thread here if its cancellation was asked for (and is enabled).
    void testCancel();

    // True from a successful create_thread until the routine has returned, was cancelled or left by
    // pthread_exit.
    bool is_running() const;

    // True on the created thread itself while its routine runs.
    bool is_this_thread() const;

    // Waits until the thread has ended; returns at once when none was created. Never call it on the
    // thread itself.
    void wait_until_ended() const;

    // Makes `kept` reachable for ever, for a wrapper that is never deleted: leak checkers then see that
    // somebody still knows it. Any thread. Keep an object at most once.
    static void keep(IMS_thread_utility* kept);

    IMS_thread_utility(const IMS_thread_utility&) = delete;
    IMS_thread_utility& operator=(const IMS_thread_utility&) = delete;

private:
    struct Run;
    static void* trampoline(void* start);
    int start(std::shared_ptr<Run>* run);
    void release_thread();

    pthread_attr_t attributes_;
    pthread_t id_;
    int created_;
    bool attributes_valid_;
    THREAD_TYPE type_;
    std::shared_ptr<Run> run_; // shared with the thread
    IMS_thread_utility* next_kept_;
};

#endif
