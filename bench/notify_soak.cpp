// A million NOTIFYs over one transport: memory must be flat after the first 50,000, and nothing may be lost:
// every NOTIFY ends in a response, or in a 408 or 503 made by the library, at the listener.
//
//   notify_soak udp|tcp [COUNT]
//
// Prints a line for every 50,000; exits 1 when the resident set ends more than 5 % plus 512 kB above the most
// that it had in the first 50,000: a leak of two bytes a NOTIFY is more. Less is the machine's changing
// speed, since over UDP what ended in the last T4 is held. How far a sweep runs ahead of the SIP thread is
// chance, too: in the first 5,000 the SIP thread waits until the sweep is asked for, which is the most that
// there can be.
#include "baseuafw/baseuafw.h"
#include "bench/support/responder.h"
#include "siplib/SIPLIB.h"
#include "subscriptions/IMS_subscription_table.h"
#include "xml/DALinkEvXmlData.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <unistd.h>

namespace {

constexpr long STEP = 50000;
constexpr int SUBSCRIBERS = 500;

class Tally : public SIPLIB_SIPClientConnectionListener {
public:
    void notifyResponse(SIPLIB_SIPClientConnection* connection) override
    {
        int code = 0;
        if (connection->receive() == SIPLIB_OK) connection->getResponseCode(code);
        if (code < 200) return;
        std::unique_lock<std::mutex> guard(mutex_);
        changed_.wait(guard, [this] { return !held_; });
        ++ended;
        answered += code == 200 ? 1 : 0;
        made_here += code == 408 || code == 503 ? 1 : 0;
        changed_.notify_all();
    }
    // While held, the SIP thread stops at the first response.
    void hold(bool held)
    {
        std::lock_guard<std::mutex> guard(mutex_);
        held_ = held;
        changed_.notify_all();
    }
    bool wait_for(long wanted)
    {
        std::unique_lock<std::mutex> guard(mutex_);
        return changed_.wait_for(guard, std::chrono::seconds(60), [&] { return ended >= wanted; });
    }
    long ended = 0, answered = 0, made_here = 0;

private:
    bool held_ = false;
    std::mutex mutex_;
    std::condition_variable changed_;
};

long resident_kb()
{
    long pages = 0, resident = 0;
    if (FILE* file = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(file, "%ld %ld", &pages, &resident) != 2) resident = 0;
        std::fclose(file);
    }
    return resident * (::sysconf(_SC_PAGESIZE) / 1024);
}

void fill(IMS_subscription_table& table, int port, bool tcp)
{
    for (int i = 0; i < SUBSCRIBERS; ++i) {
        const std::string number = std::to_string(i);
        const std::string contact =
            "<sip:s" + number + "@127.0.0.1:" + std::to_string(port) + (tcp ? ";transport=tcp>" : ">");
        table.store_subs(contact, "kiv-link-event", 3600,
                         ("<sip:s" + number + "@127.0.0.1>;tag=t" + number).c_str(),
                         "<sip:soak@127.0.0.1>;tag=ours", ("soak-" + number).c_str());
    }
}

} // namespace

int main(int argc, char** argv)
{
    const bool tcp = argc > 1 && std::string(argv[1]) == "tcp";
    const long wanted = argc > 2 ? std::atol(argv[2]) : 1000000;
    const bench::Responder responder;
    IMS_log::set_level(3);
    SIPLIB_StackCfg cfg;
    SIPLIB_SIPInitConfig(&cfg);
    if (SIPLIB_SIPStart(&cfg) != SIPLIB_OK) return 2;

    IMS_subscription_table table;
    fill(table, responder.sip_port(), tcp);
    SIPLIB_SIPConnector connector;
    Tally tally;
    DALinkEvXmlData document;
    document.name = "soak";
    long sent = 0, first_kb = 0, last_kb = 0; // the most of the first step, and what there is now
    while (sent < wanted) {
        tally.hold(sent < STEP / 10);
        table.notifyAll(connector, "<sip:soak@127.0.0.1:15071>", "kiv-link-event", "application/xml",
                        document, &tally, "active", 3600);
        tally.hold(false);
        sent += SUBSCRIBERS;
        if (!tally.wait_for(sent)) break;
        if (sent <= STEP) first_kb = std::max(first_kb, resident_kb());
        if (sent % STEP != 0) continue;
        last_kb = resident_kb();
        std::printf("%8ld sent, %ld answered, %ld ended by the library, %ld kB resident\n", sent,
                    tally.answered, tally.made_here, last_kb);
        std::fflush(stdout);
    }
    const bool lost = tally.ended != sent;
    const bool grew = last_kb > first_kb + first_kb / 20 + 512;
    std::printf("%s: %ld sent, %ld lost, at most %ld kB in the first %ld, %ld kB at the end: %s\n",
                tcp ? "tcp" : "udp", sent, sent - tally.ended, first_kb, STEP, last_kb,
                lost || grew ? "FAILED" : "flat, nothing lost");
    SIPLIB_SIPStop();
    return lost || grew ? 1 : 0;
}
