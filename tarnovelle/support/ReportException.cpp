#include "tarnovelle/support/ReportException.h"

#include <cstdio>
#include <vector>

#include "tarnovelle/support/TNApplicationLog.h"

void ReportException(const std::string& operation, CException* e) {
    char message[501] = {};
    const char* className = "CException";
    if (e) {
        e->GetErrorMessage(message, sizeof(message));
        className = e->GetRuntimeClassName();
    }
    const char* pattern = "%s in '%s' = '%s'";
    const int length = std::snprintf(nullptr, 0, pattern, className, operation.c_str(), message);
    std::vector<char> text(static_cast<size_t>(length > 0 ? length : 0) + 1);
    std::snprintf(text.data(), text.size(), pattern, className, operation.c_str(), message);
    TNApplicationLogError("CTarnovelleException", text.data());
}
