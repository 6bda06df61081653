// The developer trace: a sink for short texts that tell what a low-level
// operation did ("_______ Neues Dokument erfolgreich erzeugt. ..."). In a
// release build (NDEBUG) TNTrace does nothing at all, so the texts have no
// effect on a product. In a debug build each text goes to the sink a program
// or test registers; with none registered it is dropped as well, since nobody
// is listening, exactly like a debugger output nobody has attached to.
#pragma once

#include "tarnovelle/support/TNExport.h"

using TNTraceSink = void (*)(const char* text);

// Registers the sink (null removes it); returns the one before.
TNVL_EXPORT TNTraceSink TNSetTraceSink(TNTraceSink sink);

// Hands `text` to the sink in a debug build; nothing in a release build.
TNVL_EXPORT void TNTrace(const char* text);

// Formats `format` with one text argument ("%s") and traces the result; the
// formatting itself is skipped in a release build.
TNVL_EXPORT void TNTraceText(const char* format, const char* argument);

// Whether this build of the library traces at all (false with NDEBUG).
TNVL_EXPORT bool TNTraceIsActive();
