// The framework connector and the configuration interface of an agent.
#ifndef BASEUAFW_IMS_FWK_UTIL_H_INCLUDED
#define BASEUAFW_IMS_FWK_UTIL_H_INCLUDED

#include "baseuafw/baseuafw_api.h"

#include <string>
#include <vector>

class IMS_socket;

struct SIP_IMS_CFG_TAG_VALUE_T {
    std::string tag;
    std::string value;
};

class BASEUAFW_API SIP_IMS_cfg_intf { // abstract: a mock derives from it
public:
    virtual ~SIP_IMS_cfg_intf() = default;
    virtual int get_one(const std::string& xpath, std::string& value,
                        const std::string& document) = 0; // !=0 found
    virtual int get_many(std::vector<SIP_IMS_CFG_TAG_VALUE_T>& pairs, const std::string& document) = 0;
    virtual int set_one(const std::string& xpath, const std::string& value, const std::string& document) = 0;
    virtual int wait_for_sync() = 0; // blocks
};

class BASEUAFW_API SIP_IMS_cfg_intf_IMS_socket { // the framework socket connector
public:
    virtual ~SIP_IMS_cfg_intf_IMS_socket() = default;
    virtual int get_descriptor() const = 0; // asynchronous socket, or -1; any thread
};

class BASEUAFW_API IMS_fwk_util {
public: // 1 success, 0 failure (pointers then null)
    static int open_framework_sockets(SIP_IMS_cfg_intf_IMS_socket** connector, SIP_IMS_cfg_intf** intf,
                                      const char* sync_port, const char* async_port, IMS_socket* sock);
    static int close_framework_sockets(SIP_IMS_cfg_intf_IMS_socket** connector, SIP_IMS_cfg_intf** intf);
};

#endif
