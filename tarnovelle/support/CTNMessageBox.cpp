#include "tarnovelle/support/CTNMessageBox.h"

#include <atomic>
#include <cstdio>
#include <mutex>

namespace {
// The answer of a plain box that the user closed with OK.
constexpr int32_t kAnswerOk = 1;
// The most an exception contributes, without the terminating zero.
constexpr unsigned kExceptionTextMax = 255;

std::atomic<CTNMessageBox::Presenter> g_presenter{nullptr};
// Guards s_ListOfLogArray and the append into its top array.
std::mutex g_rerouteLock;
}  // namespace

std::list<std::vector<std::string>*> CTNMessageBox::s_ListOfLogArray;

int32_t CTNMessageBox::Show(const std::string& text) {
    {
        std::lock_guard<std::mutex> hold(g_rerouteLock);
        if (!s_ListOfLogArray.empty()) {
            s_ListOfLogArray.back()->push_back(text);
            return kAnswerOk;
        }
    }
    // A real box may wait for the user: it is shown without the lock.
    if (Presenter presenter = g_presenter.load()) return presenter(text);
    std::fprintf(stderr, "%s\n", text.c_str());
    return kAnswerOk;
}

void CTNMessageBox::Show(CException& e) {
    // An exception without a text may leave the buffer alone: it must then
    // read as empty, not as whatever the stack held.
    char buffer[kExceptionTextMax + 1] = {};
    e.GetErrorMessage(buffer, sizeof(buffer));
    buffer[kExceptionTextMax] = '\0';
    Show(std::string(buffer));
}

bool CTNMessageBox::IsRerouteMessageBoxToLogArray() {
    std::lock_guard<std::mutex> hold(g_rerouteLock);
    return !s_ListOfLogArray.empty();
}

void CTNMessageBox::RerouteMessageBoxToLogArray(std::vector<std::string>* log) {
    std::lock_guard<std::mutex> hold(g_rerouteLock);
    if (log) {
        s_ListOfLogArray.push_back(log);
    } else if (!s_ListOfLogArray.empty()) {
        // An unmatched pop would be a caller's mistake; it must not bring the
        // process down, so it is ignored.
        s_ListOfLogArray.pop_back();
    }
}

CTNMessageBox::Presenter CTNMessageBox::SetPresenter(Presenter presenter) {
    return g_presenter.exchange(presenter);
}
