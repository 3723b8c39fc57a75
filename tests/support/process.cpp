#include "tests/support/process.h"

#include "tests/support/private_network.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sched.h>
#include <sstream>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

// ---- namespaces ----

// In the holder: makes the namespace, tells the parent, sleeps until the parent kills it or dies.
[[noreturn]] void hold_namespace(int report, bool own_user_namespace, uid_t uid, gid_t gid)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int flags = CLONE_NEWNET | (own_user_namespace ? CLONE_NEWUSER : 0);
    int error = ::unshare(flags) == 0 ? 0 : errno;
    if (error == 0 && own_user_namespace && !imsua_tests::map_ids(0, uid, 0, gid)) error = errno;
    const ssize_t ignored = ::write(report, &error, sizeof error);
    static_cast<void>(ignored);
    ::close(report);
    if (error != 0) ::_exit(1);
    for (;;)
        ::pause();
}

int enter_file(pid_t holder, const char* kind, int flag)
{
    const std::string path = "/proc/" + std::to_string(holder) + "/ns/" + kind;
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return -1;
    const int result = ::setns(fd, flag);
    ::close(fd);
    return result;
}

// ---- processes ----

std::vector<char*> pointers(std::vector<std::string>& texts)
{
    std::vector<char*> list;
    list.reserve(texts.size() + 1);
    for (auto& text : texts)
        list.push_back(text.data());
    list.push_back(nullptr);
    return list;
}

[[noreturn]] void become(const ProcessStart& start, int out, int err)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::dup2(out, STDOUT_FILENO);
    ::dup2(err, STDERR_FILENO);
    const int null = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    if (null >= 0) ::dup2(null, STDIN_FILENO);
    if (start.net != nullptr && start.net->enter() != 0) {
        std::fprintf(stderr, "cannot enter the network namespace: %s\n", std::strerror(errno));
        ::_exit(126);
    }
    if (!start.dir.empty() && ::chdir(start.dir.c_str()) != 0) ::_exit(126);
    for (const auto& entry : start.env)
        ::putenv(const_cast<char*>(entry.c_str()));
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    auto copy = start.argv;
    ::execvp(copy.at(0).c_str(), pointers(copy).data());
    std::fprintf(stderr, "cannot run %s: %s\n", copy[0].c_str(), std::strerror(errno));
    ::_exit(127);
}

} // namespace

NetNamespace::NetNamespace() : own_user_namespace_(::geteuid() != 0)
{
    int report[2];
    if (::pipe2(report, O_CLOEXEC) != 0) return;
    const uid_t uid = ::getuid();
    const gid_t gid = ::getgid();
    const pid_t pid = ::fork();
    if (pid == 0) hold_namespace(report[1], own_user_namespace_, uid, gid);
    ::close(report[1]);
    int error = ECHILD;
    const bool told = pid > 0 && ::read(report[0], &error, sizeof error) == sizeof error;
    ::close(report[0]);
    holder_ = pid;
    if (told && error == 0 && ip("link set lo up")) return;
    why_ = std::string("no network namespace (root or user namespaces, and iproute2, are needed): ") +
           std::strerror(error);
    if (pid > 0) {
        ::kill(pid, SIGKILL);
        ::waitpid(pid, nullptr, 0);
    }
    holder_ = -1;
}

NetNamespace::~NetNamespace()
{
    if (holder_ <= 0) return;
    ::kill(holder_, SIGKILL);
    ::waitpid(holder_, nullptr, 0);
}

int NetNamespace::enter() const
{
    if (own_user_namespace_ && enter_file(holder_, "user", CLONE_NEWUSER) != 0) return -1;
    return enter_file(holder_, "net", CLONE_NEWNET);
}

int NetNamespace::enter_thread() const
{
    return enter_file(holder_, "net", CLONE_NEWNET);
}

bool NetNamespace::ip(const std::string& arguments) const
{
    ProcessStart start;
    start.argv = {"ip"};
    std::istringstream words(arguments);
    for (std::string word; words >> word;)
        start.argv.push_back(word);
    start.net = this;
    return run_process(start).status == 0;
}

Process::Process(const ProcessStart& start)
{
    int out[2];
    int err[2];
    if (::pipe2(out, O_CLOEXEC) != 0) return;
    if (::pipe2(err, O_CLOEXEC) != 0) {
        ::close(out[0]);
        ::close(out[1]);
        return;
    }
    std::fflush(nullptr);
    pid_ = ::fork();
    if (pid_ == 0) become(start, out[1], err[1]);
    ::close(out[1]);
    ::close(err[1]);
    reader_ = std::thread([this, o = out[0], e = err[0]] { read_pipes(o, e); });
}

