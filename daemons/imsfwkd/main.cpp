// imsfwkd: the framework daemon. Serves the configuration store to the agents of this device and tells
// them when it is ready and when it changes. docs/framework-protocol.md is what it speaks.

#include "baseuafw/baseuafw.h"
#include "daemons/imsfwkd/options.h"
#include "daemons/imsfwkd/server.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <sys/signalfd.h>
#include <unistd.h>
#ifdef IMSFWKD_WITH_SYSTEMD
#include <systemd/sd-daemon.h>
#endif

namespace {

constexpr std::chrono::milliseconds LONGEST_WAIT{60000};

class Imsfwkd : public IMS_daemon {
public:
    void print_usage() override
    {
        IMS_log::loginfo(3, "print_usage", "Framework Daemon Options:");
        IMS_log::loginfo(3, "print_usage",
                         "    -store DIR:      the documents, one file <document>.xml each");
        IMS_log::loginfo(3, "print_usage", "    -syncport N:     port for requests (0: a free one)");
        IMS_log::loginfo(3, "print_usage", "    -asyncport N:    port for announcements (0: a free one)");
        IMS_log::loginfo(3, "print_usage", "    -portfile PATH:  where to write both port numbers");
        IMS_daemon::print_usage();
        IMS_log::print_usage();
    }
};

void notify_manager([[maybe_unused]] const char* state)
{
#ifdef IMSFWKD_WITH_SYSTEMD
    ::sd_notify(0, state);
#endif
}

// The ends of the daemon come through a descriptor, so that a change in progress is finished first.
int end_signals()
{
    sigset_t ends;
    sigemptyset(&ends);
    sigaddset(&ends, SIGTERM);
    sigaddset(&ends, SIGINT);
    ::pthread_sigmask(SIG_BLOCK, &ends, nullptr);
    return ::signalfd(-1, &ends, SFD_CLOEXEC | SFD_NONBLOCK);
}

// In one step: whoever waits for the file never reads a part of it.
bool write_ports(const std::string& path, int sync_port, int async_port)
{
    const std::string temporary = path + ".tmp";
    std::FILE* const file = std::fopen(temporary.c_str(), "we");
    if (file == nullptr) return false;
    const bool written = std::fprintf(file, "%d %d\n", sync_port, async_port) > 0;
    return (std::fclose(file) == 0) && written && std::rename(temporary.c_str(), path.c_str()) == 0;
}

int fail(const std::string& why)
{
    IMS_log::loginfo(3, "main", "%s", why.c_str());
    return EXIT_FAILURE;
}

void serve(imsfwkd::Server& server, const imsfwkd::Store& store, int stop)
{
    bool told_ready = false;
    while (!server.turn(stop, LONGEST_WAIT)) {
        if (told_ready || !store.is_loaded()) continue;
        notify_manager("READY=1");
        told_ready = true;
    }
    notify_manager("STOPPING=1");
}

int run(const imsfwkd::Options& options)
{
    std::string why;
    imsfwkd::Watcher watcher; // before the store is read: no change falls in between
    if (!watcher.open(options.store, why))
        IMS_log::loginfo(4, "main", "files are not watched: %s", why.c_str());
    imsfwkd::Store store(options.store);
    if (!store.open(why)) return fail(why);
    imsfwkd::Server server(store, watcher);
    if (!server.listen(options.sync_port, options.async_port, why)) return fail(why);
    const int stop = end_signals();
    if (stop < 0) return fail("no signal descriptor");
    if (!options.portfile.empty() && !write_ports(options.portfile, server.sync_port(), server.async_port()))
        return fail(options.portfile + ": cannot be written");
    std::printf("syncport %d asyncport %d\n", server.sync_port(), server.async_port());
    std::fflush(stdout);
    IMS_log::loginfo(5, "main", "store %s at syncport %d, asyncport %d", options.store.c_str(),
                     server.sync_port(), server.async_port());
    serve(server, store, stop);
    if (!options.portfile.empty()) ::unlink(options.portfile.c_str());
    IMS_log::loginfo(5, "main", "ended by a signal");
    ::close(stop);
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv)
{
    Imsfwkd daemon;
    daemon.set_options(argc, argv);
    if (IMS_daemon::__d_help) {
        daemon.print_usage();
        return EXIT_SUCCESS;
    }
    imsfwkd::Options options;
    std::string why;
    if (!imsfwkd::parse_options(argc, argv, options, why)) return fail(why + "; -h shows the options");
    if (IMS_daemon::enter_service() != 0) return EXIT_FAILURE;
    const int status = run(options);
    IMS_daemon::clean_up();
    return status;
}
