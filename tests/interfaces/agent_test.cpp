// The agent and its parts, as a daemon that derives from it sees them.
#include "core/IMS_Tapi_ifc.h"
#include "core/IMS_UA_SipClientConnListener.h"
#include "core/IMS_UA_SipDialogListener.h"
#include "core/IMS_UA_SipServerConnListener.h"
#include "core/IMS_User_Agent.h"
#include "tests/interfaces/interface_checks.h"

#include <pthread.h>
#include <type_traits>
#include <typeinfo>

namespace {

using Agent = IMS_User_Agent;
using Text = std::string;

template <typename A, typename B>
constexpr bool same = std::is_same<A, B>::value;

// ---- the class-wide members ----

static_assert(same<decltype(Agent::__ua_tapi_listenfd), int> && same<decltype(Agent::__ua_tapi_syncfd), int>,
              "");
static_assert(same<decltype(Agent::__ua_tapi_asyncfd), int>, "");
static_assert(same<decltype(Agent::__ua_arg_proxy), char*> && same<decltype(Agent::__ua_arg_tacsock), char*>,
              "");
static_assert(same<decltype(Agent::__ua_arg_fwksyncport), char*>, "");
static_assert(same<decltype(Agent::__ua_arg_fwkasyncport), char*>, "");
static_assert(same<decltype(Agent::__ua_fwk_connector), SIP_IMS_cfg_intf_IMS_socket*>, "");
static_assert(same<decltype(Agent::__ua_fwk_intf), SIP_IMS_cfg_intf*>, "");
static_assert(same<decltype(Agent::__ua_sock), IMS_socket&> && same<decltype(Agent::__ua_myuri), Text&>, "");
static_assert(same<decltype(Agent::__ua_proxy), Text&>, "");
static_assert(same<decltype(Agent::__ua_connector), SIPLIB_SIPConnector&>, "");

TEST(TheAgentsClassWideMembers, AreExportedAndStartWithTheirValues)
{
    EXPECT_EQ(Agent::__ua_tapi_listenfd, -1);
    EXPECT_EQ(Agent::__ua_tapi_syncfd, -1);
    EXPECT_EQ(Agent::__ua_tapi_asyncfd, -1);
    EXPECT_STREQ(Agent::__ua_arg_proxy, "");
    EXPECT_STREQ(Agent::__ua_arg_tacsock, "");
    EXPECT_STREQ(Agent::__ua_arg_fwksyncport, "0");
    EXPECT_STREQ(Agent::__ua_arg_fwkasyncport, "0");
    EXPECT_EQ(Agent::__ua_fwk_connector, nullptr);
    EXPECT_EQ(Agent::__ua_fwk_intf, nullptr);
    EXPECT_EQ(Agent::__ua_proxy, "");
    Agent::__ua_arg_proxy[0] = '\0'; // writable, as a daemon that keeps a char* may expect
    Agent::__ua_sock._wake();
    EXPECT_EQ(typeid(Agent::__ua_connector), typeid(SIPLIB_SIPConnector));
}

// ---- operations ----

TEST(TheAgent, OffersStartUpAndConfiguration)
{
    offers<void (Agent::*)(int, char**)>(&Agent::set_options);
    offers<void (Agent::*)()>(&Agent::print_usage);
    offers<int (*)(const char*, Text&, const Text&)>(&Agent::get_xml_parameter);
    offers<int (*)(const Text&, Text&, const Text&)>(&Agent::get_xml_parameter);
    offers<int (*)(std::vector<SIP_IMS_CFG_TAG_VALUE_T>&, const Text&)>(&Agent::get_xml_parameters);
    offers<int (*)(const char*, const Text&, const Text&)>(&Agent::set_xml_parameter);
    offers<int (*)(const Text&, const Text&, const Text&)>(&Agent::set_xml_parameter);
    offers<void (*)(const char*, int&, const Text&)>(&Agent::fill_int32);
    offers<void (*)(const char*, unsigned char&)>(&Agent::fill_loglevel);
    offers<void (*)(SIPLIB_StackCfg&, const char*)>(&Agent::init_sipstack_info);
    offers<int (*)()>(&Agent::open_framework_sockets);
    offers<int (*)()>(&Agent::close_framework_sockets);
    offers<void (*)()>(&Agent::wait_for_framework_init);
    offers<void (Agent::*)(IMS_Tapi_ifc*)>(&Agent::install_tapi_ifc);
}

TEST(TheAgent, OffersTheQueue)
{
    offers<void (Agent::*)()>(&Agent::handle_message);
    offers<void (Agent::*)(MSG_TYPE, void*)>(&Agent::fill_queue_and_send_signal);
    offers<void (Agent::*)(SIPLIB_SIPConnection*)>(&Agent::handle_notify_response);
    offers<void (Agent::*)(SIPLIB_SIPConnection*)>(&Agent::handle_notify_request);
    offers<unsigned short (Agent::*)(unsigned int, void*)>(&Agent::handle_event);
    offers<unsigned int (Agent::*)(void*)>(&Agent::get_event_id_from_message);
}

TEST(TheAgent, OffersTheExternalInterfaceAndTelephony)
{
    offers<int (Agent::*)()>(&Agent::create_all_external_descriptors);
    offers<int (Agent::*)()>(&Agent::create_external_interface_thread);
    offers<void* (*)(void*)>(&Agent::wrap_ext_thread);
    offers<void (Agent::*)()>(&Agent::wait_for_ext_message);
    offers<void (Agent::*)(int)>(&Agent::accept_incoming_connection);
    offers<void (Agent::*)(int&, unsigned char*, int&)>(&Agent::handle_fwk_message);
    offers<void (*)(const char*, std::vector<Text>&)>(&Agent::parse_prov_msg);
    offers<void (Agent::*)(unsigned short, unsigned int, unsigned char*)>(&Agent::send_tapi_async_message);
    offers<void (Agent::*)(TAC_MSG_S*, void*, unsigned short)>(&Agent::send_tapi_sync_resp_message);
    offers<void (Agent::*)(TAC_MSG_S*)>(&Agent::send_tapi_socket_init_resp);
}

TEST(TheAgent, OffersItsAddresses)
{
    offers<void (Agent::*)(int)>(&Agent::fill_myuri);
    offers<void (Agent::*)()>(&Agent::fill_proxy);
    offers<void (Agent::*)(SIPLIB_SipImsServerAddress&)>(&Agent::fill_immediate_hop);
    offers<void (Agent::*)()>(&Agent::fill_event_owners);
    offers<SIPLIB_SIPNotifier* (Agent::*)(int)>(&Agent::open_local_notifier);
    using Connector = SIPLIB_SIPConnector;
    offers<SIPLIB_SIPObject* (*)(Connector&, const char*, const char*)>(&Agent::conn_open);
    offers<SIPLIB_SIPObject* (*)(Connector&, const char*, const char*, const char*)>(&Agent::conn_open);
    offers<SIPLIB_SIPObject* (*)(Connector&, const char*, const char*, int, const char*, int)>(
        &Agent::conn_open);
    offers<int (*)(int, ...)>(&Agent::create_cap_file);
    offers<int (*)(const std::vector<std::pair<Text, Text>>&)>(&Agent::write_cap_file);
}

// Texts as callers hold them: literals, null, char* and strings each find their overload.
TEST(TheAgent, TakesPathsInEveryForm)
{
    char path[] = "/a";
    const Text text = "/a";
    Text value = "unchanged";
    EXPECT_EQ(Agent::get_xml_parameter("/a", value, "config"), 0);
    EXPECT_EQ(Agent::get_xml_parameter(path, value, "config"), 0);
    EXPECT_EQ(Agent::get_xml_parameter(text, value, "config"), 0);
    EXPECT_EQ(Agent::get_xml_parameter(nullptr, value, text), 0);
    EXPECT_EQ(Agent::set_xml_parameter("/a", "1", "config"), 0);
    EXPECT_EQ(Agent::set_xml_parameter(nullptr, value, "config"), 0);
    EXPECT_EQ(Agent::set_xml_parameter(text, text, text), 0);
    EXPECT_EQ(value, "unchanged");
}

// ---- the telephony interface ----

static_assert(std::is_polymorphic<IMS_Tapi_ifc>::value && std::has_virtual_destructor<IMS_Tapi_ifc>::value,
              "");
static_assert(!std::is_copy_constructible<IMS_Tapi_ifc>::value, "");
static_assert(!std::is_convertible<IMS_User_Agent*, IMS_Tapi_ifc*>::value, "its constructor is explicit");

class DerivedIfc : public IMS_Tapi_ifc {
public:
    using IMS_Tapi_ifc::IMS_Tapi_ifc;
    int create_listener() override { return 3; }
    static_assert(same<decltype(tapi_map_ptr), const TAPI_EVENT_ACTION_TABLE_T*>, "");
};

TEST(TheTelephonyInterface, OffersItsOperations)
{
    using Ifc = IMS_Tapi_ifc;
    offers<int (Ifc::*)()>(&Ifc::create_listener);
    offers<void (Ifc::*)(const TAPI_EVENT_ACTION_TABLE_T*)>(&Ifc::initialize_event_tbl);
    offers<void (Ifc::*)(unsigned char*, int)>(&Ifc::handle_tapi_message);
    offers<void* (Ifc::*)(TAC_MSG_S*)>(&Ifc::handle_tapi_event);
}

TEST(TheTelephonyInterface, IsDerivedFromByADaemon)
{
    DerivedIfc derived(nullptr);
    IMS_Tapi_ifc& base = derived;
    EXPECT_EQ(base.create_listener(), 3);
    EXPECT_EQ(base.IMS_Tapi_ifc::create_listener(), 0);
    unsigned char byte = 0;
    base.handle_tapi_message(&byte, 1);
}

// ---- deriving ----

class Derived : public IMS_User_Agent {
public:
    void print_usage() override { called += "usage "; }
    void handle_notify_tcp_request(SIPLIB_SIPConnection*) override { called += "request "; }
    void handle_notify_tcp_response(SIPLIB_SIPConnection*) override { called += "response "; }
    void handle_notify_tcp_incoming_conn(SIPLIB_SIPConnection*) override { called += "incoming "; }
    void handle_notify_tcp_conn_closed(SIPLIB_SIPConnection*) override { called += "closed "; }
    void handle_notify_udp_message(SIPLIB_SIPConnection*) override { called += "udp "; }
    SIPLIB_SIPNotifier* open_local_notifier(int) override
    {
        called += "open ";
        return nullptr;
    }
    unsigned short handle_event(unsigned int event_id, void* data) override
    {
        called += "event ";
        return static_cast<unsigned short>(IMS_User_Agent::handle_event(event_id, data) + 65535);
    }
    unsigned int get_event_id_from_message(void* element) override
    {
        called += "id ";
        return IMS_User_Agent::get_event_id_from_message(element) + 17;
    }
    using IMS_User_Agent::process_one_message;
    Text called;

