#include "tarnovelle/interfaces/internal/TNFrame.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <string>

#include "tarnovelle/interfaces/CTarnovelleModule.h"
#include "tarnovelle/support/ReportException.h"
#include "tarnovelle/support/CFileException.h"
#include "tests/support/TNLogCapture.h"
#include "tests/support/TNTestDir.h"

namespace {
struct Target {};
}  // namespace

TEST(TNFrame, NullHandleGivesNoObjectAndNeverRunsTheBody) {
    bool ran = false;
    Target* none = nullptr;
    EXPECT_EQ(TNFrameCall("F", none, [&] { ran = true; return TNE_OK; }), TNE_NO_OBJECT);
    EXPECT_EQ(TNFrameCallTyped("F", none, TNE_EXCEPTION, [&] { ran = true; return TNE_OK; }), TNE_NO_OBJECT);
    EXPECT_FALSE(ran);
}

TEST(TNFrame, TheBodysResultIsGivenBack) {
    Target t;
    EXPECT_EQ(TNFrameCall("F", &t, [] { return TNE_FOLDER_SWITCHED; }), TNE_FOLDER_SWITCHED);
}

TEST(TNFrame, TarnovelleExceptionUnderTheTypedClauseGivesItsResultAndNoLogEntry) {
    TNLogCapture log;
    Target t;
    EXPECT_EQ(TNFrameCallTyped("ITNVLMAddSample", &t, TNE_EXCEPTION,
                               []() -> ETarnovelleErrors { throw CTarnovelleException("disk gone"); }),
              TNE_EXCEPTION);
    EXPECT_EQ(TNFrameCallTyped("ITNVLWSetArchiveLock", &t, TNE_ARCHIVE_LOCK_FAILED,
                               []() -> ETarnovelleErrors { throw CTarnovelleException("x"); }),
              TNE_ARCHIVE_LOCK_FAILED);
    EXPECT_TRUE(log.All().empty());
}

TEST(TNFrame, TarnovelleExceptionWithoutTheTypedClauseIsLoggedAndFails) {
    TNLogCapture log;
    Target t;
    EXPECT_EQ(TNFrameCall("ITNVLMInitInstance", &t, []() -> ETarnovelleErrors { throw CTarnovelleException("x"); }),
              TNE_FAILED);
    EXPECT_EQ(log.Entries("CTarnovelleException"),
              std::vector<std::string>{"CTarnovelleException in 'ITNVLMInitInstance' = ''"});
}

TEST(TNFrame, OtherExceptionsUnderTheTypedClauseAreStillLoggedAndFail) {
    TNLogCapture log;
    Target t;
    EXPECT_EQ(TNFrameCallTyped("ITNVLMAddSample", &t, TNE_EXCEPTION,
                               []() -> ETarnovelleErrors { throw CFileException(CFileException::diskFull, 28, "/x"); }),
              TNE_FAILED);
    const auto entries = log.Entries("CTarnovelleException");
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].rfind("CFileException in 'ITNVLMAddSample' = '", 0), 0u) << entries[0];
}

TEST(TNFrame, StandardExceptionsAndAnythingElseAreTreatedAsPlatformExceptions) {
    TNLogCapture log;
    Target t;
    EXPECT_EQ(TNFrameCall("A", &t, []() -> ETarnovelleErrors { throw std::bad_alloc(); }), TNE_FAILED);
    EXPECT_EQ(TNFrameCall("B", &t, []() -> ETarnovelleErrors { throw std::runtime_error("boom"); }), TNE_FAILED);
    EXPECT_EQ(TNFrameCall("C", &t, []() -> ETarnovelleErrors { throw 42; }), TNE_FAILED);
    EXPECT_EQ(log.Entries("CTarnovelleException"),
              (std::vector<std::string>{"CMemoryException in 'A' = 'Out of memory.'", "CException in 'B' = 'boom'",
                                        "CException in 'C' = ''"}));
}

TEST(TNFrame, AReportedTextLongerThan500CharactersIsCutTo500) {
    TNLogCapture log;
    const std::string longText(700, 'z');
    std::runtime_error e(longText);
    Target t;
    TNFrameCall("ITNVLMInitInstance", &t, [&]() -> ETarnovelleErrors { throw e; });
    const auto entries = log.Entries("CTarnovelleException");
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0], "CException in 'ITNVLMInitInstance' = '" + std::string(500, 'z') + "'");
}

TEST(ReportException, FormatsClassOperationAndTextUnderTheOneCategory) {
    TNLogCapture log;
    CFileException e(CFileException::fileNotFound, 2, "/data/a.Sam");
    ReportException("Open TimeOut", &e);
    char message[501];
    e.GetErrorMessage(message, sizeof(message));
    EXPECT_EQ(log.All(), (std::vector<std::pair<std::string, std::string>>{
                             {"CTarnovelleException", std::string("CFileException in 'Open TimeOut' = '") + message + "'"}}));
}

TEST(ReportException, WithoutAnApplicationObjectNothingIsWritten) {
    TNTestDir dir;
    SetTarnovelleProfilePath((dir / "tarnovelle.ini").c_str());
    const TNLogErrorFunction module = TNSetApplicationLog(nullptr);
    CFileException e(CFileException::fileNotFound, 2, "/data/a.Sam");
    ReportException("X", &e);
    EXPECT_FALSE(TNTestDir::Exists(dir / "tarnovelle.Log"));
    // With the module's log in place, the same report reaches the file.
    TNSetApplicationLog(module);
    ReportException("X", &e);
    EXPECT_TRUE(TNTestDir::Exists(dir / "tarnovelle.Log"));
    SetTarnovelleProfilePath(nullptr);
}

namespace {
void ThrowingLog(const std::string&, const std::string&) { throw std::runtime_error("log file unwritable"); }
}  // namespace

TEST(TNFrame, AFailingErrorLogDoesNotLetTheExceptionLeave) {
    const TNLogErrorFunction previous = TNSetApplicationLog(&ThrowingLog);
    Target t;
    ETarnovelleErrors result = TNE_OK;
    EXPECT_NO_THROW(result = TNFrameCall("ITNVLMInitInstance", &t,
                                         []() -> ETarnovelleErrors { throw CTarnovelleException("x"); }));
    EXPECT_EQ(result, TNE_FAILED);
    EXPECT_NO_THROW(result = TNFrameCallTyped("ITNVLMAddSample", &t, TNE_EXCEPTION,
                                              []() -> ETarnovelleErrors { throw std::bad_alloc(); }));
    EXPECT_EQ(result, TNE_FAILED);
    TNSetApplicationLog(previous);
}
