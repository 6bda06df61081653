// Opens the HTML help in the user's browser at the anchor of a context
// ("<help path>#<context number>"). The help path is set by
// SetTarnovelleLanguage and is empty before; a missing help file or a missing
// browser is no error, the help is simply not shown.
#pragma once

#include <cstdint>
#include <string>

#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/values/ETarnovelleHelpID.h"
#include "tarnovelle/values/SetTarnovelleLanguage.h"

class TNVL_EXPORT CTarnovelleHelp {
public:
    virtual ~CTarnovelleHelp();

    // Ids 0, 1 and 2 open their context; any other id does nothing.
    static void OnHelp(ETarnovelleHelpID id);
    // Opens the help at a context number, for the dialogs that have their own.
    // True when a browser was started.
    static bool OnHelpContext(uint32_t context);

    static std::string GetHelpFilePath();
    // The address OnHelpContext opens: a file URL with the context as anchor.
    static std::string GetHelpURL(uint32_t context);

private:
    friend void SetTarnovelleLanguage(const std::string& language);
    static void SetHelpFilePath(const std::string& path);
};
