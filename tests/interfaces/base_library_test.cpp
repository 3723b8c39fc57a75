// The daemon base library as its users and their mocks see it.
#include "baseuafw/baseuafw.h"
#include "tests/interfaces/interface_checks.h"

#include <type_traits>

namespace {

template <typename A, typename B>
constexpr bool same = std::is_same<A, B>::value;

static_assert(!std::is_copy_constructible<IMS_mutex>::value && !std::is_copy_assignable<IMS_mutex>::value,
              "");
static_assert(!std::is_copy_constructible<IMS_socket>::value && !std::is_copy_assignable<IMS_socket>::value,
              "");
static_assert(!std::is_copy_constructible<IMS_daemon>::value && !std::is_copy_assignable<IMS_daemon>::value,
              "");
static_assert(!std::is_polymorphic<IMS_mutex>::value && !std::is_polymorphic<IMS_socket>::value, "");
static_assert(sizeof(IMS_mutex) == sizeof(pthread_mutex_t) + sizeof(pthread_cond_t), "");
static_assert(std::is_abstract<SIP_IMS_cfg_intf>::value &&
                  std::is_abstract<SIP_IMS_cfg_intf_IMS_socket>::value,
              "");
static_assert(same<decltype(IMS_daemon::__d_progname), const char*> &&
                  same<decltype(IMS_daemon::__d_help), bool>,
              "");
static_assert(same<IMS_log::SINK, void (*)(void*, int, const char*, const char*)>, "");
static_assert(std::is_aggregate<SIP_IMS_CFG_TAG_VALUE_T>::value, "");

TEST(TheBaseLibrary, OffersTheLogTheMutexAndTheUtilities)
{
    offers<void (*)(int, const char*, const char*, ...)>(&IMS_log::loginfo);
    offers<void (*)()>(&IMS_log::print_usage);
    offers<void (*)(int, char**)>(&IMS_log::set_options);
    offers<void (*)(IMS_log::SINK, void*)>(&IMS_log::set_sink);
    offers<void (*)(int)>(&IMS_log::set_level);
    offers<void (IMS_mutex::*)()>(&IMS_mutex::lock);
    offers<void (IMS_mutex::*)()>(&IMS_mutex::unlock);
    offers<void (IMS_mutex::*)()>(&IMS_mutex::wait);
    offers<void (IMS_mutex::*)()>(&IMS_mutex::signal);
    using Tokenize = void(const std::string&, std::vector<std::string>&, const std::string&);
    offers<Tokenize*>(&IMS_utility::tokenize);
    offers<std::string (*)(int)>(&IMS_utility::itostring);
    offers<void (*)(std::string&)>(&IMS_utility::skipspaces);
    const IMS_mutex mutex; // constructor and destructor
}

TEST(TheBaseLibrary, OffersSockets)
{
    using S = IMS_socket;
    offers<int (S::*)(const char*, const char*, const char*)>(&S::_socket);
    offers<int (S::*)(int, int)>(&S::_listen);
    offers<int (S::*)(int)>(&S::_accept);
    offers<int (S::*)(const char*, const char*, const char*)>(&S::_connect);
    offers<void (S::*)(int, const char*)>(&S::_set);
    offers<void (S::*)(int, const char*)>(&S::_unset);
    offers<int (S::*)(const char*, std::vector<int>&)>(&S::_select);
    offers<int (S::*)(int, void*, int)>(&S::_recvfrom);
    offers<int (S::*)(int, const void*, int)>(&S::_send);
    offers<int (S::*)(int)>(&S::_close);
    offers<void (S::*)(int)>(&S::_pin);
    offers<void (S::*)()>(&S::_wake);
    offers<std::string (*)(const char*)>(&S::path_of);
    const S socket;
}

TEST(TheBaseLibrary, OffersTheFrameworksSockets)
{
    using I = SIP_IMS_cfg_intf;
    using Pairs = std::vector<SIP_IMS_CFG_TAG_VALUE_T>;
    offers<int (I::*)(const std::string&, std::string&, const std::string&)>(&I::get_one);
    offers<int (I::*)(Pairs&, const std::string&)>(&I::get_many);
    offers<int (I::*)(const std::string&, const std::string&, const std::string&)>(&I::set_one);
    offers<int (I::*)()>(&I::wait_for_sync);
    offers<int (SIP_IMS_cfg_intf_IMS_socket::*)() const>(&SIP_IMS_cfg_intf_IMS_socket::get_descriptor);
    using Open = int(SIP_IMS_cfg_intf_IMS_socket**, I**, const char*, const char*, IMS_socket*);
    offers<Open*>(&IMS_fwk_util::open_framework_sockets);
    offers<int (*)(SIP_IMS_cfg_intf_IMS_socket**, I**)>(&IMS_fwk_util::close_framework_sockets);
}

struct Daemon : IMS_daemon {
    void print_usage() override { ++printed; }
    int printed = 0;
};

TEST(TheBaseLibrary, OffersDaemons)
{
    using D = IMS_daemon;
    offers<void (D::*)()>(&D::print_usage);
    offers<void (D::*)(int, char**)>(&D::set_options);
    offers<int (*)()>(&D::install_signal_handlers);
    offers<int (*)()>(&D::daemonize);
    offers<void (*)()>(&D::clean_up);
    offers<void (*)(int)>(&D::fatal_exit);
    Daemon daemon;
    table_entry<void(void*)>(&daemon, 0)(&daemon);
    EXPECT_EQ(daemon.printed, 1) << "the first virtual operation, before the destructor";
}

TEST(TheUtilities, KeepEmptyPiecesAndTrimBothEnds)
{
    std::vector<std::string> pieces = {"old"};
    IMS_utility::tokenize(";a;;b ", pieces, ";");
    EXPECT_EQ(pieces, (std::vector<std::string>{"", "a", "", "b "}));
    IMS_utility::tokenize("", pieces, ";");
    EXPECT_TRUE(pieces.empty());
    std::string text = "\r\n\t a b \t\r\n";
    IMS_utility::skipspaces(text);
    EXPECT_EQ(text, "a b");
    EXPECT_EQ(IMS_utility::itostring(-2147483647 - 1), "-2147483648");
}

} // namespace
