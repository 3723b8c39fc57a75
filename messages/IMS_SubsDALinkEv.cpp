#include "messages/IMS_SubsDALinkEv.h"

IMS_SubsDALinkEv::IMS_SubsDALinkEv(SIPLIB_SIPClientConnection* conn, const char* from, const char* to,
                                   const char* contact)
    : IMS_Subscribe(conn, from, to, contact, "kiv-link-event", 0, nullptr, -1)
{
}

IMS_SubsDALinkEv::IMS_SubsDALinkEv(SIPLIB_SIPClientConnection* conn, std::string from, std::string to,
                                   std::string contact)
    : IMS_SubsDALinkEv(conn, from.c_str(), to.c_str(), contact.c_str())
{
}

IMS_SubsDALinkEv::~IMS_SubsDALinkEv() = default;
