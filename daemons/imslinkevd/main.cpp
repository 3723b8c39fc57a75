// imslinkevd: tells subscribers about the device's network links (docs/daemons/imslinkevd.md).
#include "daemons/imslinkevd/link_event_agent.h"

namespace {

enum Status : int { ENDED = 0, FAILED = 1, WRONG_OPTION = 2 };

bool has_framework()
{
    return std::string(IMS_User_Agent::__ua_arg_fwksyncport) != "0";
}

// Without the framework daemon this one runs on its command line and the defaults.
void read_framework(Settings& settings)
{
    if (!has_framework()) {
        IMS_log::loginfo(5, "main", "no -fwksyncport: running without a configuration store");
        return;
    }
    if (IMS_User_Agent::open_framework_sockets() == 0) {
        IMS_log::loginfo(4, "main", "the framework daemon is away: running without a configuration store");
        return;
    }
    IMS_User_Agent::wait_for_framework_init();
    std::string why;
    const auto find = [](const std::string& path, std::string& value) {
        return IMS_User_Agent::get_xml_parameter(path, value, "config") != 0;
    };
    if (!read_configuration(find, settings, why))
        IMS_log::loginfo(4, "main", "configuration: %s", why.c_str());
}

// A NOTIFY ends after 64*T1 at the latest (RFC 3261 17.1.2.2); some seconds later it is given up even if the
// SIP library forgot it.
Milliseconds answer_patience(const SIPLIB_StackCfg& stack)
{
    return Milliseconds(64LL * (stack.T1 > 0 ? stack.T1 : 500) + 8000);
}

int serve(Link_event_agent& agent, int argc, char** argv)
{
    Settings settings;
    std::string why;
    read_framework(settings);
    if (!read_options(argc, argv, settings, why)) { // the command line has the last word
        IMS_log::loginfo(3, "main", "%s", why.c_str());
        return WRONG_OPTION;
    }
    Event_thread::take_signals();
    SIPLIB_StackCfg stack{};
    IMS_User_Agent::init_sipstack_info(stack, "/sipstackinit/linkev/");
    if (SIPLIB_SIPStart(&stack) != SIPLIB_OK) {
        IMS_log::loginfo(3, "main", "cannot start the SIP stack");
        return FAILED;
    }
    agent.fill_proxy();
    if (!agent.open(settings, answer_patience(stack))) return FAILED;
    agent.run();
    return ENDED;
}

} // namespace

int main(int argc, char** argv)
{
    int status = FAILED;
    {
        Link_event_agent agent;
        agent.set_options(argc, argv);
        agent.print_usage();
        Settings checked;
        std::string why;
        if (!read_options(argc, argv, checked, why)) {
            IMS_log::loginfo(3, "main", "%s", why.c_str());
            return WRONG_OPTION;
        }
        if (IMS_daemon::enter_service() != 0) return FAILED;
        status = serve(agent, argc, argv);
        IMS_User_Agent::close_framework_sockets();
    }
    SIPLIB_SIPStop();
    IMS_daemon::clean_up();
    return status;
}
