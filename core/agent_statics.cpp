// The class-wide members. All of them are constant-initialised: the scalars by their values, the references
// by the address of storage that the constructor function below fills before any other static initialiser of
// the program runs, and that nothing ever destroys.
#include "core/IMS_User_Agent.h"
#include "include/no_destroy.h"

namespace {

char empty_text[] = "";
char zero_text[] = "0";

imsua::NoDestroy<IMS_socket> sock;
imsua::NoDestroy<std::string> myuri;
imsua::NoDestroy<std::string> proxy;
imsua::NoDestroy<SIPLIB_SIPConnector> connector;

__attribute__((constructor(101))) void construct_statics()
{
    sock.construct();
    myuri.construct();
    proxy.construct();
    connector.construct();
}

} // namespace

int IMS_User_Agent::__ua_tapi_listenfd = -1;
int IMS_User_Agent::__ua_tapi_syncfd = -1;
int IMS_User_Agent::__ua_tapi_asyncfd = -1;
char* IMS_User_Agent::__ua_arg_proxy = empty_text;
char* IMS_User_Agent::__ua_arg_tacsock = empty_text;
char* IMS_User_Agent::__ua_arg_fwksyncport = zero_text;
char* IMS_User_Agent::__ua_arg_fwkasyncport = zero_text;
SIP_IMS_cfg_intf_IMS_socket* IMS_User_Agent::__ua_fwk_connector = nullptr;
SIP_IMS_cfg_intf* IMS_User_Agent::__ua_fwk_intf = nullptr;
IMS_socket& IMS_User_Agent::__ua_sock = sock.value;
std::string& IMS_User_Agent::__ua_myuri = myuri.value;
std::string& IMS_User_Agent::__ua_proxy = proxy.value;
SIPLIB_SIPConnector& IMS_User_Agent::__ua_connector = connector.value;
