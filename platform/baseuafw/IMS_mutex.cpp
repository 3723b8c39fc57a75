#include "baseuafw/IMS_mutex.h"

IMS_mutex::IMS_mutex() : m_(PTHREAD_MUTEX_INITIALIZER), c_(PTHREAD_COND_INITIALIZER) {}

IMS_mutex::~IMS_mutex()
{
    ::pthread_cond_destroy(&c_);
    ::pthread_mutex_destroy(&m_);
}

void IMS_mutex::lock()
{
    ::pthread_mutex_lock(&m_);
}

void IMS_mutex::unlock()
{
    ::pthread_mutex_unlock(&m_);
}

void IMS_mutex::wait()
{
    ::pthread_cond_wait(&c_, &m_);
}

void IMS_mutex::signal()
{
    ::pthread_cond_signal(&c_);
}
