#include "baseuafw/IMS_daemon.h"

#include "baseuafw/IMS_log.h"
#include "baseuafw/daemon_options.h"
#include "baseuafw/kept_text.h"
#include "baseuafw/options.h"

#include <cstring>

const char* IMS_daemon::__d_progname = "";
bool IMS_daemon::__d_help = false;

baseuafw::DaemonOptions baseuafw::daemon_options;

namespace {

using baseuafw::daemon_options;

void take_help(const char*)
{
    IMS_daemon::__d_help = true;
}

void take_background(const char*)
{
    daemon_options.background = true;
}

void take_pidfile(const char* path)
{
    const char* kept = baseuafw::kept_text(path);
    if (kept)
        daemon_options.pidfile = kept;
    else
        IMS_log::loginfo(3, "set_options", "-pidfile: out of memory");
}

// The name is read by whoever logs, on any thread.
void take_program_name(const char* path)
{
    const char* slash = std::strrchr(path, '/');
    const char* name = baseuafw::kept_text(slash ? slash + 1 : path);
    if (name) __atomic_store_n(&IMS_daemon::__d_progname, name, __ATOMIC_RELEASE);
}

} // namespace

IMS_daemon::IMS_daemon() = default;
IMS_daemon::~IMS_daemon() = default;

void IMS_daemon::print_usage()
{
    static constexpr const char* lines[] = {
        "Daemon Options:",
        "    -h, -help, --help:  this text",
        "    -daemon             run in the background",
        "    -pidfile:   file to write the process id to",
    };
    for (const char* line : lines)
        IMS_log::loginfo(3, "print_usage", "%s", line);
}

void IMS_daemon::set_options(int argc, char** argv)
{
    static constexpr baseuafw::Option rows[] = {
        {"-h", false, take_help},         {"-help", false, take_help},
        {"--help", false, take_help},     {"-daemon", false, take_background},
        {"-pidfile", true, take_pidfile},
    };
    __d_help = false;
    daemon_options = {};
    if (argc > 0 && argv && argv[0]) take_program_name(argv[0]);
    baseuafw::take_options(argc, argv, rows, sizeof rows / sizeof rows[0]);
    IMS_log::set_options(argc, argv);
}
