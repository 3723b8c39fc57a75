// Connections that record every call made on them, in order, as text, and answer as a test tells them to.
//
//     RecordingClientConnection conn;
//     conn.status_of["setHeader"] = SIPLIB_ERR_STATE;
//     ... use it ...
//     EXPECT_THAT(conn.calls, ElementsAre("initRequest(NOTIFY)", "setHeader(Event, kiv-link-event)", ...));
//
// A recorded call reads "operation(argument, argument)"; a null text reads "(null)"; a body reads as its
// length, its bytes are in `sent_body`. Recording is not locked: one thread at a time.
#ifndef TESTS_SUPPORT_RECORDING_CONNECTION_H_INCLUDED
#define TESTS_SUPPORT_RECORDING_CONNECTION_H_INCLUDED

#include "include/text.h"
#include "siplib/SIPLIB.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <vector>

// `Base` is SIPLIB_SIPClientConnection or SIPLIB_SIPServerConnection.
template <typename Base>
class Recording : public Base {
public:
    // What happened
    std::vector<std::string> calls;
    std::string sent_body;           // of the last setBody
    SIPLIB_SipImsServerAddress hop;  // of the last setImsServerAddress
    std::vector<std::string> bodies; // the body at each successful send()

    // What is answered
    std::map<std::string, int> status_of;       // by operation; 0 for those not named
    std::map<std::string, std::string> headers; // for getHeader; an absent one gives SIPLIB_ERR_NOT_FOUND
    std::string body;                           // for getBody; cut at the capacity, as the library does
    std::string method = "NOTIFY";              // for getMethod
    int response_code = 200;                    // for getResponseCode
    SIPLIB_SIPDialog* dialog = nullptr;         // for getDialog

    // The calls whose text starts with `operation`.
    std::vector<std::string> calls_of(const std::string& operation) const
    {
        std::vector<std::string> found;
        for (const std::string& call : calls)
            if (call.compare(0, operation.size() + 1, operation + "(") == 0) found.push_back(call);
        return found;
    }

    int send() override
    {
        const int status = record("send", {});
        if (status == SIPLIB_OK) bodies.push_back(sent_body);
        return status;
    }
    int receive() override { return record("receive", {}); }
    int close() override { return record("close", {}); }

    int getHeader(const char* name, char* buf, int& len) override
    {
        const int status = record("getHeader", {shown(name)});
        if (status != SIPLIB_OK) return status;
        const auto found = headers.find(imsua::text(name));
        if (found == headers.end()) return SIPLIB_ERR_NOT_FOUND;
        if (!buf || len <= 0) return SIPLIB_ERR_ARGUMENT;
        return copy_text(found->second, buf, len);
    }
    int setHeader(const char* name, const char* value) override
    {
        return record("setHeader", {shown(name), shown(value)});
    }
    int addHeader(const char* name, const char* value) override
    {
        return record("addHeader", {shown(name), shown(value)});
    }
    int removeHeader(const char* name) override { return record("removeHeader", {shown(name)}); }

    int getBody(char* buf, int& len) override
    {
        const int status = record("getBody", {std::to_string(len)});
        if (status != SIPLIB_OK) return status;
        if (!buf || len <= 0) return SIPLIB_ERR_ARGUMENT;
        const bool whole = body.size() <= static_cast<std::size_t>(len);
        len = static_cast<int>(body.copy(buf, static_cast<std::size_t>(len)));
        return whole ? SIPLIB_OK : SIPLIB_ERR_TRUNCATED;
    }
    int setBody(const char* data, int len) override
    {
        const int status = record("setBody", {std::to_string(len)});
        if (status == SIPLIB_OK)
            sent_body.assign(data ? data : "", data && len > 0 ? static_cast<std::size_t>(len) : 0);
        return status;
    }

    int getMethod(char* buf, int capacity) override
    {
        const int status = record("getMethod", {std::to_string(capacity)});
        if (status != SIPLIB_OK) return status;
        if (!buf || capacity <= 0) return SIPLIB_ERR_ARGUMENT;
        return copy_text(method, buf, capacity);
    }
    int setMethod(const char* name) override { return record("setMethod", {shown(name)}); }
    int getResponseCode(int& code) override
    {
        const int status = record("getResponseCode", {});
        if (status == SIPLIB_OK) code = response_code;
        return status;
    }
    int initRequest(const char* name) override { return record("initRequest", {shown(name)}); }
    int initResponse(int code) override { return record("initResponse", {std::to_string(code)}); }
    int setRequestURI(const char* uri) override { return record("setRequestURI", {shown(uri)}); }
    int setImsServerAddress(const SIPLIB_SipImsServerAddress& next) override
    {
        hop = next;
        return record("setImsServerAddress", {std::string(next.host, strnlen(next.host, SIPLIB_HOST_SIZE)),
                                              std::to_string(next.port), next.transport});
    }
    SIPLIB_SIPDialog* getDialog() override
    {
        record("getDialog", {});
        return dialog;
    }

protected:
    static std::string shown(const char* p) { return imsua::shown(p); }

    int record(const std::string& operation, const std::vector<std::string>& arguments)
    {
        std::string call = operation + "(";
        for (std::size_t i = 0; i < arguments.size(); ++i)
            call += (i ? ", " : "") + arguments[i];
        calls.push_back(call + ")");
        const auto found = status_of.find(operation);
        return found == status_of.end() ? static_cast<int>(SIPLIB_OK) : found->second;
    }

private:
    static int copy_text(const std::string& value, char* buf, int& len)
    {
        const std::size_t room = static_cast<std::size_t>(len) - 1;
        const std::size_t copied = value.copy(buf, room);
        buf[copied] = 0;
        len = static_cast<int>(copied);
        return copied == value.size() ? SIPLIB_OK : SIPLIB_ERR_TRUNCATED;
    }
};

class RecordingClientConnection : public Recording<SIPLIB_SIPClientConnection> {
public:
    SIPLIB_SIPClientConnectionListener* listener = nullptr; // of the last setListener

    int setListener(SIPLIB_SIPClientConnectionListener* l) override
    {
        listener = l;
        return record("setListener", {l ? "listener" : "(null)"});
    }
};

class RecordingServerConnection : public Recording<SIPLIB_SIPServerConnection> {};

#endif
