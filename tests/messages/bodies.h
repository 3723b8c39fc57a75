// Bodies and expectations that the tests of the body-carrying messages share.
#ifndef TESTS_MESSAGES_BODIES_H_INCLUDED
#define TESTS_MESSAGES_BODIES_H_INCLUDED

#include "tests/support/log_records.h"
#include "xml/XmlData.h"

#include <string>
#include <vector>

// A document that records what a message does with it and answers as told.
class ScriptedDocument : public XmlData {
public:
    int encode_status = 0;
    int parse_status = 0;
    int encodes = 0;
    int parses = 0;
    std::string text = "<scripted/>";
    static inline int alive = 0;

    ScriptedDocument() { ++alive; }
    ~ScriptedDocument() override { --alive; }
    int encodeXml() override
    {
        ++encodes;
        if (encode_status != 0) return encode_status;
        buffer = text.data();
        buffer_length = static_cast<int>(text.size());
        return 0;
    }
    int parseXml() override
    {
        ++parses;
        return parse_status;
    }
};

// What a received constructor logs, apart from the addresses and the values.
inline std::vector<LogRecord> of_body_reading(const LogRecords& log)
{
    std::vector<LogRecord> found;
    for (const LogRecord& r : log.all())
        if (r.function == "get_body" || r.function == "parse" ||
            (r.function == "parseXml" && r.text.find("inside") != 0))
            found.push_back(r);
    return found;
}

inline const LogRecord NOT_A_DOCUMENT{4, "parseXml", "Could not create DOM"};
inline const LogRecord NOT_PARSED{4, "parse", "Error parsing XML"};
inline const LogRecord PARSED{5, "parse", "Successfully parsed XML"};

#endif
