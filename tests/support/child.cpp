#include "tests/support/child.h"

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

[[noreturn]] void be_the_child(const std::function<void()>& body, int out, int err)
{
    ::dup2(out, STDOUT_FILENO);
    ::dup2(err, STDERR_FILENO);
    body();
    std::fflush(nullptr);
    ::_exit(0);
}

// Reads both pipes until both ends are closed or the deadline passes; false on the latter.
bool drain(std::array<int, 2> fds, std::array<std::string*, 2> texts, Clock::time_point deadline)
{
    std::array<pollfd, 2> set{};
    for (std::size_t i = 0; i < 2; ++i)
        set[i] = {fds[i], POLLIN, 0};
    while (set[0].fd >= 0 || set[1].fd >= 0) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (left <= 0 || ::poll(set.data(), 2, static_cast<int>(left)) == 0) return false;
        for (std::size_t i = 0; i < 2; ++i) {
            if (set[i].fd < 0 || set[i].revents == 0) continue;
            char chunk[4096];
            const ssize_t n = ::read(set[i].fd, chunk, sizeof chunk);
            if (n > 0)
                texts[i]->append(chunk, static_cast<std::size_t>(n));
            else
                set[i].fd = -1;
        }
    }
    return true;
}

} // namespace

ChildResult run_in_child(const std::function<void()>& body, int seconds)
{
    ChildResult result;
    int out[2];
    int err[2];
    if (::pipe(out) != 0 || ::pipe(err) != 0) return result;
    std::fflush(nullptr);
    const pid_t pid = ::fork();
    if (pid == 0) be_the_child(body, out[1], err[1]);
    ::close(out[1]);
    ::close(err[1]);
    if (pid > 0) {
        const auto deadline = Clock::now() + std::chrono::seconds(seconds);
        if (!drain({out[0], err[0]}, {&result.out, &result.err}, deadline)) ::kill(pid, SIGKILL);
        int status = 0;
        ::waitpid(pid, &status, 0);
        if (WIFEXITED(status)) result.status = WEXITSTATUS(status);
        if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
    }
    ::close(out[0]);
    ::close(err[0]);
    return result;
}
