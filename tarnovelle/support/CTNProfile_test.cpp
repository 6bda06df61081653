#include "tarnovelle/support/CTNProfile.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/TNChildProcess.h"
#include "tests/support/TNTestDir.h"

TEST(CTNProfile, ReadingAMissingFileGivesTheDefaultAndCreatesNothing) {
    TNTestDir dir;
    CTNProfile profile(dir / "sub/a.ini");
    EXPECT_EQ(profile.GetProfileInt("S", "k", -1), -1);
    EXPECT_EQ(profile.GetProfileString("S", "k", "dflt"), "dflt");
    EXPECT_FALSE(TNTestDir::Exists(dir / "sub"));
}

TEST(CTNProfile, TheFirstWriteCreatesTheFileAndItsDirectories) {
    TNTestDir dir;
    CTNProfile profile(dir / "one/two/a.ini");
    EXPECT_TRUE(profile.WriteProfileInt("ArchiveConfiguration", "MininumArchiveSize", 10));
    EXPECT_EQ(TNTestDir::ReadFile(dir / "one/two/a.ini"), "[ArchiveConfiguration]\nMininumArchiveSize=10\n");
}

TEST(CTNProfile, SectionsAndKeysCompareWithoutCase) {
    TNTestDir dir;
    CTNProfile profile(dir.WriteFile("a.ini", "[ErrorLog]\nCTarnovelleException=1\n"));
    EXPECT_EQ(profile.GetProfileInt("errorlog", "ctarnovelleexception", -1), 1);
    EXPECT_TRUE(profile.WriteProfileInt("ERRORLOG", "CTARNOVELLEEXCEPTION", 0));
    EXPECT_EQ(TNTestDir::ReadFile(dir / "a.ini"), "[ErrorLog]\nCTARNOVELLEEXCEPTION=0\n");
}

TEST(CTNProfile, AWriteKeepsEveryOtherLine) {
    TNTestDir dir;
    const std::string original =
        "; settings\r\n[A]\r\nx = 1\r\n\r\n[B]\r\ny=2\r\n; note\r\nz=3\r\n\r\n[C]\r\nw=4\r\n";
    CTNProfile profile(dir.WriteFile("a.ini", original));
    EXPECT_TRUE(profile.WriteProfileString("b", "Y", "20"));
    EXPECT_TRUE(profile.WriteProfileString("B", "new", "n"));
    EXPECT_TRUE(profile.WriteProfileString("D", "d", "v"));
    EXPECT_EQ(TNTestDir::ReadFile(dir / "a.ini"),
              "; settings\r\n[A]\r\nx = 1\r\n\r\n[B]\r\nY=20\r\n; note\r\nz=3\r\nnew=n\n\r\n[C]\r\nw=4\r\n[D]\nd=v\n");
    EXPECT_EQ(profile.GetProfileInt("A", "x", -1), 1);
    EXPECT_EQ(profile.GetProfileInt("C", "w", -1), 4);
    EXPECT_EQ(profile.GetProfileString("B", "new", ""), "n");
}

TEST(CTNProfile, AKeyOfOneSectionIsNotFoundInAnother) {
    TNTestDir dir;
    CTNProfile profile(dir.WriteFile("a.ini", "[A]\nk=1\n[B]\nother=2\n"));
    EXPECT_EQ(profile.GetProfileInt("B", "k", -1), -1);
    EXPECT_EQ(profile.GetProfileString("C", "k", "none"), "none");
}

TEST(CTNProfile, IntegersReadLikeTheOriginalCall) {
    TNTestDir dir;
    CTNProfile profile(dir.WriteFile("a.ini", "[S]\nneg=-3\nlead= 12abc\ntext=abc\nempty=\nquoted=\"7\"\n"));
    EXPECT_EQ(profile.GetProfileInt("S", "neg", -1), -3);
    EXPECT_EQ(profile.GetProfileInt("S", "lead", -1), 12);
    EXPECT_EQ(profile.GetProfileInt("S", "text", -1), 0);
    EXPECT_EQ(profile.GetProfileInt("S", "empty", -1), -1);
    EXPECT_EQ(profile.GetProfileInt("S", "quoted", -1), 7);
}

