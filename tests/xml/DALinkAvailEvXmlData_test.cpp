#include "xml/DALinkAvailEvXmlData.h"
