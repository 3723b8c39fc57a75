#include "siplib/header_check.h"

#include <cstring>
#include <sofia-sip/msg_header.h>
#include <sofia-sip/msg_mclass.h>
#include <sofia-sip/sip.h>
#include <sofia-sip/sip_header.h>
#include <sofia-sip/su_alloc.h>

namespace siplib {

bool header_parses(const char* name, const char* value)
{
    // Values are short: the parser's memory comes from the stack unless one is not.
    su_home_t home[SU_HOME_AUTO_SIZE(1024)];
    su_home_auto(home, sizeof home);
    const msg_href_t* known = msg_find_hclass(sip_default_mclass(), name, nullptr);
    msg_hclass_t* kind = known ? known->hr_class : nullptr;
    // Headers that the stack does not know are carried as they are.
    const bool unknown = !kind || kind == sip_unknown_class || kind == sip_error_class;
    const bool ok = unknown || msg_header_make(home, kind, value) != nullptr;
    su_home_deinit(home);
    return ok;
}

} // namespace siplib
