#include "messages/IMS_NotifyDALinkEv.h"
