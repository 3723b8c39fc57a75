#include "xml/proxy_list.h"

#include "baseuafw/baseuafw.h"
#include "include/text.h"
#include "xml/fields.h"

#include <new>

namespace imsua::xml {

namespace {

// Splits a text that is not empty, which gives a piece at least; none is what tokenize leaves when memory
// runs out.
void split(const std::string& text, std::vector<std::string>& pieces, const std::string& delimiter)
{
    IMS_utility::tokenize(text, pieces, delimiter);
    if (pieces.empty() && !text.empty()) throw std::bad_alloc();
}

void append_all(const std::string& text, char separator, std::vector<IMS_DA_PROXY_INFO>& proxies)
{
    std::vector<std::string> entries;
    std::vector<std::string> items;
    split(text, entries, std::string(1, separator));
    for (const std::string& entry : entries) {
        split(entry, items, ":");
        if (items.size() != 3) {
            IMS_log::loginfo(4, "parse_proxy_list", "Wrong number of elements in the proxy_list");
            continue;
        }
        IMS_DA_PROXY_INFO proxy;
        proxy.port = IMS_atoi(items[2].c_str());
        proxy.address = std::move(items[0]);
        proxy.kind = std::move(items[1]);
        proxies.push_back(std::move(proxy));
    }
}

} // namespace

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

int append_proxies(const std::string& text, char separator, std::vector<IMS_DA_PROXY_INFO>& proxies)
{
    return guarded("parse_proxy_list", [&] {
        append_all(text, separator, proxies);
        return 0;
    });
}

} // namespace imsua::xml
