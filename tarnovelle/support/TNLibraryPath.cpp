#include "tarnovelle/support/TNLibraryPath.h"

#include <dlfcn.h>

std::string TNGetLibraryFilePath() {
    Dl_info info{};
    // Any function of this library names the object it was loaded from.
    if (dladdr(reinterpret_cast<void*>(&TNGetLibraryFilePath), &info) == 0 || info.dli_fname == nullptr)
        return std::string();
    return std::string(info.dli_fname);
}
