#include "tarnovelle/support/CTNMessageBox.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <thread>

namespace {

std::vector<std::string> g_presented;
int32_t RecordingPresenter(const std::string& text) {
    g_presented.push_back(text);
    return 7;
}

// The presenter for shows from several threads: it counts under its own lock.
std::mutex g_presentedLock;
int32_t RecordingPresenterLocked(const std::string& text) {
    std::lock_guard<std::mutex> hold(g_presentedLock);
    return RecordingPresenter(text);
}
size_t PresentedCount() {
    std::lock_guard<std::mutex> hold(g_presentedLock);
    return g_presented.size();
}

class TextException : public CException {
public:
    explicit TextException(std::string text) : m_text(std::move(text)) {}
    bool GetErrorMessage(char* buffer, unsigned max) const override {
        return CopyMessage(m_text.c_str(), buffer, max);
    }

private:
    std::string m_text;
};

struct PresenterScope {
    CTNMessageBox::Presenter before;
    explicit PresenterScope(CTNMessageBox::Presenter p) : before(CTNMessageBox::SetPresenter(p)) {
        g_presented.clear();
    }
    ~PresenterScope() { CTNMessageBox::SetPresenter(before); }
};

}  // namespace

TEST(CTNMessageBox, WithoutRerouteTheRegisteredPresenterShowsAndAnswers) {
    PresenterScope scope(&RecordingPresenter);
    EXPECT_FALSE(CTNMessageBox::IsRerouteMessageBoxToLogArray());
    EXPECT_EQ(CTNMessageBox::Show(std::string("Hallo")), 7);
    ASSERT_EQ(g_presented.size(), 1u);
    EXPECT_EQ(g_presented[0], "Hallo");
}

TEST(CTNMessageBox, WithoutPresenterTheTextGoesToStandardErrorAndTheAnswerIsOk) {
    PresenterScope scope(nullptr);
    testing::internal::CaptureStderr();
    const int32_t answer = CTNMessageBox::Show(std::string("auf stderr"));
    const std::string written = testing::internal::GetCapturedStderr();
    EXPECT_EQ(answer, 1);
    EXPECT_NE(written.find("auf stderr"), std::string::npos);
}

TEST(CTNMessageBox, RerouteAppendsToTheArrayAndShowsNothing) {
    PresenterScope scope(&RecordingPresenter);
    std::vector<std::string> log;
    CTNMessageBox::RerouteMessageBoxToLogArray(&log);
    EXPECT_TRUE(CTNMessageBox::IsRerouteMessageBoxToLogArray());
    EXPECT_EQ(CTNMessageBox::Show(std::string("eins")), 1);
    EXPECT_EQ(CTNMessageBox::Show(std::string("zwei")), 1);
    CTNMessageBox::RerouteMessageBoxToLogArray(nullptr);
    EXPECT_FALSE(CTNMessageBox::IsRerouteMessageBoxToLogArray());
    EXPECT_EQ(log, (std::vector<std::string>{"eins", "zwei"}));
    EXPECT_TRUE(g_presented.empty());
}

TEST(CTNMessageBox, NestedReroutesFeedTheInnermostArrayAndPopInOrder) {
    PresenterScope scope(&RecordingPresenter);
    std::vector<std::string> outer;
    std::vector<std::string> inner;
    CTNMessageBox::RerouteMessageBoxToLogArray(&outer);
    CTNMessageBox::Show(std::string("a"));
    CTNMessageBox::RerouteMessageBoxToLogArray(&inner);
    CTNMessageBox::Show(std::string("b"));
    CTNMessageBox::RerouteMessageBoxToLogArray(nullptr);
    EXPECT_TRUE(CTNMessageBox::IsRerouteMessageBoxToLogArray());
    CTNMessageBox::Show(std::string("c"));
    CTNMessageBox::RerouteMessageBoxToLogArray(nullptr);
    EXPECT_FALSE(CTNMessageBox::IsRerouteMessageBoxToLogArray());
    CTNMessageBox::Show(std::string("d"));
    EXPECT_EQ(outer, (std::vector<std::string>{"a", "c"}));
    EXPECT_EQ(inner, (std::vector<std::string>{"b"}));
    EXPECT_EQ(g_presented, (std::vector<std::string>{"d"}));
}

