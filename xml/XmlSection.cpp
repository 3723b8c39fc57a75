#include "xml/XmlSection.h"

#include <libxml/parser.h>
#include <libxml/threads.h>
#include <libxml/xmlerror.h>
#include <libxml/xmlmemory.h>

#include <algorithm>

#include <pthread.h>

namespace {

// Constant-initialised and never destroyed: documents may be used while static objects come and go.
pthread_mutex_t turn = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;
int depth = 0;                                         // guarded by turn
XmlSection::End wanted_end = XmlSection::End::nothing; // guarded by turn

// Makes libxml2 elect this thread. Its clean-up forgets the election, but only if the parser was started.
void elect_this_thread()
{
    if (xmlIsMainThread()) return;
    xmlCleanupParser();
#if LIBXML_VERSION < 21100 // later ones keep no state that an unelected thread would lose
    if (!xmlIsMainThread()) xmlCleanupThreads();
#endif
    xmlInitParser();
}

void finish(XmlSection::End end)
{
    if (end == XmlSection::End::nothing) return;
    xmlCleanupParser();
#if LIBXML_VERSION < 21300 // deprecated, and empty, since
    if (end == XmlSection::End::encoded) xmlMemoryDump();
#endif
}

} // namespace

XmlSection::XmlSection(Kind kind)
{
    pthread_mutex_lock(&turn);
    const bool outermost = depth++ == 0;
    if (kind == Kind::work && outermost) elect_this_thread();
}

XmlSection::~XmlSection()
{
    if (--depth == 0) {
        finish(wanted_end);
        wanted_end = End::nothing;
    }
    pthread_mutex_unlock(&turn);
}

void XmlSection::end_with(End end)
{
    wanted_end = std::max(wanted_end, end);
}

void XmlSection::forget_errors()
{
    xmlResetLastError();
}

bool XmlSection::ran_out_of_memory()
{
    const xmlError* last = xmlGetLastError();
    return last && last->code == XML_ERR_NO_MEMORY;
}
