// A device of its own for each system test: a network namespace, a working folder, and the daemons in them.
#ifndef TESTS_SYSTEM_DEVICE_H_INCLUDED
#define TESTS_SYSTEM_DEVICE_H_INCLUDED

#include "tests/support/process.h"
#include "tests/support/temp_dir.h"
#include "tests/system/running.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

class ADevice : public ::testing::Test {
protected:
    // The link dev0 (02:00:00:00:00:01, 192.0.2.1) is up; its other end is the link "network".
    void SetUp() override;

    // A program of the build with its arguments, in the device.
    ProcessStart program(const std::string& name, const Words& arguments) const;
    Running start(const std::string& name, const Words& arguments) const;

    // The notifier, watching dev0 only, when it serves.
    Running notifier(const Words& arguments = {}) const;
    // A subscriber that prints JSON lines.
    Running watcher(const Words& arguments = {}) const;
    // The framework daemon on the folder "store" with this configuration, when it answers; its ports.
    Running framework(const std::string& stack_settings = "", const std::string& linkev_settings = "");
    Words framework_ports() const; // options for an agent

    // Runs a SIPp scenario of tests/interop/sipp against the notifier; true when all calls succeeded. They
    // send again after 4 s, not the usual half: nothing is lost here, but a machine may be slow, and a second
    // answer that comes after the first NOTIFY ends a call for SIPp.
    bool sipp(const std::string& scenario, const Words& arguments = {}, std::string* said = nullptr) const;
    Running start_sipp(const std::string& scenario, const Words& arguments) const;

    bool link(const std::string& arguments) const { return net_.ip("link set " + arguments); }
    bool is_operational() const; // waits until dev0 is
    // Many "ip" commands at once, one a line.
    bool ip_batch(const std::string& commands) const;

    NetNamespace net_;
    TempDir dir_;
    std::string sync_port_, async_port_;
};

#endif