Process::~Process()
{
    if (running()) {
        signal(SIGKILL);
        wait();
    }
    if (reader_.joinable()) reader_.join();
}

void Process::append(bool is_out, const char* data, std::size_t size)
{
    std::lock_guard<std::mutex> guard(mutex_);
    (is_out ? out_ : err_).append(data, size);
    changed_.notify_all();
}

void Process::read_pipes(int out, int err)
{
    std::array<pollfd, 2> set{{{out, POLLIN, 0}, {err, POLLIN, 0}}};
    while (set[0].fd >= 0 || set[1].fd >= 0) {
        if (::poll(set.data(), set.size(), -1) < 0 && errno != EINTR) break;
        for (std::size_t i = 0; i < set.size(); ++i) {
            if (set[i].fd < 0 || set[i].revents == 0) continue;
            char chunk[8192];
            const ssize_t n = ::read(set[i].fd, chunk, sizeof chunk);
            if (n > 0)
                append(i == 0, chunk, static_cast<std::size_t>(n));
            else if (n == 0 || errno != EINTR)
                set[i].fd = -1;
        }
    }
    ::close(out);
    ::close(err);
    std::lock_guard<std::mutex> guard(mutex_);
    ended_ = true;
    changed_.notify_all();
}

std::string Process::wait_for_line(const std::string& text, Milliseconds patience)
{
    const auto deadline = Clock::now() + patience;
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        for (auto end = out_.find('\n', handed_out_); end != std::string::npos;
             end = out_.find('\n', handed_out_)) {
            const std::string line = out_.substr(handed_out_, end - handed_out_);
            handed_out_ = end + 1;
            if (line.find(text) != std::string::npos) return line;
        }
        if (ended_ || changed_.wait_until(lock, deadline) == std::cv_status::timeout) return {};
    }
}

bool Process::wait_for_log(const std::string& text, Milliseconds patience)
{
    const auto deadline = Clock::now() + patience;
    std::unique_lock<std::mutex> lock(mutex_);
    std::size_t from = 0; // nothing before it can hold the text
    for (;;) {
        if (err_.find(text, from) != std::string::npos) return true;
        from = err_.size() < text.size() ? 0 : err_.size() - text.size();
        if (ended_ || changed_.wait_until(lock, deadline) == std::cv_status::timeout) return false;
    }
}

void Process::signal(int number) const
{
    if (pid_ > 0 && !reaped_) ::kill(pid_, number);
}

bool Process::running()
{
    return pid_ > 0 && !reaped_ && wait(Milliseconds(0)).timed_out;
}

// The pid is reaped only here; what is waited for is the kernel's own event, on a process descriptor.
Process::End Process::wait(Milliseconds patience)
{
    if (pid_ <= 0 || reaped_) return end_;
    const int watch = static_cast<int>(::syscall(SYS_pidfd_open, pid_, 0));
    pollfd set{watch, POLLIN, 0};
    const auto deadline = Clock::now() + patience;
    int status = 0;
    while (::waitpid(pid_, &status, WNOHANG) == 0) {
        const auto left = std::chrono::duration_cast<Milliseconds>(deadline - Clock::now()).count();
        if (left <= 0) {
            if (watch >= 0) ::close(watch);
            End late;
            late.timed_out = true;
            return late;
        }
        // Without process descriptors (some emulators) the end is looked for every 5 ms.
        ::poll(&set, 1, watch >= 0 ? static_cast<int>(left) : 5);
    }
    if (watch >= 0) ::close(watch);
    reaped_ = true;
    if (WIFEXITED(status)) end_.status = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) end_.signal = WTERMSIG(status);
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait_until(lock, Clock::now() + Milliseconds(2000), [this] { return ended_; });
    return end_;
}

std::string Process::output() const
{
    std::lock_guard<std::mutex> guard(mutex_);
    return out_;
}

std::string Process::log() const
{
    std::lock_guard<std::mutex> guard(mutex_);
    return err_;
}

Process::End run_process(const ProcessStart& start, std::string* output)
{
    Process process(start);
    const auto end = process.wait();
    if (output != nullptr) *output = process.output();
    return end;
}

int free_port()
{
    for (int attempt = 0; attempt < 50; ++attempt) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto* generic = reinterpret_cast<sockaddr*>(&address);
        const int tcp = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const int udp = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        const bool both = ::bind(tcp, generic, size) == 0 && ::getsockname(tcp, generic, &size) == 0 &&
                          ::bind(udp, generic, size) == 0;
        ::close(tcp);
        ::close(udp);
        if (both) return ntohs(address.sin_port);
    }
    return -1;
}
