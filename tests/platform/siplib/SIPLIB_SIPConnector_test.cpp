#include "siplib/SIPLIB.h"

#include <gtest/gtest.h>

#include <string>

namespace {

class SomeConnection : public SIPLIB_SIPClientConnection {};

// Overrides every form and notes which one was asked for.
class WholeMock : public SIPLIB_SIPConnector {
public:
    SIPLIB_SIPObject* open(const char*, const char*) override { return note("uri"); }
    SIPLIB_SIPObject* open(const char*, const char*, int, const char*, int) override
    {
        return note("address");
    }
    SIPLIB_SIPObject* open(const char*, const char*, const char*) override { return note("to-from"); }
    SIPLIB_SIPObject* note(const char* form)
    {
        asked += asked.empty() ? form : std::string(" ") + form;
        return &connection;
    }
    std::string asked;
    SomeConnection connection;
};

// Overrides one form; the others are inherited.
class HalfMock : public SIPLIB_SIPConnector {
public:
    using SIPLIB_SIPConnector::open;
    SIPLIB_SIPObject* open(const char*, const char*) override { return &connection; }
    SomeConnection connection;
};

class AConnector : public ::testing::Test {
protected:
    ~AConnector() override { SIPLIB_SIPConnector::setOverride(nullptr); }
    SIPLIB_SIPConnector plain;
    WholeMock mock;
};

TEST_F(AConnector, ForwardsAllThreeFormsToTheOverride)
{
    SIPLIB_SIPConnector::setOverride(&mock);
    EXPECT_EQ(plain.open("sip:a@127.0.0.1", nullptr), &mock.connection);
    EXPECT_EQ(plain.open("udp", "127.0.0.1", 5060, nullptr, 0), &mock.connection);
    EXPECT_EQ(plain.open("<sip:a@127.0.0.1>", "<sip:b@127.0.0.1>", nullptr), &mock.connection);
    EXPECT_EQ(mock.asked, "uri address to-from");
}

TEST_F(AConnector, GivesTheEarlierOverrideBack)
{
    EXPECT_EQ(SIPLIB_SIPConnector::setOverride(&mock), nullptr);
    EXPECT_EQ(SIPLIB_SIPConnector::setOverride(nullptr), &mock);
    EXPECT_EQ(SIPLIB_SIPConnector::setOverride(nullptr), nullptr);
}

TEST_F(AConnector, DoesNotForwardToItself)
{
    HalfMock half;
    SIPLIB_SIPConnector::setOverride(&half);
    EXPECT_EQ(plain.open("sip:a@127.0.0.1", nullptr), &half.connection);
    // The form that the mock left alone ends in the real library, which refuses this.
    EXPECT_EQ(plain.open("carrier pigeon", "127.0.0.1", 5060, nullptr, 0), nullptr);
}

} // namespace
