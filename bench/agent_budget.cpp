// How long a notifier takes from exec to listening, with its configuration served on this machine, and how
// much memory it holds when idle; against the budgets of 20 ms and 6 MB.
//
//   agent_budget IMSFWKD IMSLINKEVD STORE_DIR
//
// "Listening" is the daemon's own READY=1 on $NOTIFY_SOCKET. Exits 1 when a budget is missed.
#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int RUNS = 21;
constexpr double EXEC_TO_LISTENING_MS = 20;
constexpr long IDLE_PSS_KB = 6 * 1024;

[[noreturn]] void fail(const std::string& what)
{
    std::fprintf(stderr, "agent_budget: %s\n", what.c_str());
    std::exit(2);
}

// The socket on which a daemon says that it is ready (sd_notify).
class ReadySocket {
public:
    explicit ReadySocket(const std::string& path) : fd_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        if (::bind(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
            fail("no notify socket");
        ::setenv("NOTIFY_SOCKET", path.c_str(), 1);
    }
    ~ReadySocket() { ::close(fd_); }
    ReadySocket(const ReadySocket&) = delete;
    ReadySocket& operator=(const ReadySocket&) = delete;

    void wait(const std::string& who) const
    {
        for (;;) {
            pollfd set{fd_, POLLIN, 0};
            if (::poll(&set, 1, 20000) != 1) fail(who + " did not become ready");
            std::array<char, 512> text{};
            if (::recv(fd_, text.data(), text.size() - 1, 0) > 0 &&
                std::string(text.data()).find("READY=1") == 0)
                return;
        }
    }

private:
    int fd_;
};

class Daemon {
public:
    explicit Daemon(const std::vector<std::string>& words)
    {
        std::vector<char*> argv;
        for (const auto& word : words)
            argv.push_back(const_cast<char*>(word.c_str()));
        argv.push_back(nullptr);
        pid_ = ::fork();
        if (pid_ == 0) {
            ::execv(argv[0], argv.data());
            ::_exit(127);
        }
    }
    ~Daemon()
    {
        ::kill(pid_, SIGTERM);
        ::waitpid(pid_, nullptr, 0);
    }
    Daemon(const Daemon&) = delete;
    Daemon& operator=(const Daemon&) = delete;

    // Proportional share of the memory it maps: pages of shared libraries count by how many use them.
    long pss_kb() const
    {
        std::ifstream rollup("/proc/" + std::to_string(pid_) + "/smaps_rollup");
        for (std::string word; rollup >> word;)
            if (word == "Pss:") {
                long kb = 0;
                rollup >> kb;
                return kb;
            }
        return -1;
    }

private:
    pid_t pid_ = -1;
};

template <typename T>
T median(std::vector<T> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

std::array<std::string, 2> read_ports(const std::string& path)
{
    std::array<std::string, 2> ports;
    std::ifstream(path) >> ports[0] >> ports[1];
    if (ports[1].empty()) fail("no ports from the framework daemon");
    return ports;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4) fail("usage: agent_budget IMSFWKD IMSLINKEVD STORE_DIR");
    const std::string framework_program = fs::absolute(argv[1]);
    const std::string agent_program = fs::absolute(argv[2]);
    std::string dir = (fs::temp_directory_path() / "agent-budget-XXXXXX").string();
    if (::mkdtemp(dir.data()) == nullptr) fail("no temporary directory");
    fs::copy(argv[3], dir + "/store");
    fs::current_path(dir);
    const ReadySocket ready(dir + "/ready");

    std::vector<double> milliseconds;
    std::vector<long> pss;
    {
        const Daemon framework(
            {framework_program, "-store", "store", "-portfile", "ports", "-loglevel", "3"});
        ready.wait("imsfwkd");
        const auto ports = read_ports("ports");
        for (int run = 0; run < RUNS; ++run) {
            const auto start = Clock::now();
            const Daemon agent(
                {agent_program, "-fwksyncport", ports[0], "-fwkasyncport", ports[1], "-loglevel", "3"});
            ready.wait("imslinkevd");
            milliseconds.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
            pss.push_back(agent.pss_kb());
        }
    }
    fs::current_path("/");
    fs::remove_all(dir);
    const double slow = median(milliseconds);
    const long memory = median(pss);
    std::printf("exec to listening, median of %d: %.1f ms (budget %.0f)\n", RUNS, slow, EXEC_TO_LISTENING_MS);
    std::printf("idle agent, PSS, median of %d: %ld kB (budget %ld)\n", RUNS, memory, IDLE_PSS_KB);
    return slow <= EXEC_TO_LISTENING_MS && memory > 0 && memory <= IDLE_PSS_KB ? 0 : 1;
}
