#include "tests/system/device.h"

#include <sstream>
#include <sys/stat.h>

namespace {

std::string path_of(const std::string& program)
{
    if (program == "imslinkevd") return IMSLINKEVD_BINARY;
    if (program == "imswatch") return IMSWATCH_BINARY;
    return IMSFWKD_BINARY;
}

} // namespace

void ADevice::SetUp()
{
    ASSERT_TRUE(net_.valid()) << net_.why();
    ASSERT_TRUE(net_.ip("link add dev0 address 02:00:00:00:00:01 type veth peer name network"));
    ASSERT_TRUE(net_.ip("address add 192.0.2.1/24 dev dev0"));
    ASSERT_TRUE(link("network up"));
    ASSERT_TRUE(link("dev0 up"));
    ASSERT_TRUE(is_operational()) << "dev0 does not come up";
}

// The kernel reports a carrier from a work queue of its own, some time after "ip" has returned.
bool ADevice::is_operational() const
{
    const auto deadline = std::chrono::steady_clock::now() + Process::PATIENCE;
    ProcessStart start;
    start.argv = {"ip", "-oneline", "link", "show", "dev", "dev0"};
    start.net = &net_;
    std::string said;
    while (said.find("state UP") == std::string::npos && std::chrono::steady_clock::now() < deadline)
        run_process(start, &said);
    return said.find("state UP") != std::string::npos;
}

ProcessStart ADevice::program(const std::string& name, const Words& arguments) const
{
    ProcessStart start;
    start.argv = {path_of(name)};
    start.argv.insert(start.argv.end(), arguments.begin(), arguments.end());
    start.dir = dir_.path();
    start.net = &net_;
    return start;
}

Running ADevice::start(const std::string& name, const Words& arguments) const
{
    return Running(new Process(program(name, arguments)));
}

Running ADevice::notifier(const Words& arguments) const
{
    Words all = {"-links", "dev0", "-mininterval", "20", "-minexpires", "1"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    auto process = start("imslinkevd", all);
    EXPECT_TRUE(process->wait_for_log("serving at")) << process->log();
    return process;
}

Running ADevice::watcher(const Words& arguments) const
{
    Words all = {"kiv-link-event", "--json"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return start("imswatch", all);
}

Running ADevice::framework(const std::string& stack_settings, const std::string& linkev_settings)
{
    ::mkdir(dir_.file("store").c_str(), 0700);
    dir_.write("store/sipstackinit.xml",
               "<sipstackinit><default>" + stack_settings + "</default></sipstackinit>\n");
    dir_.write("store/config.xml", "<config><linkev>" + linkev_settings + "</linkev></config>\n");
    Words arguments = {"-store", "store"};
    if (!sync_port_.empty())
        arguments.insert(arguments.end(), {"-syncport", sync_port_, "-asyncport", async_port_});
    auto process = start("imsfwkd", arguments);
    std::istringstream line(process->wait_for_line("syncport"));
    std::string word;
    line >> word >> sync_port_ >> word >> async_port_;
    EXPECT_NE(async_port_, "") << process->log();
    return process;
}

Words ADevice::framework_ports() const
{
    return {"-fwksyncport", sync_port_, "-fwkasyncport", async_port_};
}

Running ADevice::start_sipp(const std::string& scenario, const Words& arguments) const
{
    ProcessStart start;
    start.argv = {"sipp",
                  "-sf",
                  std::string(SIPP_SCENARIOS) + "/" + scenario + ".xml",
                  "-nostdin",
                  "-trace_err",
                  "-error_file",
                  scenario + ".errors",
                  "-timeout",
                  "60s",
                  "-timeout_error"};
    start.argv.insert(start.argv.end(), arguments.begin(), arguments.end());
    start.dir = dir_.path();
    start.net = &net_;
    start.env = {"TERM=dumb"};
    return Running(new Process(start));
}

bool ADevice::sipp(const std::string& scenario, const Words& arguments, std::string* said) const
{
    Words all = {"127.0.0.1:5080", "-i", "127.0.0.1", "-m", "1"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    auto process = start_sipp(scenario, all);
    const auto end = process->wait(std::chrono::seconds(70));
    if (said != nullptr) *said = process->log() + dir_.read(scenario + ".errors");
    return end.status == 0;
}

bool ADevice::ip_batch(const std::string& commands) const
{
    ProcessStart start;
    start.argv = {"ip", "-force", "-batch", dir_.write("batch", commands)};
    start.net = &net_;
    return run_process(start).status == 0;
}
