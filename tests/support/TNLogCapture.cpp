#include "tests/support/TNLogCapture.h"

namespace {
std::mutex g_mutex;
std::vector<std::pair<std::string, std::string>> g_entries;
}  // namespace

TNLogCapture::TNLogCapture() {
    Clear();
    m_previous = TNSetApplicationLog(&TNLogCapture::Log);
}

TNLogCapture::~TNLogCapture() { TNSetApplicationLog(m_previous); }

void TNLogCapture::Log(const std::string& category, const std::string& text) {
    std::lock_guard<std::mutex> lock(g_mutex);
    g_entries.emplace_back(category, text);
}

std::vector<std::string> TNLogCapture::Entries(const std::string& category) const {
    std::lock_guard<std::mutex> lock(g_mutex);
    std::vector<std::string> out;
    for (const auto& [c, t] : g_entries)
        if (c == category) out.push_back(t);
    return out;
}

std::vector<std::pair<std::string, std::string>> TNLogCapture::All() const {
    std::lock_guard<std::mutex> lock(g_mutex);
    return g_entries;
}

void TNLogCapture::Clear() {
    std::lock_guard<std::mutex> lock(g_mutex);
    g_entries.clear();
}
