// The words of a line and the values in them: numbers, times, hexadecimal bytes, quoted text.
//
// Thread   any; nothing is shared.
// Errors   false, and `why` says what is wrong; outputs are then of no meaning.
#ifndef IMSTAC_WORDS_H_INCLUDED
#define IMSTAC_WORDS_H_INCLUDED

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace imstac {

// The words of a line: separated by blanks and tabs; "..." may stand in a word and keeps blanks and '#'; a
// '#' at the beginning of a word starts a comment. Inside quotes \" \\ \n \r \t and \xHH are one character
// each.
bool split_words(const std::string& line, std::vector<std::string>& words, std::string& why);

// Decimal, or hexadecimal after "0x"; digits only, `max` at most.
bool parse_number(const std::string& text, std::uint64_t max, std::uint64_t& value);

// A number, which may have a point, and its unit "us", "ms" or "s": "250ms", "1.5s"; an hour at most.
bool parse_time(const std::string& text, std::chrono::steady_clock::duration& time);

// Pairs of hexadecimal digits, blanks between pairs allowed.
bool parse_hex(const std::string& text, std::string& bytes);

std::string hex_of(const std::string& bytes);                    // "00ff"
std::string id_text(std::uint16_t id);                           // "0x8101"
std::string time_text(std::chrono::steady_clock::duration time); // "1.5 s"

} // namespace imstac

#endif
