// A sweep of NOTIFYs to N subscribers: notifyAll of the subscription table, beside NTA alone sending the same
// bytes, beside NTA on a thread of its own that gets the whole sweep at once, beside a raw echo of
// equal-sized datagrams or frames.
//
// Three forms of ours: "prepared" hands notifyAll a document that is already text, so that both sides send
// the same bytes and nothing else; "document" encodes the link-event document for every subscriber, as a
// daemon does; "stream" is a thousand sweeps to one subscriber, as fast as they can be asked for. The last
// one is a figure of throughput for N = 1, "prepared/1" one of latency: there each NOTIFY waits for the 200
// to the one before. The peer is a process of its own. All figures are for completed transactions: request
// out, 200 back.
#include "baseuafw/baseuafw.h"
#include "bench/support/bare_nta.h"
#include "bench/support/ratios.h"
#include "bench/support/raw_echo.h"
#include "bench/support/responder.h"
#include "siplib/SIPLIB.h"
#include "subscriptions/IMS_subscription_table.h"
#include "tests/support/sample_documents.h"
#include "xml/DALinkEvXmlData.h"

#include <benchmark/benchmark.h>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <sys/resource.h>
#include <vector>

namespace {

constexpr int WINDOW = 64; // outstanding requests of the baselines
constexpr char LOCAL_URI[] = "<sip:bench@127.0.0.1:15070>";

bench::Responder* responder = nullptr;

double cpu_seconds()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) * 1e-6;
}

// Reports transactions a second and CPU time a transaction of this process.
class Meter {
public:
    Meter(benchmark::State& state, int transactions)
        : state_(state), transactions_(transactions), cpu_(cpu_seconds())
    {
    }
    ~Meter()
    {
        const double total = static_cast<double>(state_.iterations()) * transactions_;
        state_.SetItemsProcessed(static_cast<std::int64_t>(total));
        state_.counters["cpu_us_each"] = (cpu_seconds() - cpu_) * 1e6 / total;
    }
    Meter(const Meter&) = delete;
    Meter& operator=(const Meter&) = delete;

private:
    benchmark::State& state_;
    int transactions_;
    double cpu_;
};

// Takes each response on the SIP library's thread and counts it.
class Counter : public SIPLIB_SIPClientConnectionListener {
public:
    void notifyResponse(SIPLIB_SIPClientConnection* connection) override
    {
        int code = 0;
        if (connection->receive() == SIPLIB_OK) connection->getResponseCode(code);
        if (code < 200) return;
        std::lock_guard<std::mutex> guard(mutex_);
        ++done_;
        good_ += code == 200 ? 1 : 0;
        if (done_ == wanted_) all_.notify_one();
    }
    void expect(int count)
    {
        std::lock_guard<std::mutex> guard(mutex_);
        wanted_ = count;
        done_ = good_ = 0;
    }
    int wait()
    {
        std::unique_lock<std::mutex> guard(mutex_);
        all_.wait_for(guard, std::chrono::seconds(60), [this] { return done_ == wanted_; });
        return good_;
    }

private:
    std::mutex mutex_;
    std::condition_variable all_;
    int wanted_ = 0, done_ = 0, good_ = 0;
};

// A document whose text was made once.
class PreparedDocument : public XmlData {
public:
    PreparedDocument()
    {
        DALinkEvXmlData document;
        samples::fill(document);
        document.encodeXml();
        text.assign(document.buffer, static_cast<std::size_t>(document.buffer_length));
        buffer = text.data();
        buffer_length = static_cast<int>(text.size());
    }
    int encodeXml() override { return 0; }
    std::string text;
};

std::string contact_of(int i, bool tcp)
{
    return "<sip:subscriber" + std::to_string(i) + "@127.0.0.1:" + std::to_string(responder->sip_port()) +
           (tcp ? ";transport=tcp>" : ">");
}

void run_ours(benchmark::State& state, XmlData& document, bool tcp, int subscribers, int sweeps = 1)
{
    IMS_subscription_table table;
    for (int i = 0; i < subscribers; ++i)
        table.store_subs(contact_of(i, tcp), "kiv-link-event", 3600, "<sip:subscriber@127.0.0.1>;tag=peer",
                         "<sip:bench@127.0.0.1>;tag=ours",
                         ("bench-" + std::to_string(i) + "@127.0.0.1").c_str());
    SIPLIB_SIPConnector connector;
    static Counter counter;
    const int count = subscribers * sweeps;
    const Meter meter(state, count);
    for (auto _ : state) {
        counter.expect(count);
        for (int sweep = 0; sweep < sweeps; ++sweep)
            table.notifyAll(connector, LOCAL_URI, "kiv-link-event", "application/xml", document, &counter,
                            "active", 3600);
        if (counter.wait() != count) state.SkipWithError("a NOTIFY was not answered with 200");
    }
}

// The same requests as text, for the baseline: one to each subscriber, or all to the first.
std::vector<std::string> prepared_requests(int count, bool tcp, bool one_subscriber = false)
{
    const PreparedDocument document;
    std::vector<std::string> requests;
    for (int n = 0; n < count; ++n) {
        const int i = one_subscriber ? 0 : n;
        const std::string contact = contact_of(i, tcp);
        requests.push_back(
            "NOTIFY " + contact.substr(1, contact.size() - 2) +
            " SIP/2.0\r\nFrom: <sip:bench@127.0.0.1>;tag=ours\r\nTo: <sip:subscriber@127.0.0.1>;tag=peer\r\n"
            "Contact: " +
            LOCAL_URI +
            "\r\nEvent: kiv-link-event\r\nExpires: 3600\r\nSubscription-State: active\r\n"
            "Kiv-Profile-ID: -1\r\nContent-Type: application/xml\r\nCall-ID: bench-" +
            std::to_string(i) + "@127.0.0.1\r\nCSeq: " + std::to_string(n - i + 1) +
            " NOTIFY\r\nMax-Forwards: 70\r\nContent-Length: " + std::to_string(document.text.size()) +
            "\r\n\r\n" + document.text);
    }
    return requests;
}

