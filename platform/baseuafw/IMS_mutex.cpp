#include "baseuafw/IMS_mutex.h"

// It is held for some instructions at a time: on several cores, looking at it for a moment is cheaper than
// sleeping.
#ifdef PTHREAD_ADAPTIVE_MUTEX_INITIALIZER_NP
#define UNLOCKED PTHREAD_ADAPTIVE_MUTEX_INITIALIZER_NP
#else
#define UNLOCKED PTHREAD_MUTEX_INITIALIZER
#endif

IMS_mutex::IMS_mutex() : m_(UNLOCKED), c_(PTHREAD_COND_INITIALIZER) {}

IMS_mutex::~IMS_mutex()
{
    ::pthread_cond_destroy(&c_);
    ::pthread_mutex_destroy(&m_);
}
