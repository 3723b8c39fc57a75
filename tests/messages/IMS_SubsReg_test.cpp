#include "messages/IMS_SubsReg.h"
