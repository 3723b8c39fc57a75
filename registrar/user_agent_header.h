// The value of the User-agent line: product, software version, MAC address. Internal to registrar/.
//
// Thread   as IMS_LocalRegistrar.
#ifndef IMSUA_USER_AGENT_HEADER_H_INCLUDED
#define IMSUA_USER_AGENT_HEADER_H_INCLUDED

#include <string>

namespace imsua {

// IMS_LocalRegistrar::form_user_agent_header with the version taken from the file at `version_path`. Logs
// under "form_user_agent_header" which version it used.
std::string user_agent_header(const char* version_path);

} // namespace imsua

#endif
