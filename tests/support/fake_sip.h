// Stand-ins for the SIP library's objects: they record what is set and sent, and never send anything.
#ifndef TESTS_SUPPORT_FAKE_SIP_H_INCLUDED
#define TESTS_SUPPORT_FAKE_SIP_H_INCLUDED

#include "siplib/SIPLIB.h"

#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

using Headers = std::map<std::string, std::string>;

// Copies `value` as the library does: cut at the capacity, always terminated.
inline int give(const std::string& value, char* buf, int& len)
{
    const auto room = static_cast<std::size_t>(len) - 1;
    const std::size_t size = value.size() < room ? value.size() : room;
    std::memcpy(buf, value.data(), size);
    buf[size] = '\0';
    len = static_cast<int>(size);
    return size < value.size() ? SIPLIB_ERR_TRUNCATED : SIPLIB_OK;
}

// A received request and the answer to it.
struct Fake_request : SIPLIB_SIPServerConnection {
    int getHeader(const char* name, char* buf, int& len) override
    {
        const auto found = received.find(name);
        if (found == received.end()) return SIPLIB_ERR_NOT_FOUND;
        return give(found->second, buf, len);
    }
    int getMethod(char* buf, int capacity) override { return give(method, buf, capacity); }
    int initResponse(int status) override
    {
        code = status;
        return SIPLIB_OK;
    }
    int setHeader(const char* name, const char* value) override
    {
        answer[name] = value;
        return SIPLIB_OK;
    }
    int send() override
    {
        ++sent;
        return SIPLIB_OK;
    }
    int close() override { return SIPLIB_OK; }

    std::string method = "SUBSCRIBE";
    Headers received;
    int code = 0;
    int sent = 0;
    Headers answer;
};

// A request of ours and the response to it.
struct Fake_client : SIPLIB_SIPClientConnection {
    int getHeader(const char* name, char* buf, int& len) override
    {
        const auto& from = code != 0 ? response : headers;
        const auto found = from.find(name);
        if (found == from.end()) return SIPLIB_ERR_NOT_FOUND;
        return give(found->second, buf, len);
    }
    int setHeader(const char* name, const char* value) override
    {
        headers[name] = value;
        return SIPLIB_OK;
    }
    int initRequest(const char* name) override
    {
        method = name;
        return SIPLIB_OK;
    }
    int setBody(const char* data, int len) override
    {
        body.assign(data, static_cast<std::size_t>(len));
        return SIPLIB_OK;
    }
    int getResponseCode(int& out) override
    {
        out = code;
        return SIPLIB_OK;
    }
    int setListener(SIPLIB_SIPClientConnectionListener* l) override
    {
        listener = l;
        return SIPLIB_OK;
    }
    int receive() override { return SIPLIB_OK; }
    int send() override
    {
        ++sent;
        return result;
    }
    int close() override
    {
        ++closed;
        return SIPLIB_OK;
    }

    std::string uri, method, body;
    Headers headers;
    int code = 0;
    Headers response;
    int sent = 0;
    int closed = 0;
    int result = SIPLIB_OK;
    SIPLIB_SIPClientConnectionListener* listener = nullptr;
};

struct Fake_notifier : SIPLIB_SIPNotifier {
    SIPLIB_SIPConnection* acceptAndOpen() override { return waiting; }
    int setListener(SIPLIB_SIPServerConnectionListener* l) override
    {
        listener = l;
        return SIPLIB_OK;
    }
    int close() override { return SIPLIB_OK; }

    SIPLIB_SIPConnection* waiting = nullptr;
    SIPLIB_SIPServerConnectionListener* listener = nullptr;
};

// Takes the place of every connector while it lives.
struct Fake_connector : SIPLIB_SIPConnector {
    Fake_connector() : before(setOverride(this)) {}
    ~Fake_connector() override { setOverride(before); }

    SIPLIB_SIPObject* open(const char* to, const char* from) override
    {
        if (from == nullptr) return has_ports ? &notifier : nullptr;
        if (!reachable) return nullptr;
        clients.push_back(std::make_unique<Fake_client>());
        clients.back()->uri = to;
        clients.back()->result = send_result;
        return clients.back().get();
    }

    SIPLIB_SIPConnector* before;
    Fake_notifier notifier;
    bool has_ports = true;
    bool reachable = true;
    int send_result = SIPLIB_OK;
    std::vector<std::unique_ptr<Fake_client>> clients;
};

#endif
