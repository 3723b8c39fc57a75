// Reads steps from text: a script file, a line a step, or a single step from the command line. The
// language is described in docs/tools/imstac.md.
//
// Thread   any; nothing is shared.
// Errors   false, and `why` says what is wrong, a script's with its name and line number.
#ifndef IMSTAC_SCRIPT_H_INCLUDED
#define IMSTAC_SCRIPT_H_INCLUDED

#include "tools/imstac/step.h"

#include <istream>
#include <string>

namespace imstac {

enum class Parsed { step, nothing, wrong };

// One line. Parsed::nothing: it is blank or a comment. `step` is complete only with Parsed::step.
Parsed parse_step(const std::string& line, Step& step, std::string& why);

// Appends the steps of a whole script, whose name stands in each step's source. False at the first wrong
// line; `why` is then "name:7: what is wrong".
bool parse_script(std::istream& in, const std::string& name, Steps& steps, std::string& why);

} // namespace imstac

#endif
