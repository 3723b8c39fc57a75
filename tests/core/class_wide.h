// Puts the agent's class-wide members back at the end of a test.
#ifndef TESTS_CORE_CLASS_WIDE_H_INCLUDED
#define TESTS_CORE_CLASS_WIDE_H_INCLUDED

#include "core/IMS_User_Agent.h"

class ClassWide {
public:
    ClassWide() = default;
    ~ClassWide()
    {
        IMS_User_Agent::__ua_arg_proxy = proxy_arg_;
        IMS_User_Agent::__ua_arg_tacsock = tacsock_;
        IMS_User_Agent::__ua_arg_fwksyncport = syncport_;
        IMS_User_Agent::__ua_arg_fwkasyncport = asyncport_;
        IMS_User_Agent::__ua_fwk_intf = intf_;
        IMS_User_Agent::__ua_fwk_connector = connector_;
        IMS_User_Agent::__ua_myuri = myuri_;
        IMS_User_Agent::__ua_proxy = proxy_;
        IMS_User_Agent::__ua_tapi_listenfd = listenfd_;
        IMS_User_Agent::__ua_tapi_syncfd = syncfd_;
        IMS_User_Agent::__ua_tapi_asyncfd = asyncfd_;
        IMS_daemon::__d_progname = progname_;
        IMS_daemon::__d_help = help_;
    }
    ClassWide(const ClassWide&) = delete;
    ClassWide& operator=(const ClassWide&) = delete;

private:
    char* proxy_arg_ = IMS_User_Agent::__ua_arg_proxy;
    char* tacsock_ = IMS_User_Agent::__ua_arg_tacsock;
    char* syncport_ = IMS_User_Agent::__ua_arg_fwksyncport;
    char* asyncport_ = IMS_User_Agent::__ua_arg_fwkasyncport;
    SIP_IMS_cfg_intf* intf_ = IMS_User_Agent::__ua_fwk_intf;
    SIP_IMS_cfg_intf_IMS_socket* connector_ = IMS_User_Agent::__ua_fwk_connector;
    std::string myuri_ = IMS_User_Agent::__ua_myuri;
    std::string proxy_ = IMS_User_Agent::__ua_proxy;
    int listenfd_ = IMS_User_Agent::__ua_tapi_listenfd;
    int syncfd_ = IMS_User_Agent::__ua_tapi_syncfd;
    int asyncfd_ = IMS_User_Agent::__ua_tapi_asyncfd;
    const char* progname_ = IMS_daemon::__d_progname;
    bool help_ = IMS_daemon::__d_help;
};

#endif
