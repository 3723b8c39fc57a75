#include "messages/message_body.h"
