// The example agent as a process, with imstac as its telephony controller; a folder of its own for each test.
#ifndef TESTS_SYSTEM_TELEPHONY_FIXTURE_H_INCLUDED
#define TESTS_SYSTEM_TELEPHONY_FIXTURE_H_INCLUDED

#include "tests/support/temp_dir.h"
#include "tests/system/running.h"
#include "tests/system/telephony_controller.h"

#include <chrono>
#include <gtest/gtest.h>
#include <string>
#include <thread>

class ATelephonyAgent : public ::testing::Test {
protected:
    Running start_program(const char* binary, const Words& arguments) const
    {
        ProcessStart how;
        how.argv = {binary};
        how.argv.insert(how.argv.end(), arguments.begin(), arguments.end());
        how.dir = dir.path();
        return Running(new Process(how));
    }
    void start(const Words& arguments = {})
    {
        agent.reset();
        agent = start_program(TELEPHONY_AGENT_BINARY, arguments);
    }
    Running start_imstac(const Words& arguments) const
    {
        Words all = {"telephony_agent", "--within", "20", "--connect-within", "20"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        return start_program(IMSTAC_BINARY, all);
    }
    // A whole run of imstac; its exit status.
    int imstac(const Words& arguments, std::chrono::milliseconds patience = Process::PATIENCE)
    {
        auto process = start_imstac(arguments);
        const int status = process->wait(patience).status;
        said = process->output() + process->log();
        return status;
    }
    void connect(TelephonyController& controller) const
    {
        ASSERT_TRUE(controller.connect(dir.file("telephony_agent.sock"))) << agent->log();
    }
    // The port of the agent's capability file, which is there before its socket.
    int sip_port() const
    {
        const std::string cap = dir.read("telephony_agent.cap");
        const auto colon = cap.rfind(':');
        return colon == std::string::npos ? -1 : std::stoi(cap.substr(colon + 1));
    }
    std::string ask(const std::string& method, const std::string& body = "") const
    {
        const std::string answer = ask_sip(sip_port(), method, body);
        return answer.substr(0, answer.find("\r\n"));
    }
    // Waits until the agent's log has `text` this often.
    bool logs(const std::string& text, int times) const
    {
        const auto deadline = std::chrono::steady_clock::now() + Process::PATIENCE;
        while (std::chrono::steady_clock::now() < deadline) {
            if (count_in_log(text) >= times) return true;
            std::this_thread::yield();
        }
        return false;
    }
    int count_in_log(const std::string& text) const
    {
        const std::string log = agent->log();
        int count = 0;
        for (auto at = log.find(text); at != std::string::npos; at = log.find(text, at + 1))
            ++count;
        return count;
    }

    TempDir dir;
    Running agent;
    std::string said;
};

#endif
