// The text form of a list of proxies: "address:kind:port", one after the other with a separator between.
// Documents differ only in the separator. Internal to xml/.
#ifndef PROXY_LIST_H_INCLUDED
#define PROXY_LIST_H_INCLUDED

#include "include/ims_types.h"

#include <string>
#include <vector>

namespace imsua::xml {

// The proxies in list order; no separator after the last, and "" for an empty list. Throws bad_alloc.
std::string proxies_to_text(const std::vector<IMS_DA_PROXY_INFO>& proxies, char separator);

// Appends the proxies of `text` to `proxies`. An entry that has not exactly three items (an address with
// colons has more) is skipped with a level-4 line under "parse_proxy_list"; a port without digits is 0.
// `text` may be a part of `proxies`. 0; -1 when memory runs out: the proxies before that are appended, and it
// is logged.
int append_proxies(const std::string& text, char separator, std::vector<IMS_DA_PROXY_INFO>& proxies);

} // namespace imsua::xml

#endif
