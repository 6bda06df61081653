#include "tarnovelle/support/TNBrowser.h"

#include <spawn.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <thread>

extern char** environ;

namespace {

constexpr const char* kOpener = "xdg-open";

void Reap(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
}

bool IsUnreserved(unsigned char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '.' ||
           c == '_' || c == '~' || c == '/';
}

}  // namespace

std::string TNFileURL(const std::string& path, const std::string& anchor) {
    static const char kHex[] = "0123456789ABCDEF";
    std::string url = "file://";
    url.reserve(url.size() + path.size() + anchor.size() + 1);
    for (unsigned char c : path) {
        if (IsUnreserved(c)) {
            url += static_cast<char>(c);
        } else {
            url += '%';
            url += kHex[c >> 4];
            url += kHex[c & 0xF];
        }
    }
    if (!anchor.empty()) url += "#" + anchor;
    return url;
}

bool TNOpenFileInBrowser(const std::string& path, const std::string& anchor) {
    struct stat info {};
    if (path.empty() || stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return false;
    return TNOpenInBrowser(TNFileURL(path, anchor));
}

bool TNOpenInBrowser(const std::string& url) {
    posix_spawnattr_t attributes;
    if (posix_spawnattr_init(&attributes) != 0) return false;
    // Its own session: a signal to the caller's terminal does not reach it.
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
    char* argv[] = {const_cast<char*>(kOpener), const_cast<char*>(url.c_str()), nullptr};
    pid_t child = 0;
    const int result = posix_spawnp(&child, kOpener, nullptr, &attributes, argv, environ);
    posix_spawnattr_destroy(&attributes);
    if (result != 0) return false;
    try {
        std::thread(Reap, child).detach();
    } catch (...) {
        // No thread to spare: reap it now rather than leave a zombie.
        Reap(child);
    }
    return true;
}
