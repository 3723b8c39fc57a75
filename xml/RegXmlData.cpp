#include "xml/RegXmlData.h"

#include "baseuafw/baseuafw.h"
#include "include/text.h"
#include "xml/fields.h"

#include <memory>
#include <utility>

using imsua::IMS_atoi;
using imsua::xml::guarded;
using imsua::xml::ParsedText;

namespace {

const xmlChar* chars(const char* text)
{
    return reinterpret_cast<const xmlChar*>(text);
}

// Instructions and entity references have names too, which the sender chooses.
bool is_element(const xmlNode* node, const char* name)
{
    return node && node->type == XML_ELEMENT_NODE && xmlStrEqual(node->name, chars(name));
}

const xmlNode* first_child(const xmlNode* node)
{
    return node && node->type == XML_ELEMENT_NODE ? node->children : nullptr;
}

// The attribute `name` of `element` in any namespace, or null. A default value that only a DTD declares comes
// back as the declaration, which is no attribute and must not be read as one.
const xmlAttr* attribute(const xmlNode* element, const char* name)
{
    const xmlAttr* found = xmlHasProp(element, chars(name));
    return found && found->type == XML_ATTRIBUTE_NODE ? found : nullptr;
}

// What the first child node of the attribute holds; of an entity reference that is the entity's text.
const char* value(const xmlAttr* found)
{
    const xmlNode* first = found->children;
    return first && first->content ? reinterpret_cast<const char*>(first->content) : "";
}

int expiry(const xmlNode* contact)
{
    const xmlAttr* found = attribute(contact, "expires");
    return found ? IMS_atoi(value(found)) : -1;
}

struct FreeText {
    void operator()(xmlChar* text) const { xmlFree(text); }
};

std::string uri_of(const xmlNode* contact)
{
    for (const xmlNode* child = first_child(contact); child; child = child->next) {
        if (!is_element(child, "uri")) continue;
        const std::unique_ptr<xmlChar, FreeText> text(xmlNodeGetContent(child));
        return text ? reinterpret_cast<const char*>(text.get()) : "";
    }
    return "";
}

const xmlNode* local_contact(const xmlNode* registration, const std::string& match_uri)
{
    for (const xmlNode* child = first_child(registration); child; child = child->next)
        if (is_element(child, "contact") && uri_of(child).find(match_uri) != std::string::npos) return child;
    return nullptr;
}

// Reads the local contact; false when there is none or it has no state.
bool read_registration(const xmlNode* registration, const std::string& match_uri, std::string& state,
                       int& expires)
{
    const xmlNode* contact = local_contact(registration, match_uri);
    if (!contact) return false;
    const xmlAttr* its_state = attribute(contact, "state");
    if (!its_state) {
        IMS_log::loginfo(4, "get_reg_info", "contact does not have sate attib\n");
        return false;
    }
    state = value(its_state);
    expires = expiry(contact);
    return true;
}

// Room for one more, so that adding it cannot fail.
template <typename T>
void make_room(std::vector<T>& list)
{
    if (list.size() == list.capacity()) list.reserve(2 * list.size() + 1);
}

} // namespace

RegXmlData::RegXmlData() = default;

RegXmlData::~RegXmlData() = default;

int RegXmlData::parseXml()
{
    ParsedText text("inside parseXml", buffer, buffer_length, ParsedText::STRICT, "\n");
    return text ? getValues(xmlDocGetRootElement(text.tree())) : -1;
}

int RegXmlData::encodeXml()
{
    return -1;
}

int RegXmlData::getValues(xmlNode* root)
{
    return guarded("getValues", [&] { return read_all(root); });
}

int RegXmlData::read_all(const xmlNode* root)
{
    if (!is_element(root, "reginfo")) return -1;
    const xmlAttr* whole = attribute(root, "state");
    if (!whole || !whole->children) {
        IMS_log::loginfo(4, "getValues", "should not happen\n");
        return -1;
    }
    reginfo_state = value(whole);
    for (const xmlNode* child = first_child(root); child; child = child->next) {
        if (!is_element(child, "registration")) continue;
        std::string state;
        int expires = -1;
        if (!read_registration(child, match_uri, state, expires)) continue;
        const xmlAttr* aor = attribute(child, "aor");
        if (!aor) {
            IMS_log::loginfo(4, "getValues", "Malformed xml content\n");
            return -1;
        }
        append(value(aor), std::move(state), expires);
    }
    return 0;
}

// All three or none: entry i of each is of one registration, also when memory runs out.
void RegXmlData::append(std::string aor, std::string state, int expires)
{
    make_room(aors);
    make_room(states);
    make_room(expires_list);
    aors.push_back(std::move(aor));
    states.push_back(std::move(state));
    expires_list.push_back(expires);
}

void RegXmlData::get_reg_info(xmlNode* registration, std::string& state, int& expires, bool& found)
{
    found = false;
    guarded("get_reg_info", [&] {
        found = read_registration(registration, match_uri, state, expires);
        return 0;
    });
}

void RegXmlData::get_uri(xmlNode* contact, std::string& uri)
{
    uri.clear();
    guarded("get_uri", [&] {
        uri = uri_of(contact);
        return 0;
    });
}
