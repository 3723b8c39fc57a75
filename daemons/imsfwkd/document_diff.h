// Which paths differ between two versions of a document.
//
// Thread   the one that owns the documents.
// Memory   at most MAX_CHANGED_PATHS paths, however the documents differ.
#ifndef IMSFWKD_DOCUMENT_DIFF_H_INCLUDED
#define IMSFWKD_DOCUMENT_DIFF_H_INCLUDED

#include "daemons/imsfwkd/document.h"

#include <string>
#include <vector>

namespace imsfwkd {

constexpr std::size_t MAX_CHANGED_PATHS = 64;

// The whole document, where single paths would be too many or mean nothing.
inline const std::vector<std::string> everything()
{
    return {"/"};
}

// Paths of the elements without elements inside, and of the attributes, that were added, removed or have
// another text: /a/b[2]/c or /a/b/@c, with a number only where siblings share a name (in either version).
// Document order of `after`, removed ones behind what stayed. Empty: nothing that GET shows has changed.
// everything() when there are more than MAX_CHANGED_PATHS.
std::vector<std::string> changed_paths(const Document& before, const Document& after);

} // namespace imsfwkd

#endif
