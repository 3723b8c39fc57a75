#include "messages/IMS_SubsDALinkEv.h"
