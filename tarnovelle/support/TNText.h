// Case folding of byte strings, as the archive's paths and keys need it: only
// the ASCII letters change, every other byte stays as it is. Upper-cased
// paths serve comparisons and map keys only; a file is always opened under
// its own spelling.
#pragma once

#include <string>

#include "tarnovelle/support/TNExport.h"

TNVL_EXPORT std::string TNToUpper(std::string text);
TNVL_EXPORT std::string TNToLower(std::string text);
