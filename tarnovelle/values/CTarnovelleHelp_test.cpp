#include "tarnovelle/values/CTarnovelleHelp.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "tarnovelle/support/TNBrowser.h"
#include "tests/support/TNTestDir.h"

namespace {

// Puts an "xdg-open" of our own first on the PATH: a real program that writes
// the address it was given into a file, as a browser would open it.
class FakeOpener {
public:
    explicit FakeOpener(const TNTestDir& dir) : m_log(dir / "opened.txt") {
        const std::string script = dir.WriteFile("xdg-open", "#!/bin/sh\nprintf '%s' \"$1\" > \"" + m_log +
                                                                  ".tmp\" && mv \"" + m_log + ".tmp\" \"" + m_log + "\"\n");
        chmod(script.c_str(), 0755);
        const char* path = std::getenv("PATH");
        m_oldPath = path ? path : "";
        setenv("PATH", (dir.Path() + ":" + m_oldPath).c_str(), 1);
    }
    ~FakeOpener() { setenv("PATH", m_oldPath.c_str(), 1); }

    // The address opened, waiting for the opener to finish; empty if none came.
    std::string WaitForOpened() const {
        for (int i = 0; i < 500 && !TNTestDir::Exists(m_log); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        return TNTestDir::ReadFile(m_log);
    }
    bool Opened() const { return TNTestDir::Exists(m_log); }

private:
    std::string m_log;
    std::string m_oldPath;
};

// The help file beside the library exists only while this object lives.
class HelpFile {
public:
    HelpFile() : m_path(CTarnovelleHelp::GetHelpFilePath()) {
        std::FILE* file = std::fopen(m_path.c_str(), "w");
        if (file) {
            std::fputs("<html></html>", file);
            std::fclose(file);
        }
    }
    ~HelpFile() { unlink(m_path.c_str()); }
    const std::string& Path() const { return m_path; }

private:
    std::string m_path;
};

}  // namespace

TEST(CTarnovelleHelp, OnHelpOpensTheHelpFileAtTheContextAnchor) {
    SetTarnovelleLanguage("de");
    TNTestDir dir;
    FakeOpener opener(dir);
    HelpFile help;
    ASSERT_TRUE(TNTestDir::Exists(help.Path()));
    CTarnovelleHelp::OnHelp(TNHELP_ARCHIVE_STATISTICS);
    EXPECT_EQ("file://" + help.Path() + "#137078", opener.WaitForOpened());
}

TEST(CTarnovelleHelp, EachIdHasItsContextNumber) {
    EXPECT_EQ(137077u, TNHELP_CONTEXT_ARCHIVE_CONFIGURATION);
    EXPECT_EQ(137078u, TNHELP_CONTEXT_ARCHIVE_STATISTICS);
    EXPECT_EQ(137079u, TNHELP_CONTEXT_ARCHIVE_MESSAGES);
    EXPECT_EQ(137072u, TNHELP_CONTEXT_MANAGE_DATA);
    SetTarnovelleLanguage("en");
    TNTestDir dir;
    FakeOpener opener(dir);
    HelpFile help;
    CTarnovelleHelp::OnHelp(TNHELP_ARCHIVE_MESSAGES);
    EXPECT_EQ("file://" + help.Path() + "#137079", opener.WaitForOpened());
}

TEST(CTarnovelleHelp, OtherIdsDoNothing) {
    SetTarnovelleLanguage("de");
    TNTestDir dir;
    FakeOpener opener(dir);
    HelpFile help;
    CTarnovelleHelp::OnHelp(static_cast<ETarnovelleHelpID>(3));
    CTarnovelleHelp::OnHelp(static_cast<ETarnovelleHelpID>(-1));
    // Something that is opened afterwards proves the opener ran only once.
    CTarnovelleHelp::OnHelp(TNHELP_ARCHIVE_CONFIGURATION);
    EXPECT_EQ("file://" + help.Path() + "#137077", opener.WaitForOpened());
}

TEST(CTarnovelleHelp, MissingHelpFileIsNoError) {
    SetTarnovelleLanguage("de");
    TNTestDir dir;
    FakeOpener opener(dir);
    ASSERT_FALSE(TNTestDir::Exists(CTarnovelleHelp::GetHelpFilePath()));
    CTarnovelleHelp::OnHelp(TNHELP_ARCHIVE_CONFIGURATION);
    EXPECT_FALSE(CTarnovelleHelp::OnHelpContext(TNHELP_CONTEXT_MANAGE_DATA));
    // Give a wrongly started opener time to write.
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    EXPECT_FALSE(opener.Opened());
}

TEST(CTarnovelleHelp, NoOpenerInstalledIsNoError) {
    SetTarnovelleLanguage("de");
    HelpFile help;
    const char* path = std::getenv("PATH");
    const std::string oldPath = path ? path : "";
    TNTestDir empty;
    setenv("PATH", empty.Path().c_str(), 1);
    EXPECT_FALSE(CTarnovelleHelp::OnHelpContext(TNHELP_CONTEXT_ARCHIVE_CONFIGURATION));
    setenv("PATH", oldPath.c_str(), 1);
}

TEST(TNBrowser, FileUrlEncodesThePathAndKeepsTheAnchor) {
    EXPECT_EQ("file:///a/b%20c/d%23e.html#137077", TNFileURL("/a/b c/d#e.html", "137077"));
    EXPECT_EQ("file:///x/%C3%BC.html", TNFileURL("/x/\xC3\xBC.html", ""));
}
