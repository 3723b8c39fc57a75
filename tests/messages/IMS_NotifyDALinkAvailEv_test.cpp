#include "messages/IMS_NotifyDALinkAvailEv.h"
