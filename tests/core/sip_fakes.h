// SIP objects that record what the framework asks of them. Plain values: a test owns them.
#ifndef TESTS_CORE_SIP_FAKES_H_INCLUDED
#define TESTS_CORE_SIP_FAKES_H_INCLUDED

#include "siplib/SIPLIB.h"

#include <functional>
#include <string>
#include <vector>

struct FakeClientConnection : SIPLIB_SIPClientConnection {
    int receive() override
    {
        ++receives;
        if (on_receive) on_receive();
        return result;
    }
    std::function<void()> on_receive;
    int receives = 0;
    int result = SIPLIB_OK;
};

struct FakeServerConnection : SIPLIB_SIPServerConnection {
    int receive() override
    {
        ++receives;
        return result;
    }
    int receives = 0;
    int result = SIPLIB_OK;
};

struct FakeDialog : SIPLIB_SIPDialog {
    int receive() override
    {
        ++receives;
        return result;
    }
    int receives = 0;
    int result = SIPLIB_OK;
};

struct FakeNotifier : SIPLIB_SIPNotifier {
    SIPLIB_SIPConnection* acceptAndOpen() override
    {
        ++accepts;
        return accepted;
    }
    SIPLIB_SIPConnection* acceptAndOpen(SIPLIB_SIPDialog* dialog) override
    {
        dialogs.push_back(dialog);
        return accepted;
    }
    int setListener(SIPLIB_SIPServerConnectionListener* wanted) override
    {
        listeners.push_back(wanted);
        if (on_listener) on_listener();
        return SIPLIB_OK;
    }
    std::function<void()> on_listener;
    SIPLIB_SIPConnection* accepted = nullptr;
    int accepts = 0;
    std::vector<SIPLIB_SIPDialog*> dialogs;
    std::vector<SIPLIB_SIPServerConnectionListener*> listeners;
};

// Stands in for every connector while in scope. `answer` decides what a call opens; `calls` tells what was
// asked.
struct FakeConnector : SIPLIB_SIPConnector {
    FakeConnector() : before(setOverride(this)) {}
    ~FakeConnector() override { setOverride(before); }

    SIPLIB_SIPObject* open(const char* desturi, const char* srcuri) override
    {
        return asked("uri " + text(desturi) + " from " + text(srcuri));
    }
    SIPLIB_SIPObject* open(const char* type, const char* destip, int destport, const char* srcip,
                           int srcport) override
    {
        return asked(text(type) + " " + text(destip) + ":" + std::to_string(destport) + " from " +
                     text(srcip) + ":" + std::to_string(srcport));
    }
    SIPLIB_SIPObject* open(const char* to, const char* from, const char* srcuri) override
    {
        return asked("to " + text(to) + " from " + text(from) + " by " + text(srcuri));
    }

    std::function<SIPLIB_SIPObject*(const std::string& call)> answer;
    std::vector<std::string> calls;

private:
    static std::string text(const char* p) { return p ? p : "null"; }
    SIPLIB_SIPObject* asked(const std::string& call)
    {
        calls.push_back(call);
        return answer ? answer(call) : nullptr;
    }
    SIPLIB_SIPConnector* before;
};

#endif
