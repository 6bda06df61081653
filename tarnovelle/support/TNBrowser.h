// Opens a document in the user's web browser through the desktop's opener
// ("xdg-open", found on the PATH). The call does not wait for the browser:
// the opener runs as its own session and is reaped in the background.
#pragma once

#include <string>

#include "tarnovelle/support/TNExport.h"

// False when the opener could not be started (not installed, no resources);
// that is no error for the caller, help is simply not shown.
TNVL_EXPORT bool TNOpenInBrowser(const std::string& url);

// Opens the local file `path` at `anchor` (the part after '#', none when
// empty). A file that does not exist is not opened, and the result is false.
TNVL_EXPORT bool TNOpenFileInBrowser(const std::string& path, const std::string& anchor);

// The file URL of `path` with `anchor`, every byte of the path but the
// unreserved ones and '/' percent-encoded.
TNVL_EXPORT std::string TNFileURL(const std::string& path, const std::string& anchor);
