// What a second source file of the program sees of the shared definitions.
#ifndef TESTS_INTERFACES_OTHER_UNIT_H_INCLUDED
#define TESTS_INTERFACES_OTHER_UNIT_H_INCLUDED

#include "include/sip_names.h"

struct NameTables {
    const SIP_NAME_CODE_T *methods, *headers, *transports, *qops;
};
NameTables name_tables_of_the_other_unit();

#endif
