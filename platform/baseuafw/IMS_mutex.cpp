#include "baseuafw/IMS_mutex.h"

IMS_mutex::IMS_mutex() : m_(PTHREAD_MUTEX_INITIALIZER), c_(PTHREAD_COND_INITIALIZER) {}

IMS_mutex::~IMS_mutex()
{
    ::pthread_cond_destroy(&c_);
    ::pthread_mutex_destroy(&m_);
}
