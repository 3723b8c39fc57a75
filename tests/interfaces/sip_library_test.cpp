// The SIP library as its users and their mocks see it.
#include "siplib/SIPLIB.h"
#include "tests/interfaces/interface_checks.h"

#include <type_traits>

namespace {

template <typename A, typename B>
constexpr bool same = std::is_same<A, B>::value;

static_assert(SIPLIB_OK == 0 && SIPLIB_ERR_UNSUPPORTED == 101 && SIPLIB_ERR_ARGUMENT == 102, "");
static_assert(SIPLIB_ERR_STATE == 103 && SIPLIB_ERR_NOT_FOUND == 104 && SIPLIB_ERR_TRUNCATED == 105, "");
static_assert(SIPLIB_ERR_SYNTAX == 106 && SIPLIB_ERR_TRANSPORT == 107 && SIPLIB_ERR_MEMORY == 108, "");
static_assert(SIPLIB_METHOD_SIZE == 256 && SIPLIB_HOST_SIZE == 51, "");

// ---- the next hop ----

static_assert(same<ImsServerAddress, SIPLIB_SipImsServerAddress>, "");
static_assert(same<ServerAddressRecord, SIPLIB_SipImsServerAddress>, "");
static_assert(same<decltype(ImsServerAddress::port), std::int32_t>, "");
static_assert(same<decltype(ImsServerAddress::flag), unsigned char>, "");
static_assert(same<decltype(ImsServerAddress::transport), std::string>, "");
static_assert(sizeof(ImsServerAddress::host) == 51, "");

TEST(TheNextHopRecord, StartsEmpty)
{
    const ImsServerAddress hop;
    EXPECT_EQ(hop.port, 0);
    EXPECT_EQ(hop.flag, 0);
    EXPECT_EQ(std::string(hop.host, sizeof hop.host), std::string(51, '\0'));
    EXPECT_EQ(hop.transport, "");
}

TEST(TheNextHopRecord, HasItsFieldsAtTheirPlaces)
{
    const ImsServerAddress hop;
    EXPECT_EQ(place_of(&hop.port, &hop), 0u);
    EXPECT_EQ(place_of(&hop.host, &hop), 4u);
    EXPECT_EQ(place_of(&hop.flag, &hop), 55u);
    EXPECT_EQ(place_of(&hop.transport, &hop), 56u);
}

// ---- the classes ----

static_assert(std::is_base_of<SIPLIB_SIPObject, SIPLIB_SIPConnection>::value, "");
static_assert(std::is_base_of<SIPLIB_SIPConnection, SIPLIB_SIPClientConnection>::value, "");
static_assert(std::is_base_of<SIPLIB_SIPConnection, SIPLIB_SIPServerConnection>::value, "");
static_assert(std::is_base_of<SIPLIB_SIPObject, SIPLIB_SIPDialog>::value, "");
static_assert(std::is_base_of<SIPLIB_SIPObject, SIPLIB_SIPNotifier>::value, "");
static_assert(!std::is_copy_constructible<SIPLIB_SIPNotifier>::value, "");
static_assert(!std::is_copy_assignable<SIPLIB_SIPNotifier>::value, "");
static_assert(!std::is_default_constructible<SIPLIB_SIPObject>::value, "only as a base");
static_assert(std::has_virtual_destructor<SIPLIB_SIPObject>::value, "");
static_assert(std::has_virtual_destructor<SIPLIB_SIPAddress>::value, "");
static_assert(std::is_abstract<SIPLIB_SIPAddress>::value, "");
static_assert(std::is_abstract<SIPLIB_SIPClientConnectionListener>::value, "");
static_assert(std::is_abstract<SIPLIB_SIPServerConnectionListener>::value, "");
static_assert(std::is_abstract<SIPLIB_SIPDialogListener>::value, "");

TEST(TheSipLibrary, OffersEveryOperationOfAConnection)
{
    using C = SIPLIB_SIPConnection;
    offers<int (SIPLIB_SIPObject::*)()>(&SIPLIB_SIPObject::send);
    offers<int (SIPLIB_SIPObject::*)()>(&SIPLIB_SIPObject::receive);
    offers<int (SIPLIB_SIPObject::*)()>(&SIPLIB_SIPObject::close);
    offers<int (C::*)(const char*, char*, int&)>(&C::getHeader);
    offers<int (C::*)(const char*, const char*)>(&C::setHeader);
    offers<int (C::*)(const char*, const char*)>(&C::addHeader);
    offers<int (C::*)(const char*)>(&C::removeHeader);
    offers<int (C::*)(char*, int&)>(&C::getBody);
    offers<int (C::*)(const char*, int)>(&C::setBody);
    offers<int (C::*)(char*, int)>(&C::getMethod);
    offers<int (C::*)(const char*)>(&C::setMethod);
    offers<int (C::*)(int&)>(&C::getResponseCode);
    offers<int (C::*)(const char*)>(&C::initRequest);
    offers<int (C::*)(int)>(&C::initResponse);
    offers<int (C::*)(const char*)>(&C::setRequestURI);
    offers<int (C::*)(const SIPLIB_SipImsServerAddress&)>(&C::setImsServerAddress);
    offers<SIPLIB_SIPDialog* (C::*)()>(&C::getDialog);
    offers<int (SIPLIB_SIPClientConnection::*)(SIPLIB_SIPClientConnectionListener*)>(
        &SIPLIB_SIPClientConnection::setListener);
}

TEST(TheSipLibrary, OffersDialogsNotifiersAndConnectors)
{
    using N = SIPLIB_SIPNotifier;
    using D = SIPLIB_SIPDialog;
    using O = SIPLIB_SIPConnector;
    offers<int (D::*)(SIPLIB_SIPDialogListener*)>(&D::setListener);
    offers<SIPLIB_SIPClientConnection* (D::*)(const char*)>(&D::newRequest);
    offers<int (D::*)(std::string&)>(&D::getCallId);
    offers<SIPLIB_SIPConnection* (N::*)()>(&N::acceptAndOpen);
    offers<SIPLIB_SIPConnection* (N::*)(SIPLIB_SIPDialog*)>(&N::acceptAndOpen);
    offers<int (N::*)(SIPLIB_SIPServerConnectionListener*)>(&N::setListener);
    offers<int (N::*)(int&)>(&N::getLocalPort);
    offers<SIPLIB_SIPObject* (O::*)(const char*, const char*)>(&O::open);
    offers<SIPLIB_SIPObject* (O::*)(const char*, const char*, int, const char*, int)>(&O::open);
    offers<SIPLIB_SIPObject* (O::*)(const char*, const char*, const char*)>(&O::open);
    offers<SIPLIB_SIPConnector* (*)(SIPLIB_SIPConnector*)>(&O::setOverride);
    offers<void (*)(SIPLIB_StackCfg*)>(&SIPLIB_SIPInitConfig);
    offers<int (*)(const SIPLIB_StackCfg*)>(&SIPLIB_SIPStart);
    offers<void (*)()>(&SIPLIB_SIPStop);
    offers<unsigned (*)()>(&SIPLIB_SIPCutBodies);
}

TEST(TheSipLibrary, OffersEveryOperationOfAnAddress)
{
    using A = SIPLIB_SIPAddress;
    static_assert(same<A::Factory, A* (*)(const std::string&, const std::string&)>, "");
    offers<A* (*)(std::string, std::string)>(&A::createSIPAddressObject);
    offers<A::Factory (*)(A::Factory)>(&A::setFactory);
    offers<int (A::*)(std::string&) const>(&A::getDisplayName);
    offers<int (A::*)(std::string&) const>(&A::getScheme);
    offers<int (A::*)(std::string&) const>(&A::toString);
    offers<int (A::*)(int&) const>(&A::getPort);
    offers<int (A::*)(const std::string&, std::string&) const>(&A::getParameter);
    offers<int (A::*)(const std::string&, const std::string&)>(&A::setParameter);
    offers<int (A::*)(std::string&) const>(&A::getHost);
    offers<int (A::*)(std::string&) const>(&A::getURI);
    offers<int (A::*)(std::string&) const>(&A::getUser);
}

// ---- the stack's configuration ----

TEST(TheStackConfiguration, HasItsFieldsInTheOrderInWhichStartUpWritesThem)
{
    const SIPLIB_StackCfg cfg = {};
    const void* const fields[] = {&cfg.maxCallDialogs,
                                  &cfg.maxRegClients,
                                  &cfg.maxSubscriptions,
                                  &cfg.maxTransactions,
                                  &cfg.maxTransmitters,
                                  &cfg.maxNumOfPages,
                                  &cfg.localAddress,
                                  &cfg.maxConnections,
                                  &cfg.tcpFlag,
                                  &cfg.tcpLocalAddress,
                                  &cfg.tcpOption,
                                  &cfg.T1,
                                  &cfg.T2,
                                  &cfg.T4,
                                  &cfg.logMask};
    for (std::size_t i = 1; i < sizeof fields / sizeof *fields; ++i)
        EXPECT_LT(place_of(fields[i - 1], &cfg), place_of(fields[i], &cfg)) << i;
    static_assert(std::is_trivial<SIPLIB_StackCfg>::value, "plain data");
    static_assert(sizeof cfg.localAddress == 64 && sizeof cfg.tcpLocalAddress == 64, "");
    static_assert(same<decltype(SIPLIB_StackCfg::tcpFlag), unsigned char>, "");
    static_assert(same<decltype(SIPLIB_StackCfg::logMask), unsigned char>, "");
}

TEST(TheStackConfiguration, LogsErrorsAndExceptionsByDefault)
{
    SIPLIB_StackCfg cfg = {};
    SIPLIB_SIPInitConfig(&cfg);
    EXPECT_EQ(cfg.logMask, 24);
    EXPECT_STREQ(cfg.localAddress, "127.0.0.1");
    SIPLIB_SIPInitConfig(nullptr);
}

} // namespace