TEST(CTNProfile, StringsAreTrimmedAndLoseOnePairOfQuotes) {
    TNTestDir dir;
    CTNProfile profile(dir.WriteFile("a.ini", "[S]\n  a  =  some text  \nb='quoted'\nc='half\n"));
    EXPECT_EQ(profile.GetProfileString("S", "a", ""), "some text");
    EXPECT_EQ(profile.GetProfileString("S", "b", ""), "quoted");
    EXPECT_EQ(profile.GetProfileString("S", "c", ""), "'half");
}

TEST(CTNProfile, NegativeIntegersAreWrittenAsSignedNumbers) {
    TNTestDir dir;
    CTNProfile profile(dir / "a.ini");
    EXPECT_TRUE(profile.WriteProfileInt("S", "k", -7));
    EXPECT_EQ(profile.GetProfileInt("S", "k", 0), -7);
    EXPECT_EQ(TNTestDir::ReadFile(dir / "a.ini"), "[S]\nk=-7\n");
}

TEST(CTNProfile, AWriteIntoAnUnwritableDirectoryFails) {
    TNTestDir dir;
    dir.WriteFile("file", "x");
    CTNProfile profile(dir / "file/a.ini");  // a file stands where the directory should be
    EXPECT_FALSE(profile.WriteProfileInt("S", "k", 1));
}

TEST(CTNProfile, ThreadsWritingOneFileLoseNoEntry) {
    TNTestDir dir;
    const std::string path = dir / "a.ini";
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            CTNProfile profile(path);
            for (int i = 0; i < 25; ++i) profile.WriteProfileInt("S" + std::to_string(t), "k" + std::to_string(i), i);
        });
    }
    for (auto& thread : threads) thread.join();
    CTNProfile profile(path);
    for (int t = 0; t < 4; ++t)
        for (int i = 0; i < 25; ++i)
            EXPECT_EQ(profile.GetProfileInt("S" + std::to_string(t), "k" + std::to_string(i), -1), i);
}

TEST(CTNProfile, ProcessesWritingOneFileLoseNoEntry) {
    TNTestDir dir;
    const std::string path = dir / "a.ini";
    auto writer = [path](const char* section) {
        return [path, section](TNChildProcess&) {
            CTNProfile profile(path);
            for (int i = 0; i < 40; ++i)
                if (!profile.WriteProfileInt(section, "k" + std::to_string(i), i)) return 1;
            return 0;
        };
    };
    TNChildProcess first(writer("first"));
    TNChildProcess second(writer("second"));
    EXPECT_EQ(first.Join(), 0);
    EXPECT_EQ(second.Join(), 0);
    CTNProfile profile(path);
    for (int i = 0; i < 40; ++i) {
        EXPECT_EQ(profile.GetProfileInt("first", "k" + std::to_string(i), -1), i);
        EXPECT_EQ(profile.GetProfileInt("second", "k" + std::to_string(i), -1), i);
    }
}

TEST(CTNProfile, ALogFileLiesBesideTheIniFile) {
    EXPECT_EQ(CTNProfile::ReplaceExtension("/a/b/tarnovelle.ini", ".Log"), "/a/b/tarnovelle.Log");
    EXPECT_EQ(CTNProfile::ReplaceExtension("/a.d/settings", ".Log"), "/a.d/settings.Log");
    EXPECT_EQ(CTNProfile::ReplaceExtension("x.y.ini", ".Log"), "x.y.Log");
}

TEST(CTNProfile, TheDefaultPathFollowsTheConfigurationHome) {
    const char* saved = std::getenv("XDG_CONFIG_HOME");
    const std::string keep = saved ? saved : "";
    setenv("XDG_CONFIG_HOME", "/some/where", 1);
    EXPECT_EQ(CTNProfile::GetDefaultPath(), "/some/where/tarnovelle/tarnovelle.ini");
    unsetenv("XDG_CONFIG_HOME");
    const char* home = std::getenv("HOME");
    if (home && *home) {
        EXPECT_EQ(CTNProfile::GetDefaultPath(), std::string(home) + "/.config/tarnovelle/tarnovelle.ini");
    }
    if (saved) setenv("XDG_CONFIG_HOME", keep.c_str(), 1);
}