TEST(CTNMessageBox, PopWithoutPushIsHarmless) {
    CTNMessageBox::RerouteMessageBoxToLogArray(nullptr);
    EXPECT_FALSE(CTNMessageBox::IsRerouteMessageBoxToLogArray());
}

TEST(CTNMessageBox, ExceptionTextIsShown) {
    std::vector<std::string> log;
    CTNMessageBox::RerouteMessageBoxToLogArray(&log);
    TextException e("Datei fehlt");
    CTNMessageBox::Show(e);
    CTNMessageBox::RerouteMessageBoxToLogArray(nullptr);
    ASSERT_EQ(log.size(), 1u);
    EXPECT_EQ(log[0], "Datei fehlt");
}

TEST(CTNMessageBox, ExceptionTextIsCutAt255Characters) {
    std::vector<std::string> log;
    CTNMessageBox::RerouteMessageBoxToLogArray(&log);
    TextException e(std::string(300, 'x') + "tail");
    CTNMessageBox::Show(e);
    CTNMessageBox::RerouteMessageBoxToLogArray(nullptr);
    ASSERT_EQ(log.size(), 1u);
    EXPECT_EQ(log[0], std::string(255, 'x'));
}

TEST(CTNMessageBox, ExceptionWithoutTextShowsAnEmptyText) {
    std::vector<std::string> log;
    CTNMessageBox::RerouteMessageBoxToLogArray(&log);
    CException e;
    CTNMessageBox::Show(e);
    CTNMessageBox::RerouteMessageBoxToLogArray(nullptr);
    ASSERT_EQ(log.size(), 1u);
    EXPECT_EQ(log[0], "");
}

namespace {
// An exception that has no text and leaves the caller's buffer as it was.
class SilentException : public CException {
public:
    bool GetErrorMessage(char*, unsigned) const override { return false; }
};
}  // namespace

TEST(CTNMessageBox, ExceptionThatWritesNoTextShowsAnEmptyTextNotAnEarlierOne) {
    std::vector<std::string> log;
    CTNMessageBox::RerouteMessageBoxToLogArray(&log);
    // The first text leaves its bytes where the next call's buffer lies.
    TextException loud(std::string(300, 'q'));
    SilentException silent;
    CTNMessageBox::Show(loud);
    CTNMessageBox::Show(silent);
    CTNMessageBox::RerouteMessageBoxToLogArray(nullptr);
    ASSERT_EQ(log.size(), 2u);
    EXPECT_EQ(log[1], "");
}

TEST(CTNMessageBox, TextsShownFromOtherThreadsWhileOneThreadReroutesAreAllKept) {
    // Four threads show while the main thread pushes and pops reroutes: every
    // text lands in exactly one array or with the presenter, none is lost.
    PresenterScope presenter(RecordingPresenterLocked);
    constexpr int kThreads = 4;
    constexpr int kTexts = 2000;
    std::atomic<bool> go{false};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&go] {
            while (!go.load()) std::this_thread::yield();
            for (int i = 0; i < kTexts; ++i) CTNMessageBox::Show(std::string("text"));
        });
    }
    std::vector<std::vector<std::string>> logs(200);
    go = true;
    for (auto& log : logs) {
        CTNMessageBox::RerouteMessageBoxToLogArray(&log);
        std::this_thread::yield();
        CTNMessageBox::RerouteMessageBoxToLogArray(nullptr);
    }
    for (auto& t : threads) t.join();
    size_t total = PresentedCount();
    for (const auto& log : logs) total += log.size();
    EXPECT_EQ(total, static_cast<size_t>(kThreads) * kTexts);
    EXPECT_FALSE(CTNMessageBox::IsRerouteMessageBoxToLogArray());
}
