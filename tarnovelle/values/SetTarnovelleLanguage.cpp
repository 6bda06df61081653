#include "tarnovelle/values/SetTarnovelleLanguage.h"

#include "tarnovelle/support/TNLibraryPath.h"
#include "tarnovelle/support/TNTrace.h"
#include "tarnovelle/values/CTarnovelleHelp.h"
#include "tarnovelle/values/CTarnovelleTextManager.h"

namespace {

bool StartsWith(const std::string& text, const char* prefix) { return text.rfind(prefix, 0) == 0; }

// The library's path without its extension. A shared library's extension
// carries its version ("libtarnovelle.so.0.1.0"), so everything from the
// first dot of the file name on goes.
std::string WithoutExtension(const std::string& path) {
    const size_t nameStart = path.find_last_of('/') == std::string::npos ? 0 : path.find_last_of('/') + 1;
    const size_t dot = path.find('.', nameStart);
    return dot == std::string::npos ? path : path.substr(0, dot);
}

// The language modules are compiled in, so loading one always succeeds and
// gives the same module for the same suffix.
const STNStringTable* LoadLanguageModule(const std::string& suffix) {
    return suffix == "_de" ? &STNStringTable::German() : &STNStringTable::English();
}

}  // namespace

void SetTarnovelleLanguage(const std::string& language) {
    const char* suffix = StartsWith(language, "en") ? "_en" : StartsWith(language, "de") ? "_de" : "_en";
    const std::string libraryPath = TNGetLibraryFilePath();
    if (libraryPath.empty()) return;
    const std::string base = WithoutExtension(libraryPath);

    // The module keeps the name it always had beside the library, so that a
    // trace reads the same whichever platform wrote it.
    TNTraceText("LangResource selected  = %s\n", (base + suffix + ".dll").c_str());
    const STNStringTable* module = LoadLanguageModule(suffix);
    if (module != nullptr && module != CTarnovelleTextManager::GetLanguageModule())
        CTarnovelleTextManager::SetLanguageModule(module);

    CTarnovelleHelp::SetHelpFilePath(base + suffix + ".html");
}
