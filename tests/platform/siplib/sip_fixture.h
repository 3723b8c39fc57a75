// What the tests of the SIP library share: a stack with short timers, listeners that record and can be waited
// for, and peers that speak raw bytes.
#ifndef TESTS_PLATFORM_SIPLIB_SIP_FIXTURE_H_INCLUDED
#define TESTS_PLATFORM_SIPLIB_SIP_FIXTURE_H_INCLUDED

#include "siplib/SIPLIB.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <functional>
#include <mutex>
#include <string>

constexpr std::chrono::seconds soon(20); // a deadline, not a delay

// Told about responses; remembers who was announced, in order. Listeners must outlive their use: when one of
// these goes out of scope, the stack is stopped before.
class ResponseEars : public SIPLIB_SIPClientConnectionListener {
public:
    ~ResponseEars() override { SIPLIB_SIPStop(); }
    void notifyResponse(SIPLIB_SIPClientConnection* conn) override
    {
        if (react) react(conn);
        std::lock_guard<std::mutex> guard(mutex_);
        heard_.push_back(conn);
        ++count_;
        changed_.notify_all();
    }
    SIPLIB_SIPClientConnection* next()
    {
        std::unique_lock<std::mutex> lock(mutex_);
        if (!changed_.wait_for(lock, soon, [this] { return !heard_.empty(); })) return nullptr;
        SIPLIB_SIPClientConnection* conn = heard_.front();
        heard_.pop_front();
        return conn;
    }
    // The next one's final status, taken with receive(); -1 when nothing comes.
    int next_status()
    {
        for (;;) {
            SIPLIB_SIPClientConnection* conn = next();
            int code = -1;
            if (!conn || conn->receive() != SIPLIB_OK) return -1;
            conn->getResponseCode(code);
            if (code >= 200) return code;
        }
    }
    bool wait_count(std::size_t wanted)
    {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, soon, [&] { return count_ >= wanted; });
    }
    std::size_t count() const
    {
        std::lock_guard<std::mutex> guard(mutex_);
        return count_;
    }
    std::function<void(SIPLIB_SIPClientConnection*)> react; // on the library's thread

private:
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<SIPLIB_SIPClientConnection*> heard_;
    std::size_t count_ = 0;
};

// Told about requests; accepts each in the callback. With `react` it also answers there.
class RequestEars : public SIPLIB_SIPServerConnectionListener {
public:
    ~RequestEars() override { SIPLIB_SIPStop(); }
    void notifyRequest(SIPLIB_SIPNotifier* notifier) override
    {
        SIPLIB_SIPConnection* conn = accept ? notifier->acceptAndOpen() : nullptr;
        if (conn && react) react(conn);
        std::lock_guard<std::mutex> guard(mutex_);
        accepted_.push_back(conn);
        ++count_;
        changed_.notify_all();
    }
    SIPLIB_SIPConnection* next()
    {
        std::unique_lock<std::mutex> lock(mutex_);
        if (!changed_.wait_for(lock, soon, [this] { return !accepted_.empty(); })) return nullptr;
        SIPLIB_SIPConnection* conn = accepted_.front();
        accepted_.pop_front();
        return conn;
    }
    bool wait_count(std::size_t wanted)
    {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, soon, [&] { return count_ >= wanted; });
    }
    std::size_t count() const
    {
        std::lock_guard<std::mutex> guard(mutex_);
        return count_;
    }
    bool accept = true;
    std::function<void(SIPLIB_SIPConnection*)> react;

private:
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<SIPLIB_SIPConnection*> accepted_;
    std::size_t count_ = 0;
};

inline std::string header(SIPLIB_SIPConnection* conn, const char* name)
{
    char buf[2048];
    int len = sizeof buf;
    return conn->getHeader(name, buf, len) == SIPLIB_OK ? std::string(buf) : "(none)";
}

inline std::string method(SIPLIB_SIPConnection* conn)
{
    char buf[SIPLIB_METHOD_SIZE];
    return conn->getMethod(buf, sizeof buf) == SIPLIB_OK ? std::string(buf) : "(none)";
}

inline std::string body(SIPLIB_SIPConnection* conn)
{
    char buf[20000];
    int len = sizeof buf;
    return conn->getBody(buf, len) == SIPLIB_OK ? std::string(buf, static_cast<std::size_t>(len)) : "(none)";
}

inline int answer(SIPLIB_SIPConnection* conn, int code)
{
    const int status = conn->initResponse(code);
    return status == SIPLIB_OK ? conn->send() : status;
}

// A running stack with short timers: 64*T1 is a fraction of a second.
class WithStack : public ::testing::Test {
protected:
    explicit WithStack(const char* address = "127.0.0.1")
    {
        SIPLIB_SIPInitConfig(&cfg);
        std::strncpy(cfg.localAddress, address, sizeof cfg.localAddress - 1);
        std::strncpy(cfg.tcpLocalAddress, address, sizeof cfg.tcpLocalAddress - 1);
        cfg.T1 = 20;
        cfg.T2 = 80;
        host = std::strchr(address, ':') ? std::string("[") + address + "]" : address;
    }
    ~WithStack() override { SIPLIB_SIPStop(); }

    void start() { ASSERT_EQ(SIPLIB_SIPStart(&cfg), SIPLIB_OK); }

    // A notifier on any free port, and that port.
    SIPLIB_SIPNotifier* listen(SIPLIB_SIPServerConnectionListener* ears, int& port)
    {
        SIPLIB_SIPObject* object = connector.open("sip:0", nullptr);
        SIPLIB_SIPNotifier* notifier = object ? object->asNotifier() : nullptr;
        if (!notifier) return nullptr;
        EXPECT_EQ(notifier->getLocalPort(port), SIPLIB_OK);
        EXPECT_EQ(notifier->setListener(ears), SIPLIB_OK);
        return notifier;
    }

    std::string uri(int port, const char* transport = "udp") const
    {
        return "sip:peer@" + host + ":" + std::to_string(port) + ";transport=" + transport;
    }

    // A client connection with a request that could be sent.
    SIPLIB_SIPClientConnection* request(const char* name, int port, const char* transport = "udp",
                                        SIPLIB_SIPClientConnectionListener* ears = nullptr)
    {
        SIPLIB_SIPObject* object = connector.open(uri(port, transport).c_str(), nullptr);
        SIPLIB_SIPClientConnection* conn = object ? object->asClientConnection() : nullptr;
        if (!conn) return nullptr;
        EXPECT_EQ(conn->initRequest(name), SIPLIB_OK);
        EXPECT_EQ(conn->setHeader("From", "<sip:me@127.0.0.1>"), SIPLIB_OK);
        EXPECT_EQ(conn->setHeader("To", "<sip:peer@127.0.0.1>"), SIPLIB_OK);
        EXPECT_EQ(conn->setListener(ears), SIPLIB_OK);
        return conn;
    }

    SIPLIB_StackCfg cfg;
    SIPLIB_SIPConnector connector;
    std::string host;
};

#endif
