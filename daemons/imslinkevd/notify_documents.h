// Turns a report into the document of its package.
//
// Thread   main. The documents are the library's: one thread at a time.
#ifndef IMSLINKEVD_NOTIFY_DOCUMENTS_H_INCLUDED
#define IMSLINKEVD_NOTIFY_DOCUMENTS_H_INCLUDED

#include "daemons/imslinkevd/link_report.h"
#include "xml/DALinkAvailEvXmlData.h"
#include "xml/DALinkEvXmlData.h"

struct Profile {
    int id = 0;
    std::string name;
};

// The profile form. Every text is at most 64 characters, so that a body stays far below the 1024 bytes that
// its readers take.
void fill_document(const Link_report& report, const Profile& profile, DALinkEvXmlData& document);
void fill_document(const Link_report& report, DALinkAvailEvXmlData& document);

// `text` as a document may hold it: '&' written as "&amp;" (the documents do not escape it), control
// characters and broken UTF-8 as '?' (the kernel allows them in names of links), cut at 64 characters.
std::string document_text(const std::string& text);

#endif
