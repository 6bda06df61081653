// Chooses the language of all texts and of the help, process-wide.
//
// The language is matched by its beginning only: a text starting with "en" is
// English, one starting with "de" German, every other one English ("en-GB"
// and "de_AT" count; the match is case-sensitive). Both language modules are
// compiled in, so the choice always succeeds; choosing the module already in
// use keeps it in place. The help path becomes the library's path without its
// extension, with the suffix "_en" or "_de" and ".html", beside the library,
// whether or not that file exists. When the library's own path cannot be
// found out, nothing changes.
//
// Before the first call the library's own (German) table is used. The call
// is meant for start-up, before other threads use the texts.
#pragma once

#include <string>

#include "tarnovelle/support/TNExport.h"

TNVL_EXPORT void SetTarnovelleLanguage(const std::string& language);
