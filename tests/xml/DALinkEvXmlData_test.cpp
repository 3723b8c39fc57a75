#include "xml/DALinkEvXmlData.h"
