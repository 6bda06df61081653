// Where this shared library was loaded from: the place beside which its
// language-dependent files (help pages) are looked for.
#pragma once

#include <string>

#include "tarnovelle/support/TNExport.h"

// The full path of libtarnovelle as the dynamic loader knows it; empty when
// it cannot be found out.
TNVL_EXPORT std::string TNGetLibraryFilePath();
