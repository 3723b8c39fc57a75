// Reads one capability file: which value it gives for a field, if it qualifies.
//
// Thread   stateless; any thread.
// Memory   one line at a time, at most 1023 characters.
#ifndef IMSUA_CAPABILITY_READER_H_INCLUDED
#define IMSUA_CAPABILITY_READER_H_INCLUDED

#include <string>

namespace imsua {

// Counts hits from the top of the file at `path`: one for a line that holds `key`, one for a line that
// holds `match` (a line may give both). When the count is exactly 2 after a line, the file qualifies: true,
// and `value` is what follows the first key-length characters of the last line that held the key, without
// surrounding blanks (empty if there was none). False, with `value` untouched, when the file does not qualify
// or cannot be read as a regular file. A line of more than 1023 characters ends the file; a zero byte ends
// its line's text.
bool read_capability(const char* path, const std::string& key, const std::string& match, std::string& value);

} // namespace imsua

#endif
