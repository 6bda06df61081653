#include "tests/support/TNLogKeys.h"

#include <time.h>
#include <unistd.h>

#include <cstdio>

std::string TNLogSection(const std::string& category) {
    char text[16];
    std::snprintf(text, sizeof(text), "%08lx", static_cast<unsigned long>(getpid()));
    return std::string(text) + "_" + category;
}

std::string TNLogKeyAt(uint64_t millisecondsSince1970) {
    const time_t seconds = static_cast<time_t>(millisecondsSince1970 / 1000);
    struct tm local {};
    localtime_r(&seconds, &local);
    char key[64];
    strftime(key, sizeof(key), "%m/%d/%Y_%H:%M:%S", &local);
    return key;
}
