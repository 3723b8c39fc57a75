#include "siplib/connector.h"

#include <atomic>

namespace {

std::atomic<SIPLIB_SIPConnector*> standing_in{nullptr};

// The connector to forward to, or null when `self` must do the work.
SIPLIB_SIPConnector* other_than(const SIPLIB_SIPConnector* self)
{
    SIPLIB_SIPConnector* mock = standing_in.load(std::memory_order_acquire);
    return mock == self ? nullptr : mock;
}

} // namespace

SIPLIB_SIPObject* SIPLIB_SIPConnector::open(const char* desturi, const char* srcuri)
{
    if (SIPLIB_SIPConnector* mock = other_than(this)) return mock->open(desturi, srcuri);
    return siplib::open_uri(desturi, srcuri);
}

SIPLIB_SIPObject* SIPLIB_SIPConnector::open(const char* type, const char* destip, int destport,
                                            const char* srcip, int srcport)
{
    if (SIPLIB_SIPConnector* mock = other_than(this))
        return mock->open(type, destip, destport, srcip, srcport);
    return siplib::open_address(type, destip, destport, srcip, srcport);
}

SIPLIB_SIPObject* SIPLIB_SIPConnector::open(const char* to, const char* from, const char* srcuri)
{
    if (SIPLIB_SIPConnector* mock = other_than(this)) return mock->open(to, from, srcuri);
    return siplib::open_to_from(to, from, srcuri);
}

SIPLIB_SIPConnector* SIPLIB_SIPConnector::setOverride(SIPLIB_SIPConnector* mock)
{
    return standing_in.exchange(mock, std::memory_order_acq_rel);
}
