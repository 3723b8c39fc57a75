#include "xml/XmlSection.h"
