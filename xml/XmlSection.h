// The stretch of code during which this thread works with libxml2. Internal to xml/.
//
// libxml2's clean-up is process-wide, and its start-up elects a "main" thread whose state alone the clean-up
// releases. So: sections of all threads take turns on one lock; the outermost section of a thread that was
// not elected starts the library afresh, which elects it and loses nothing; and the clean-up happens when
// the outermost section ends, so that nothing is pulled from under an enclosing one.
#ifndef XMLSECTION_H_INCLUDED
#define XMLSECTION_H_INCLUDED

class XmlSection {
public:
    enum class Kind {
        work,  // from the first libxml2 call of a constructor, parse or encode to its clean-up
        lookup // reads a tree that somebody else holds: takes its turn and changes nothing else
    };
    enum class End {
        nothing, // leave libxml2 as it is
        parsed,  // xmlCleanupParser
        encoded  // xmlCleanupParser, then xmlMemoryDump
    };

    // Recursive: a section inside a section of the same thread is part of it.
    explicit XmlSection(Kind kind);
    ~XmlSection();

    // How the outermost section is to end; the strongest demand counts.
    void end_with(End end);

    // Whether libxml2 ran out of memory since `forget_errors`. Most of its operations then go on without what
    // they could not get and report success, so a tree or a text must be asked about once it is made.
    static void forget_errors();
    static bool ran_out_of_memory();

    XmlSection(const XmlSection&) = delete;
    XmlSection& operator=(const XmlSection&) = delete;
};

#endif
