#include "messages/IMS_Message.h"
