#include "messages/IMS_SubsDALinkAvailEv.h"

IMS_SubsDALinkAvailEv::IMS_SubsDALinkAvailEv(SIPLIB_SIPClientConnection* conn, const char* from,
                                             const char* to, const char* contact, int profile)
    : IMS_Subscribe(conn, from, to, contact, "kiv-link-avail-event", 0, nullptr, profile)
{
}

IMS_SubsDALinkAvailEv::IMS_SubsDALinkAvailEv(SIPLIB_SIPClientConnection* conn, std::string from,
                                             std::string to, std::string contact, int profile)
    : IMS_SubsDALinkAvailEv(conn, from.c_str(), to.c_str(), contact.c_str(), profile)
{
}

IMS_SubsDALinkAvailEv::~IMS_SubsDALinkAvailEv() = default;
