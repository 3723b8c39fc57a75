// Registration state (RFC 3680): for each registration that has the local user agent's contact, its address
// of record, that contact's state and its expiry. Received, never sent. docs/documents/reginfo.md shows it.
//
// The tree is walked by the names of elements and attributes, whatever their namespace, so a document with
// the usual default namespace is read.
//
// Thread   as XmlData: one thread at a time.
// Memory   owns its fields.
#ifndef REGXMLDATA_H_INCLUDED
#define REGXMLDATA_H_INCLUDED

#include "xml/XmlData.h"

// The owner sets match_uri, parses, and reads the rest. Entry i of the three lists is of one registration.
class IMSUA_API RegXmlData : public XmlData {
public:
    std::vector<std::string> aors;   // in document order
    std::vector<std::string> states; // of the local contact: "active" or "terminated"
    std::vector<int> expires_list;   // its seconds left; -1 when the document does not say, 0 when no number
    std::string match_uri;           // what a contact's URI contains when it is the local one; "": the first
    std::string reginfo_state;       // of the whole document: "full" or "partial"

    // An empty document.
    RegXmlData();
    ~RegXmlData() override;

    // As XmlData; its log lines end in a line feed. The lists are appended to, never cleared.
    // -1 also for what getValues refuses.
    int parseXml() override;

    // Writes nothing and returns -1.
    int encodeXml() override;

    // Reads the tree below `root` (borrowed). 0, or -1: `root` is null or no "reginfo" (nothing is logged or
    // changed), has no state ("should not happen\n"), or a registration with the local contact has no aor
    // ("Malformed xml content\n"; what was read of earlier registrations stays).
    int getValues(xmlNode* root);

    // Looks for the local contact in `registration` (borrowed): the first whose URI contains match_uri, and
    // no other. Found: its state and expiry. Not found, or without a state ("contact does not have sate
    // attib\n"): `state` and `expires` are as before. A contact without expiry gives -1.
    void get_reg_info(xmlNode* registration, std::string& state, int& expires, bool& found);

    // The whole text of the first "uri" of `contact` (borrowed), untrimmed; "" when it has none.
    void get_uri(xmlNode* contact, std::string& uri);

private:
    int read_all(const xmlNode* root); // throws bad_alloc, as the next one
    void append(std::string aor, std::string state, int expires);
};

#endif
