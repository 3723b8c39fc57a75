// Small text helpers that the agents and their documents share.
//
// Thread   any; nothing is shared.
// Locale   none: sets of characters are compared byte by byte.
#ifndef BASEUAFW_IMS_UTILITY_H_INCLUDED
#define BASEUAFW_IMS_UTILITY_H_INCLUDED

#include "baseuafw/baseuafw_api.h"

#include <string>
#include <vector>

// A name for the functions below; all are class-wide.
class BASEUAFW_API IMS_utility {
public:
    // Splits `text` at every character that stands in `delimiters` and replaces `tokens` by the pieces in
    // their order: N delimiters give N+1 pieces, empty ones are kept, nothing is trimmed. An empty text
    // gives no piece, empty `delimiters` give one. `text` may be an element of `tokens`. Out of memory:
    // `tokens` is empty and a level 3 line tells so.
    static void tokenize(const std::string& text, std::vector<std::string>& tokens,
                         const std::string& delimiters);

    // Decimal text of `value`, with a "-" in front of a negative one.
    static std::string itostring(int value);

    // Removes spaces, tabs, carriage returns and line feeds at both ends, in place. Blanks inside stay.
    static void skipspaces(std::string& text);
};

#endif