void send_bare(benchmark::State& state, const std::vector<std::string>& requests)
{
    static bench::BareNta nta;
    const int count = static_cast<int>(requests.size());
    const Meter meter(state, count);
    for (auto _ : state)
        if (nta.send_all(requests, WINDOW) != count)
            state.SkipWithError("a NOTIFY was not answered with 200");
}

void run_bare(benchmark::State& state, bool tcp)
{
    send_bare(state, prepared_requests(static_cast<int>(state.range(0)), tcp));
}

void stream_bare(benchmark::State& state, bool tcp)
{
    send_bare(state, prepared_requests(static_cast<int>(state.range(0)), tcp, true));
}

void run_handed(benchmark::State& state, bool tcp)
{
    const int count = static_cast<int>(state.range(0));
    static bench::HandedNta nta;
    const auto requests = prepared_requests(count, tcp);
    const Meter meter(state, count);
    for (auto _ : state)
        if (nta.send_all(requests, WINDOW) != count)
            state.SkipWithError("a NOTIFY was not answered with 200");
}

void run_echo(benchmark::State& state, bool tcp)
{
    const int count = static_cast<int>(state.range(0));
    const std::size_t size = prepared_requests(1, tcp)[0].size() + 80; // and a Via
    static bench::RawEcho over_udp(responder->echo_port(), false);
    static bench::RawEcho over_tcp(responder->echo_port(), true);
    const Meter meter(state, count);
    for (auto _ : state)
        (tcp ? over_tcp : over_udp).exchange(count, size, WINDOW);
}

void prepared(benchmark::State& state, bool tcp)
{
    PreparedDocument document;
    run_ours(state, document, tcp, static_cast<int>(state.range(0)));
}

void streamed(benchmark::State& state, bool tcp)
{
    PreparedDocument document;
    run_ours(state, document, tcp, 1, static_cast<int>(state.range(0)));
}

void encoded(benchmark::State& state, bool tcp)
{
    DALinkEvXmlData document;
    samples::fill(document);
    run_ours(state, document, tcp, static_cast<int>(state.range(0)));
}

void declare(const char* transport, bool tcp, std::vector<bench::Ratio>& ratios)
{
    const std::string prefix = transport;
    const auto add = [&](const char* name, void (*body)(benchmark::State&, bool)) {
        auto* entry = benchmark::RegisterBenchmark((prefix + "/" + name).c_str(), body, tcp);
        return entry->UseRealTime()->MeasureProcessCPUTime();
    };
    add("prepared", &prepared)->Arg(1)->Arg(100)->Arg(10000);
    add("document", &encoded)->Arg(1)->Arg(100)->Arg(10000);
    add("bare-nta", &run_bare)->Arg(1)->Arg(100)->Arg(10000);
    add("handed-nta", &run_handed)->Arg(1)->Arg(100)->Arg(10000);
    add("raw-echo", &run_echo)->Arg(1)->Arg(100)->Arg(1000)->Arg(10000);
    add("stream", &streamed)->Arg(1000);
    add("bare-stream", &stream_bare)->Arg(1000);
    const auto compare = [&](const std::string& what, const std::string& ours, const std::string& bare,
                             double target, bool cpu = false) {
        ratios.push_back({prefix + " " + what, prefix + "/" + ours, prefix + "/" + bare, target, cpu});
    };
    const double echo = tcp ? 0.25 : 0.16;
    compare("stream of notifyAll/1 to NTA", "stream/1000", "bare-stream/1000", 0.9);
    compare("stream of notifyAll/1 to NTA, CPU time", "stream/1000", "bare-stream/1000", 0.9, true);
    compare("stream of notifyAll/1 to raw echo", "stream/1000", "raw-echo/1000", echo);
    for (const std::string n : {"/1", "/100", "/10000"}) {
        compare("notifyAll" + n + " to NTA", "prepared" + n, "bare-nta" + n, 0.9);
        compare("notifyAll" + n + " to NTA, CPU time", "prepared" + n, "bare-nta" + n, 0.9, true);
        compare("notifyAll" + n + " to NTA on its own thread", "prepared" + n, "handed-nta" + n, 0);
        compare("notifyAll" + n + " with document to NTA", "document" + n, "bare-nta" + n, 0.9);
        compare("notifyAll" + n + " to raw echo", "prepared" + n, "raw-echo" + n, echo);
    }
}

} // namespace

int main(int argc, char** argv)
{
    static bench::Responder process;
    responder = &process;
    IMS_log::set_level(3);
    SIPLIB_StackCfg cfg;
    SIPLIB_SIPInitConfig(&cfg);
    cfg.maxTransactions = 20000;
    if (SIPLIB_SIPStart(&cfg) != SIPLIB_OK) return 2;
    std::vector<bench::Ratio> ratios;
    declare("udp", false, ratios);
    declare("tcp", true, ratios);
    const int result = bench::run_with_ratios(argc, argv, ratios);
    SIPLIB_SIPStop();
    return result;
}
