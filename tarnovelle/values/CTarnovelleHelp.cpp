#include "tarnovelle/values/CTarnovelleHelp.h"

#include <mutex>

#include "tarnovelle/support/TNBrowser.h"

namespace {

// Function-local so that the module's start-up, which runs while the library
// loads, finds them constructed whatever the order of static initialisation.
struct SHelpPath {
    std::mutex mutex;
    std::string path;
};

SHelpPath& HelpPath() {
    static SHelpPath helpPath;
    return helpPath;
}

}  // namespace

CTarnovelleHelp::~CTarnovelleHelp() = default;

std::string CTarnovelleHelp::GetHelpFilePath() {
    SHelpPath& h = HelpPath();
    std::lock_guard<std::mutex> lock(h.mutex);
    return h.path;
}

void CTarnovelleHelp::SetHelpFilePath(const std::string& path) {
    SHelpPath& h = HelpPath();
    std::lock_guard<std::mutex> lock(h.mutex);
    h.path = path;
}

std::string CTarnovelleHelp::GetHelpURL(uint32_t context) {
    return TNFileURL(GetHelpFilePath(), std::to_string(context));
}

bool CTarnovelleHelp::OnHelpContext(uint32_t context) {
    try {
        return TNOpenFileInBrowser(GetHelpFilePath(), std::to_string(context));
    } catch (...) {
        return false;  // help that cannot be shown is not worth a failure
    }
}

void CTarnovelleHelp::OnHelp(ETarnovelleHelpID id) {
    switch (id) {
        case TNHELP_ARCHIVE_CONFIGURATION: OnHelpContext(TNHELP_CONTEXT_ARCHIVE_CONFIGURATION); break;
        case TNHELP_ARCHIVE_STATISTICS: OnHelpContext(TNHELP_CONTEXT_ARCHIVE_STATISTICS); break;
        case TNHELP_ARCHIVE_MESSAGES: OnHelpContext(TNHELP_CONTEXT_ARCHIVE_MESSAGES); break;
        default: break;
    }
}
