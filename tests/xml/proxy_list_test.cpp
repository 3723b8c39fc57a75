#include "xml/proxy_list.h"