    bool queue_stands_before_mutex() const
    {
        static_assert(same<decltype(queue_), IMS_queue_manager>, "");
        static_assert(same<decltype(mutex_), IMS_mutex>, "");
        static_assert(same<decltype(ext_thread_), IMS_thread_utility*>, "");
        static_assert(same<decltype(tapi_ifc_), IMS_Tapi_ifc*>, "");
        static_assert(same<decltype(server_listener_), IMS_UA_SipServerConnListener*>, "");
        return static_cast<const void*>(&queue_) < static_cast<const void*>(&mutex_);
    }
};

static_assert(std::is_base_of<IMS_daemon, IMS_User_Agent>::value, "");
static_assert(!std::is_copy_constructible<IMS_User_Agent>::value, "");
static_assert(std::has_virtual_destructor<IMS_User_Agent>::value, "");

TEST(ADerivedAgent, IsCalledThroughTheTableInItsOrder)
{
    Derived agent;
    EXPECT_TRUE(agent.queue_stands_before_mutex());
    table_entry<void(void*)>(&agent, 0)(&agent); // 1 and 2: the destructor
    for (std::size_t slot = 3; slot <= 7; ++slot)
        table_entry<void(void*, void*)>(&agent, slot)(&agent, nullptr);
    table_entry<void*(void*, int)>(&agent, 8)(&agent, 5070);
    table_entry<unsigned short(void*, unsigned int, void*)>(&agent, 9)(&agent, 1, nullptr);
    table_entry<unsigned int(void*, void*)>(&agent, 10)(&agent, nullptr);
    EXPECT_EQ(agent.called, "usage request response incoming closed udp open event id ");
}

TEST(ADerivedAgent, RunsItsLoopOneTurnAtATime)
{
    Derived agent;
    int kind_of_its_own = 0;
    agent.fill_queue_and_send_signal(5, &kind_of_its_own);
    agent.process_one_message();
    EXPECT_EQ(agent.called, "id event ");
}

// ---- queue, thread, listeners ----

static_assert(!std::is_copy_constructible<IMS_queue_manager>::value, "");
static_assert(!std::is_copy_assignable<IMS_queue_manager>::value, "");
static_assert(sizeof(IMS_queue_manager) == sizeof(void*), "one member");

TEST(TheQueue, IsUsableOutsideAnAgent)
{
    offers<int (IMS_queue_manager::*)(_Q_ELEMENT_T*)>(&IMS_queue_manager::enqueue);
    offers<int (IMS_queue_manager::*)(_Q_ELEMENT_T**)>(&IMS_queue_manager::dequeue);
    offers<bool (IMS_queue_manager::*)() const>(&IMS_queue_manager::isEmpty);
    IMS_queue_manager queue;
    _Q_ELEMENT_T element = {MSG_TYPE_FWK, nullptr};
    _Q_ELEMENT_T* taken = nullptr;
    EXPECT_EQ(queue.enqueue(&element), QUEUE_OK);
    EXPECT_EQ(queue.dequeue(&taken), QUEUE_OK);
    EXPECT_EQ(taken, &element);
}

static_assert(!std::is_convertible<THREAD_TYPE, IMS_thread_utility>::value, "explicit");

TEST(TheThread, IsUsableOutsideAnAgent)
{
    using T = IMS_thread_utility;
    offers<void (T::*)(THREAD_TYPE)>(&T::init_attributes);
    offers<int (T::*)(void* (*)(void*), void*)>(&T::create_thread);
    offers<void (T::*)()>(&T::cancel_thread);
    offers<void (T::*)()>(&T::testCancel);
    const T plain;
    T detached(0);
    int ran = 0;
    const auto routine = [](void* flag) -> void* {
        *static_cast<int*>(flag) = 1;
        return nullptr;
    };
    ASSERT_EQ(detached.create_thread(routine, &ran), 0);
    detached.wait_until_ended();
    EXPECT_EQ(ran, 1);
}

static_assert(!std::is_convertible<Agent*, IMS_UA_SipClientConnListener>::value, "explicit");
static_assert(!std::is_convertible<Agent*, IMS_UA_SipServerConnListener>::value, "explicit");
static_assert(!std::is_convertible<Agent*, IMS_UA_SipDialogListener>::value, "explicit");

TEST(TheListeners, AreCalledThroughTheirBases)
{
    Derived agent;
    IMS_UA_SipClientConnListener client(&agent);
    IMS_UA_SipServerConnListener server(&agent);
    IMS_UA_SipDialogListener dialog(&agent);
    struct : SIPLIB_SIPClientConnection {
        int receive() override { return SIPLIB_OK; }
    } response;
    struct : SIPLIB_SIPServerConnection {
    } request;
    struct : SIPLIB_SIPNotifier {
        SIPLIB_SIPConnection* acceptAndOpen() override { return accepted; }
        SIPLIB_SIPConnection* acceptAndOpen(SIPLIB_SIPDialog*) override { return accepted; }
        SIPLIB_SIPConnection* accepted = nullptr;
    } notifier;
    notifier.accepted = &request;
    static_cast<SIPLIB_SIPClientConnectionListener&>(client).notifyResponse(&response);
    static_cast<SIPLIB_SIPServerConnectionListener&>(server).notifyRequest(&notifier);
    static_cast<SIPLIB_SIPDialogListener&>(dialog).notifyRequest(&notifier, nullptr);
    for (int i = 0; i < 3; ++i)
        agent.process_one_message();
    EXPECT_EQ(agent.called, "id event id event id event ");
}

} // namespace
