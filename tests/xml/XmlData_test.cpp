#include "xml/XmlData.h"
