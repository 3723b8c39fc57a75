#include "xml/fields.h"
