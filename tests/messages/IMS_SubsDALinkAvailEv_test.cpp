#include "messages/IMS_SubsDALinkAvailEv.h"
