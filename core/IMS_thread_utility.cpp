#include "core/IMS_thread_utility.h"

#include "baseuafw/baseuafw.h"

#include <cerrno>
#include <condition_variable>
#include <mutex>
#include <new>

namespace {

IMS_thread_utility* newest_kept = nullptr; // atomic built-ins; linked by next_kept_, never unlinked

} // namespace

// What the wrapper and its thread share. It lives until both have let go of it.
struct IMS_thread_utility::Run {
    void* (*routine)(void*);
    void* arg;
    std::mutex mutex;
    std::condition_variable ended;
    bool running = false; // while true, the thread id is valid: the thread clears it under the mutex
};

IMS_thread_utility::IMS_thread_utility() : IMS_thread_utility(0) {}

IMS_thread_utility::IMS_thread_utility(THREAD_TYPE type)
    : attributes_(), id_(), created_(0), attributes_valid_(false), type_(type), next_kept_(nullptr)
{
    init_attributes(type);
}

IMS_thread_utility::~IMS_thread_utility()
{
    release_thread();
    if (attributes_valid_) pthread_attr_destroy(&attributes_);
}

void IMS_thread_utility::release_thread()
{
    if (created_ && type_ != 0) pthread_detach(id_);
    created_ = 0;
    run_.reset();
}

void IMS_thread_utility::init_attributes(THREAD_TYPE type)
{
    release_thread();
    type_ = type;
    if (!attributes_valid_) attributes_valid_ = pthread_attr_init(&attributes_) == 0;
    const int detach_state = type != 0 ? PTHREAD_CREATE_JOINABLE : PTHREAD_CREATE_DETACHED;
    if (!attributes_valid_ || pthread_attr_setdetachstate(&attributes_, detach_state) != 0)
        IMS_log::loginfo(4, "init_attributes", "Thread attributes could not be initialized.");
}

int IMS_thread_utility::create_thread(void* (*routine)(void*), void* arg)
{
    if (created_) return 0;
    int error = ENOMEM;
    auto* const shared = new (std::nothrow) std::shared_ptr<Run>;
    if (shared) {
        try {
            *shared = std::make_shared<Run>();
            (*shared)->routine = routine;
            (*shared)->arg = arg;
            error = start(shared);
        } catch (const std::bad_alloc&) {
            delete shared;
        }
    }
    if (error != 0) {
        IMS_log::loginfo(4, "create_thread", "Thread could not be created! Error Code: %d", error);
        return error;
    }
    created_ = 1;
    IMS_log::loginfo(4, "create_thread", "Thread created. Thread id: %d", static_cast<int>(id_));
    if (attributes_valid_) pthread_attr_destroy(&attributes_);
    attributes_valid_ = false;
    return 0;
}

// `shared` passes to the thread, or is deleted on failure. The thread may use this object at once: what it
// reads is in place before it starts, or guarded by the mutex.
int IMS_thread_utility::start(std::shared_ptr<Run>* shared)
{
    run_ = *shared;
    std::unique_lock<std::mutex> lock(run_->mutex);
    const int error = pthread_create(&id_, attributes_valid_ ? &attributes_ : nullptr, trampoline, shared);
    if (error != 0) {
        lock.unlock();
        run_.reset();
        delete shared;
        return error;
    }
    if (!attributes_valid_ && type_ == 0) pthread_detach(id_);
    run_->running = true;
    return 0;
}

// Entry of the thread. Leaving it by return, cancellation or pthread_exit marks the end.
void* IMS_thread_utility::trampoline(void* start)
{
    struct Ending {
        std::shared_ptr<Run> run;
        ~Ending()
        {
            std::lock_guard<std::mutex> guard(run->mutex);
            run->running = false;
            run->ended.notify_all();
        }
    };
    auto* const shared = static_cast<std::shared_ptr<Run>*>(start);
    const Ending ending{*shared};
    delete shared;
    return ending.run->routine(ending.run->arg);
}

void IMS_thread_utility::cancel_thread()
{
    if (!run_) return;
    std::lock_guard<std::mutex> guard(run_->mutex);
    if (run_->running) pthread_cancel(id_);
}

void IMS_thread_utility::testCancel()
{
    pthread_testcancel();
}

bool IMS_thread_utility::is_running() const
{
    if (!run_) return false;
    std::lock_guard<std::mutex> guard(run_->mutex);
    return run_->running;
}

bool IMS_thread_utility::is_this_thread() const
{
    if (!run_) return false;
    std::lock_guard<std::mutex> guard(run_->mutex);
    return run_->running && pthread_equal(id_, pthread_self());
}

void IMS_thread_utility::wait_until_ended() const
{
    if (!run_) return;
    std::unique_lock<std::mutex> lock(run_->mutex);
    run_->ended.wait(lock, [this] { return !run_->running; });
}

void IMS_thread_utility::keep(IMS_thread_utility* kept)
{
    kept->next_kept_ = __atomic_load_n(&newest_kept, __ATOMIC_RELAXED);
    while (!__atomic_compare_exchange_n(&newest_kept, &kept->next_kept_, kept, true, __ATOMIC_RELEASE,
                                        __ATOMIC_RELAXED)) {
    }
}
