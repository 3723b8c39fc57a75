#include "messages/IMS_Subscribe.h"
