// imstac: the telephony controller's side of an agent, for people and for scripts (docs/tools/imstac.md).
#include "tools/imstac/session.h"

#include <csignal>
#include <cstdio>
#include <exception>
#include <sys/signalfd.h>

namespace {

// A descriptor that becomes readable when a signal asks the program to end.
int open_signals()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    return signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
}

} // namespace

int main(int argc, char** argv)
{
    try {
        imstac::Options options;
        int status = imstac::COMPLETE;
        if (!imstac::parse_options(argc, argv, options, status)) return status;
        imstac::Session session(options, open_signals(), stdout, stderr);
        return session.run();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "imstac: %s\n", error.what());
        return imstac::INCOMPLETE;
    }
}
