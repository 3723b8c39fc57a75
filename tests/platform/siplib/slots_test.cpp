// The layout that callers through untyped pointers rely on.
#include "siplib/SIPLIB.h"

#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>

namespace {

struct Connection : SIPLIB_SIPClientConnection {
    int send() override { return 2; }
    int receive() override { return 3; }
};
struct Dialog : SIPLIB_SIPDialog {
    int send() override { return 2; }
    int receive() override { return 3; }
};

// Entry `index` of the object's table of virtual operations; the destructor takes entries 0 and 1.
int call_entry(void* object, std::size_t index)
{
    using Operation = int (*)(void*);
    void* const* table = nullptr;
    std::memcpy(&table, object, sizeof table);
    Operation operation = nullptr;
    std::memcpy(&operation, &table[index], sizeof operation);
    return operation(object);
}

TEST(TheSlotOrder, HasReceiveAsTheThirdOperationOfConnectionsAndDialogs)
{
    Connection connection;
    Dialog dialog;
    EXPECT_EQ(call_entry(&connection, 2), 2);
    EXPECT_EQ(call_entry(&connection, 3), 3);
    EXPECT_EQ(call_entry(&dialog, 2), 2);
    EXPECT_EQ(call_entry(&dialog, 3), 3);
}

TEST(AnObject, HasOneAddressWhateverItIsSeenAs)
{
    Connection connection;
    SIPLIB_SIPClientConnection* client = &connection;
    SIPLIB_SIPConnection* plain = client;
    SIPLIB_SIPObject* root = plain;
    EXPECT_EQ(static_cast<void*>(root), static_cast<void*>(&connection));
    EXPECT_EQ(static_cast<void*>(plain), static_cast<void*>(client));
    EXPECT_EQ(root->asConnection(), plain);
    EXPECT_EQ(root->asClientConnection(), client);
    EXPECT_EQ(root->asNotifier(), nullptr);
    EXPECT_EQ(root->asDialog(), nullptr);
}

TEST(AMock, NeedsToOverrideOnlyWhatItChecks)
{
    Connection connection;
    int number = 7;
    EXPECT_EQ(connection.close(), SIPLIB_ERR_UNSUPPORTED);
    EXPECT_EQ(connection.getHeader("From", nullptr, number), SIPLIB_ERR_UNSUPPORTED);
    EXPECT_EQ(connection.setHeader("From", "x"), SIPLIB_ERR_UNSUPPORTED);
    EXPECT_EQ(connection.getResponseCode(number), SIPLIB_ERR_UNSUPPORTED);
    EXPECT_EQ(connection.setImsServerAddress({}), SIPLIB_ERR_UNSUPPORTED);
    EXPECT_EQ(connection.getDialog(), nullptr);
    EXPECT_EQ(number, 7);
}

TEST(TheNextHopRecord, StartsZeroFilledAndHasThreeNames)
{
    const SIPLIB_SipImsServerAddress hop;
    EXPECT_EQ(hop.port, 0);
    EXPECT_EQ(hop.flag, 0);
    for (char c : hop.host)
        EXPECT_EQ(c, '\0');
    EXPECT_TRUE((std::is_same_v<ImsServerAddress, SIPLIB_SipImsServerAddress>));
    EXPECT_TRUE((std::is_same_v<ServerAddressRecord, SIPLIB_SipImsServerAddress>));
}

} // namespace
