// Stands in for the application object's error log during one test: every
// entry handed to it is kept, in order, with its category.
#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "tarnovelle/support/TNApplicationLog.h"

class TNLogCapture {
public:
    TNLogCapture();
    ~TNLogCapture();
    TNLogCapture(const TNLogCapture&) = delete;
    TNLogCapture& operator=(const TNLogCapture&) = delete;

    std::vector<std::string> Entries(const std::string& category) const;
    std::vector<std::pair<std::string, std::string>> All() const;
    void Clear();
    // What was registered before the capture: the module's own LogError.
    TNLogErrorFunction Previous() const { return m_previous; }

private:
    static void Log(const std::string& category, const std::string& text);
    TNLogErrorFunction m_previous;
};
