// An address that answers what a test wants, and the factory that gives it out while in scope.
#ifndef TESTS_SUBSCRIPTIONS_FAKE_ADDRESS_H_INCLUDED
#define TESTS_SUBSCRIPTIONS_FAKE_ADDRESS_H_INCLUDED

#include "siplib/SIPLIB.h"

#include <string>
#include <vector>

class FakeAddresses {
public:
    FakeAddresses()
    {
        self() = this;
        SIPLIB_SIPAddress::setFactory(&FakeAddresses::create);
    }
    ~FakeAddresses()
    {
        SIPLIB_SIPAddress::setFactory(nullptr);
        self() = nullptr;
    }
    FakeAddresses(const FakeAddresses&) = delete;
    FakeAddresses& operator=(const FakeAddresses&) = delete;

    bool is_address = true;         // false: the factory gives null
    int status = 0;                 // what every getter returns
    int port = 77;                  // what the port getter writes
    bool writes_port = true;        // false: it leaves its argument alone
    std::vector<std::string> asked; // factory and getter calls in order
    int alive = 0;                  // addresses not deleted yet

private:
    struct Address : SIPLIB_SIPAddress {
        explicit Address(FakeAddresses& made_by) : owner(made_by) { ++owner.alive; }
        ~Address() override { --owner.alive; }
        int answer(const char* part, std::string& out) const
        {
            owner.asked.push_back(part);
            out = std::string("the ") + part; // also on failure: half-written output
            return owner.status;
        }
        int getDisplayName(std::string& out) const override { return answer("name", out); }
        int getScheme(std::string& out) const override { return answer("scheme", out); }
        int toString(std::string& out) const override { return answer("whole", out); }
        int getHost(std::string& out) const override { return answer("host", out); }
        int getURI(std::string& out) const override { return answer("uri", out); }
        int getUser(std::string& out) const override { return answer("user", out); }
        int getParameter(const std::string& name, std::string& out) const override
        {
            return answer(("parameter " + name).c_str(), out);
        }
        int setParameter(const std::string&, const std::string&) override { return 1; }
        int getPort(int& out) const override
        {
            owner.asked.push_back("port");
            if (owner.writes_port) out = owner.port;
            return owner.status;
        }
        FakeAddresses& owner;
    };
    static FakeAddresses*& self()
    {
        static FakeAddresses* current = nullptr;
        return current;
    }
    static SIPLIB_SIPAddress* create(const std::string& header, const std::string& value)
    {
        self()->asked.push_back(header + "=" + value);
        return self()->is_address ? new Address(*self()) : nullptr;
    }
};

#endif
