#include "messages/IMS_Notify.h"
