// Texts that live as long as the process.
#ifndef BASEUAFW_KEPT_TEXT_H_INCLUDED
#define BASEUAFW_KEPT_TEXT_H_INCLUDED

namespace baseuafw {

// A copy of `text` that is never freed nor changed: for option values that any thread may read at any time.
// Equal texts share one copy, so that taking the same options again costs nothing. Null when memory is out.
// Thread: any; no lock.
const char* kept_text(const char* text);

} // namespace baseuafw

#endif
