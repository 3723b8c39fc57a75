#include "xml/RegXmlData.h"

#include "baseuafw/baseuafw.h"
#include "include/text.h"
#include "xml/fields.h"

using imsua::IMS_atoi;
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

xmlNode* first_child(const xmlNode* node)
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
std::string value(const xmlAttr* found)
{
    const xmlNode* first = found->children;
    return first && first->content ? reinterpret_cast<const char*>(first->content) : "";
}

int expiry(const xmlNode* contact)
{
    const xmlAttr* found = attribute(contact, "expires");
    return found ? IMS_atoi(value(found).c_str()) : -1;
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
    if (!is_element(root, "reginfo")) return -1;
    const xmlAttr* whole = attribute(root, "state");
    if (!whole || !whole->children) {
        IMS_log::loginfo(4, "getValues", "should not happen\n");
        return -1;
    }
    reginfo_state = value(whole);
    for (xmlNode* child = first_child(root); child; child = child->next) {
        if (!is_element(child, "registration")) continue;
        std::string state;
        int expires = -1;
        bool found = false;
        get_reg_info(child, state, expires, found);
        if (!found) continue;
        const xmlAttr* aor = attribute(child, "aor");
        if (!aor) {
            IMS_log::loginfo(4, "getValues", "Malformed xml content\n");
            return -1;
        }
        aors.push_back(value(aor));
        states.push_back(state);
        expires_list.push_back(expires);
    }
    return 0;
}

void RegXmlData::get_reg_info(xmlNode* registration, std::string& state, int& expires, bool& found)
{
    found = false;
    xmlNode* contact = first_child(registration);
    for (std::string uri; contact; contact = contact->next) {
        if (!is_element(contact, "contact")) continue;
        get_uri(contact, uri);
        if (uri.find(match_uri) != std::string::npos) break;
    }
    if (!contact) return;
    const xmlAttr* its_state = attribute(contact, "state");
    if (!its_state) {
        IMS_log::loginfo(4, "get_reg_info", "contact does not have sate attib\n");
        return;
    }
    state = value(its_state);
    expires = expiry(contact);
    found = true;
}

void RegXmlData::get_uri(xmlNode* contact, std::string& uri)
{
    uri.clear();
    for (xmlNode* child = first_child(contact); child; child = child->next) {
        if (!is_element(child, "uri")) continue;
        xmlChar* text = xmlNodeGetContent(child);
        uri = text ? reinterpret_cast<const char*>(text) : "";
        xmlFree(text);
        return;
    }
}
