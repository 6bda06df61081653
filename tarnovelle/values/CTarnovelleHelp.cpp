#include "tarnovelle/values/CTarnovelleHelp.h"

#include <mutex>

#include "tarnovelle/support/TNBrowser.h"

namespace {

std::mutex g_helpPathMutex;
std::string g_helpPath;

}  // namespace

CTarnovelleHelp::~CTarnovelleHelp() = default;

std::string CTarnovelleHelp::GetHelpFilePath() {
    std::lock_guard<std::mutex> lock(g_helpPathMutex);
    return g_helpPath;
}

void CTarnovelleHelp::SetHelpFilePath(const std::string& path) {
    std::lock_guard<std::mutex> lock(g_helpPathMutex);
    g_helpPath = path;
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
