#include "messages/IMS_MessageMsg.h"
