// Registration state: the lists are what a second walk over the tree finds, for a few texts to match. Where
// the second walk meets an entity in a URI it gives up comparing.
#include "fuzz/plain_reader.h"
#include "fuzz/quiet.h"
#include "xml/RegXmlData.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

using fuzz::demand;

namespace {

std::string_view view(const xmlChar* text)
{
    return text ? reinterpret_cast<const char*>(text) : "";
}

// The value of the first attribute `name` that stands in the element, or null.
const xmlAttr* attribute(const xmlNode* element, std::string_view name)
{
    const xmlAttr* each = element->properties;
    while (each && view(each->name) != name)
        each = each->next;
    return each;
}

std::string first_part(const xmlAttr* found)
{
    return std::string(found->children ? view(found->children->content) : "");
}

const xmlNode* child_named(const xmlNode* parent, std::string_view name)
{
    const xmlNode* each = xmlFirstElementChild(const_cast<xmlNode*>(parent));
    while (each && view(each->name) != name)
        each = xmlNextElementSibling(const_cast<xmlNode*>(each));
    return each;
}

// What a second walk finds.
struct Walk {
    std::string match;
    bool comparable = true;
    int status = 0;
    std::string whole_state = "before";
    std::vector<std::string> aors, states;
    std::vector<int> expiries;

    void text_of(const xmlNode* node, std::string& out)
    {
        for (node = node->children; node; node = node->next) {
            if (node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE)
                out += view(node->content);
            if (node->type == XML_ELEMENT_NODE) text_of(node, out);
            comparable = comparable && node->type != XML_ENTITY_REF_NODE;
        }
    }
    bool is_local(const xmlNode* contact)
    {
        std::string uri;
        const xmlNode* element = child_named(contact, "uri");
        if (element) text_of(element, uri);
        return uri.find(match) != std::string::npos;
    }
    // False: the document ends here.
    bool take(const xmlNode* registration)
    {
        const xmlNode* contact = nullptr;
        for (xmlNode* each = xmlFirstElementChild(const_cast<xmlNode*>(registration)); each && !contact;
             each = xmlNextElementSibling(each))
            if (view(each->name) == "contact" && is_local(each)) contact = each;
        const xmlAttr* state = contact ? attribute(contact, "state") : nullptr;
        if (!state) return true;
        const xmlAttr* aor = attribute(registration, "aor");
        if (!aor) return false;
        const xmlAttr* expires = attribute(contact, "expires");
        aors.push_back(first_part(aor));
        states.push_back(first_part(state));
        expiries.push_back(expires ? fuzz::PlainReader::number(first_part(expires)) : -1);
        return true;
    }
    void read(const xmlNode* root)
    {
        status = -1;
        if (!root || view(root->name) != "reginfo") return;
        const xmlAttr* state = attribute(root, "state");
        if (!state || !state->children) return;
        whole_state = first_part(state);
        for (xmlNode* each = xmlFirstElementChild(const_cast<xmlNode*>(root)); each;
             each = xmlNextElementSibling(each))
            if (view(each->name) == "registration" && !take(each)) return;
        status = 0;
    }
};

void try_with(const std::string& text, const char* match)
{
    fuzz::be_quiet();
    std::string received = text;
    RegXmlData d;
    d.match_uri = match;
    d.reginfo_state = "before";
    d.buffer = received.data();
    d.buffer_length = static_cast<int>(received.size());
    const int status = d.parseXml();
    demand(d.aors.size() == d.states.size() && d.aors.size() == d.expires_list.size());
    fuzz::be_quiet();
    const fuzz::PlainReader plain(text, 0);
    Walk walk;
    walk.match = match;
    walk.read(plain.root());
    if (!walk.comparable) return;
    demand(status == walk.status && d.reginfo_state == walk.whole_state);
    demand(d.aors == walk.aors && d.states == walk.states && d.expires_list == walk.expiries);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size > 4096) return 0;
    const std::string text(reinterpret_cast<const char*>(data), size);
    for (const char* match : {"", "a", "192.0.2.7:5070"})
        try_with(text, match);
    return 0;
}
