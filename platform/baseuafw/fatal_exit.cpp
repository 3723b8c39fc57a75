#include "baseuafw/IMS_daemon.h"

#include <atomic>
#include <cstdlib>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::atomic<pid_t> exiting{0}; // the thread that is in exit(); 0: none

// In a forked child that thread does not exist, and waiting for it would last for ever.
__attribute__((constructor(101))) void forget_in_children()
{
    ::pthread_atfork(nullptr, nullptr, [] { exiting = 0; });
}

} // namespace

// exit() must not be entered twice: neither by two threads at once nor again from its own handlers.
void IMS_daemon::fatal_exit(int status)
{
    const auto self = static_cast<pid_t>(::syscall(SYS_gettid));
    pid_t first = 0;
    if (exiting.compare_exchange_strong(first, self)) std::exit(status); // NOLINT(concurrency-mt-unsafe)
    if (first == self) ::_exit(status);
    for (;;)
        ::pause();
}
