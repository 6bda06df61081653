// The door from the library's code to the application object's error log.
// The module object registers its LogError here when it starts; until one is
// registered there is no application object, and ReportException and
// TarnovelleLogMessage stop after formatting their text.
#pragma once

#include <string>

#include "tarnovelle/support/TNExport.h"

using TNLogErrorFunction = void (*)(const std::string& category, const std::string& text);

// Registers the application object's LogError; null removes it. Returns the
// previous one.
TNVL_EXPORT TNLogErrorFunction TNSetApplicationLog(TNLogErrorFunction logError);
TNVL_EXPORT bool TNHasApplicationObject();
// Hands one entry to the application object's LogError, if there is one.
TNVL_EXPORT void TNApplicationLogError(const std::string& category, const std::string& text);
