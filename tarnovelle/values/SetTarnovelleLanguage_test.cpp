#include "tarnovelle/values/SetTarnovelleLanguage.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tarnovelle/support/TNLibraryPath.h"
#include "tarnovelle/support/TNTrace.h"
#include "tarnovelle/values/CTarnovelleHelp.h"
#include "tarnovelle/values/CTarnovelleTextManager.h"
#include "tests/support/TNTestDir.h"

namespace {

std::string LibraryBase() {
    const std::string path = TNGetLibraryFilePath();
    const size_t slash = path.find_last_of('/');
    return path.substr(0, slash + 1) + "libtarnovelle";
}

std::vector<std::string> g_traced;
void Record(const char* text) { g_traced.emplace_back(text); }

}  // namespace

// Runs first in this program: nothing has chosen a language yet.
TEST(SetTarnovelleLanguage, TheModulesStartUpAtLoadSelectsEnglish) {
    // Nothing in this program has chosen a language yet: what is in force is
    // what the module's start-up chose with the empty text.
    EXPECT_EQ(&STNStringTable::English(), CTarnovelleTextManager::GetLanguageModule());
    EXPECT_NE("Spannung", CTarnovelleTextManager::GetText(CT_VOLTAGE));
    EXPECT_NE("", CTarnovelleHelp::GetHelpFilePath());
}

TEST(SetTarnovelleLanguage, LibraryPathIsKnown) {
    const std::string path = TNGetLibraryFilePath();
    ASSERT_FALSE(path.empty());
    EXPECT_NE(std::string::npos, path.find("libtarnovelle.so"));
    EXPECT_TRUE(TNTestDir::Exists(path));
}

TEST(SetTarnovelleLanguage, EmptyLanguageSelectsEnglish) {
    SetTarnovelleLanguage("");
    EXPECT_EQ(&STNStringTable::English(), CTarnovelleTextManager::GetLanguageModule());
    EXPECT_EQ("Voltage", CTarnovelleTextManager::GetText(CT_VOLTAGE));
    EXPECT_EQ(LibraryBase() + "_en.html", CTarnovelleHelp::GetHelpFilePath());
}

TEST(SetTarnovelleLanguage, LanguageIsMatchedByItsBeginningOnly) {
    SetTarnovelleLanguage("de_AT");
    EXPECT_EQ(&STNStringTable::German(), CTarnovelleTextManager::GetLanguageModule());
    EXPECT_EQ(LibraryBase() + "_de.html", CTarnovelleHelp::GetHelpFilePath());
    SetTarnovelleLanguage("en-GB");
    EXPECT_EQ(&STNStringTable::English(), CTarnovelleTextManager::GetLanguageModule());
    SetTarnovelleLanguage("deutsch");
    EXPECT_EQ(&STNStringTable::German(), CTarnovelleTextManager::GetLanguageModule());
    SetTarnovelleLanguage("fr");
    EXPECT_EQ(&STNStringTable::English(), CTarnovelleTextManager::GetLanguageModule());
    SetTarnovelleLanguage("de");
    SetTarnovelleLanguage("DE");  // the match is case-sensitive: English
    EXPECT_EQ(&STNStringTable::English(), CTarnovelleTextManager::GetLanguageModule());
    SetTarnovelleLanguage("xen");
    EXPECT_EQ(&STNStringTable::English(), CTarnovelleTextManager::GetLanguageModule());
}

TEST(SetTarnovelleLanguage, SameLanguageAgainKeepsTheModuleInPlace) {
    SetTarnovelleLanguage("de");
    const STNStringTable* module = CTarnovelleTextManager::GetLanguageModule();
    SetTarnovelleLanguage("de-DE");
    EXPECT_EQ(module, CTarnovelleTextManager::GetLanguageModule());
    EXPECT_EQ("Spannung", CTarnovelleTextManager::GetText(CT_VOLTAGE));
}

TEST(SetTarnovelleLanguage, HelpPathNamesTheFileEvenWhenItIsMissing) {
    SetTarnovelleLanguage("en");
    const std::string help = CTarnovelleHelp::GetHelpFilePath();
    EXPECT_EQ(LibraryBase() + "_en.html", help);
    EXPECT_FALSE(TNTestDir::Exists(help));
    EXPECT_FALSE(CTarnovelleHelp::OnHelpContext(TNHELP_CONTEXT_ARCHIVE_CONFIGURATION)) << "a missing file is not opened";
    CTarnovelleHelp::OnHelp(TNHELP_ARCHIVE_STATISTICS);  // no error either
}

TEST(SetTarnovelleLanguage, TracesTheSelectedLanguageModule) {
    if (!TNTraceIsActive()) GTEST_SKIP() << "this build does not trace";
    g_traced.clear();
    const TNTraceSink before = TNSetTraceSink(&Record);
    SetTarnovelleLanguage("de-CH");
    SetTarnovelleLanguage("it");
    TNSetTraceSink(before);
    ASSERT_EQ(2u, g_traced.size());
    EXPECT_EQ("LangResource selected  = " + LibraryBase() + "_de.dll\n", g_traced[0]);
    EXPECT_EQ("LangResource selected  = " + LibraryBase() + "_en.dll\n", g_traced[1]);
}
