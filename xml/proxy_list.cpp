#include "xml/proxy_list.h"

#include "baseuafw/baseuafw.h"
#include "include/text.h"

namespace imsua::xml {

std::string proxies_to_text(const std::vector<IMS_DA_PROXY_INFO>& proxies, char separator)
{
    std::string text;
    for (const IMS_DA_PROXY_INFO& proxy : proxies) {
        if (!text.empty()) text += separator;
        text.append(proxy.address).append(":").append(proxy.kind).append(":");
        text += IMS_utility::itostring(proxy.port);
    }
    return text;
}

void append_proxies(const std::string& text, char separator, std::vector<IMS_DA_PROXY_INFO>& proxies)
{
    std::vector<std::string> entries;
    std::vector<std::string> items;
    IMS_utility::tokenize(text, entries, std::string(1, separator));
    for (const std::string& entry : entries) {
        IMS_utility::tokenize(entry, items, ":");
        if (items.size() != 3) {
            IMS_log::loginfo(4, "parse_proxy_list", "Wrong number of elements in the proxy_list");
            continue;
        }
        IMS_DA_PROXY_INFO proxy;
        proxy.address = items[0];
        proxy.kind = items[1];
        proxy.port = IMS_atoi(items[2].c_str());
        proxies.push_back(std::move(proxy));
    }
}

} // namespace imsua::xml
