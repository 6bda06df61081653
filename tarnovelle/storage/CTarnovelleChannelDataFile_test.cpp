#include "tarnovelle/storage/CTarnovelleChannelDataFile.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <vector>

#include "tarnovelle/support/CFileException.h"
#include "tarnovelle/support/CTNFakeClock.h"
#include "tarnovelle/support/CTarnovelleException.h"
#include "tarnovelle/support/TNLastError.h"
#include "tarnovelle/support/TNPath.h"
#include "tests/support/TNChildProcess.h"
#include "tests/support/TNTestDir.h"

namespace {

GUID TestGuid() {
    GUID g{};
    g.Data1 = 0x01020304u;
    g.Data2 = 0x0506u;
    g.Data3 = 0x0708u;
    for (int i = 0; i < 8; ++i) g.Data4[i] = static_cast<uint8_t>(0x10 + i);
    return g;
}

// Characteristic 0x11, phase 2, value type 3.
const SChannelID kChannel(0x03020011u);

// The 20 header bytes the file must start with (or carry behind a short start).
std::string ExpectedHeader() {
    const uint8_t bytes[20] = {0x04, 0x03, 0x02, 0x01, 0x06, 0x05, 0x08, 0x07, 0x10, 0x11,
                               0x12, 0x13, 0x14, 0x15, 0x16, 0x17, 0x11, 0x00, 0x02, 0x03};
    return std::string(reinterpret_cast<const char*>(bytes), sizeof(bytes));
}

template <typename T>
std::string BytesOf(const std::vector<T>& values) {
    return std::string(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(T));
}

void Append(const std::string& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::app);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

// A record with its time stamp fields set directly.
template <typename T>
T Stamped(uint32_t seconds, uint16_t ms) {
    T record;
    record.dwTime = seconds;
    record.wMilliseconds = ms;
    return record;
}

SEvent Event(uint32_t s, uint16_t ms, float previous, float actual) {
    SEvent e = Stamped<SEvent>(s, ms);
    e.SetPreviousValue(previous);
    e.SetActualValue(actual);
    return e;
}

template <typename T, typename V>
T Binary(uint32_t s, uint16_t ms, V value) {
    T record = Stamped<T>(s, ms);
    record.SetValue(value);
    return record;
}

}  // namespace

TEST(DataFileRecords, SizesAndLayoutAreFixed) {
    EXPECT_EQ(sizeof(SDataFileHeader), 20u);
    EXPECT_EQ(CTarnovelleChannelDataFile::GetRecordSize(FORMAT_DIGIT), 2u);
    EXPECT_EQ(CTarnovelleChannelDataFile::GetRecordSize(FORMAT_EVENT), 14u);
    EXPECT_EQ(CTarnovelleChannelDataFile::GetRecordSize(FORMAT_BINARY_BYTE), 7u);
    EXPECT_EQ(CTarnovelleChannelDataFile::GetRecordSize(FORMAT_FLOAT), 4u);
    EXPECT_EQ(CTarnovelleChannelDataFile::GetRecordSize(FORMAT_BINARY_WORD), 8u);
    EXPECT_EQ(CTarnovelleChannelDataFile::GetRecordSize(FORMAT_BINARY_DWORD), 10u);
    EXPECT_EQ(CTarnovelleChannelDataFile::GetRecordSize(FORMAT_MESSAGE), 256u);
    EXPECT_EQ(CTarnovelleChannelDataFile::GetRecordSize(static_cast<EFormatId>(7)), 0u);
    EXPECT_EQ(sizeof(CTarnovelleChannelDataFile::SDataFormat00), 4u);
    EXPECT_EQ(sizeof(CTarnovelleChannelDataFile::SDataFormat01), 11u);
    CTarnovelleChannelDataFile::SDataFormat01 a, b;
    b.m_dwValue1 = 7;
    b.m_byValue3 = 9;
    a = b;
    EXPECT_EQ(a.m_dwValue1, 7u);
    EXPECT_EQ(a.m_byValue3, 9u);
}

TEST(DataFile, ConstructedWithUndefinedChannelAndNoGuid) {
    CTarnovelleChannelDataFile file;
    EXPECT_EQ(file.GetChannelID().GetDWORD(), 0x00FF0000u);
    EXPECT_EQ(file.GetMeasuringPointGUID(), GUID{});
}

TEST(DataFile, InitTakesGuidAndChannelWithoutTouchingTheDisk) {
    TNTestDir dir;
    CTarnovelleChannelDataFile file;
    EXPECT_EQ(file.Init(dir / "c.Sam", TestGuid(), kChannel), TNE_OK);
    EXPECT_EQ(file.GetMeasuringPointGUID(), TestGuid());
    EXPECT_EQ(file.GetChannelID(), kChannel);
    EXPECT_FALSE(PathExists(dir / "c.Dat"));
}

TEST(DataFile, InitWithUndefinedCharacteristicFails) {
    TNTestDir dir;
    CTarnovelleChannelDataFile file;
    EXPECT_EQ(file.Init(dir / "c.Sam", TestGuid(), SChannelID(0x01020000u)), TNE_FAILED);
    EXPECT_EQ(file.Create(dir / "c.Sam", TestGuid(), SChannelID(0x01020000u)), TNE_FAILED);
    EXPECT_FALSE(PathExists(dir / "c.Dat"));
}

TEST(DataFile, NewFileAfterOneOpenAndCloseHoldsGuidAndChannel) {
    TNTestDir dir;
    CTarnovelleChannelDataFile file;
    ASSERT_EQ(file.Init(dir / "c.Sam", TestGuid(), kChannel), TNE_OK);
    ASSERT_EQ(file.Open(), TNE_OK);
    ASSERT_EQ(file.Close(), TNE_OK);
    EXPECT_EQ(TNTestDir::ReadFile(dir / "c.Dat"), ExpectedHeader());
}

TEST(DataFile, BasePathIsThePathWithoutItsExtension) {
    TNTestDir dir;
    ASSERT_EQ(::mkdir((dir / "a.b").c_str(), 0777), 0);
    CTarnovelleChannelDataFile file;
    ASSERT_EQ(file.Create(dir / "a.b/chan", TestGuid(), kChannel), TNE_OK);  // dot only in a directory
    ASSERT_EQ(file.Close(), TNE_OK);
    EXPECT_TRUE(PathExists(dir / "a.b/chan.Dat"));
    CTarnovelleChannelDataFile other;
    ASSERT_EQ(other.Create(dir / "x.y.Sam", TestGuid(), kChannel), TNE_OK);  // the last dot counts
    ASSERT_EQ(other.Close(), TNE_OK);
    EXPECT_TRUE(PathExists(dir / "x.y.Dat"));
}

TEST(DataFile, CreateReplacesAnExistingFile) {
    TNTestDir dir;
    dir.WriteFile("c.Dat", std::string(100, 'o'));
    CTarnovelleChannelDataFile file;
    ASSERT_EQ(file.Create(dir / "c.Sam", TestGuid(), kChannel), TNE_OK);
    ASSERT_EQ(file.Close(), TNE_OK);
    EXPECT_EQ(TNTestDir::ReadFile(dir / "c.Dat"), ExpectedHeader());
}

TEST(DataFile, OpenKeepsAFileOfAtLeastTwentyBytes) {
    TNTestDir dir;
    const std::string old(20, 'o');
    dir.WriteFile("c.Dat", old);
    CTarnovelleChannelDataFile file;
    ASSERT_EQ(file.Init(dir / "c.Sam", TestGuid(), kChannel), TNE_OK);
    ASSERT_EQ(file.Open(), TNE_OK);
    ASSERT_EQ(file.Close(), TNE_OK);
    EXPECT_EQ(TNTestDir::ReadFile(dir / "c.Dat"), old);
}

TEST(DataFile, FileOfOneToNineteenBytesGetsTheHeaderBehindThem) {
    TNTestDir dir;
    for (size_t n = 1; n < 20; ++n) {
        const std::string start(n, static_cast<char>('a' + n));
        const std::string path = dir.WriteFile("c.Dat", start);
        CTarnovelleChannelDataFile file;
        ASSERT_EQ(file.Init(dir / "c.Sam", TestGuid(), kChannel), TNE_OK);
        ASSERT_EQ(file.Open(), TNE_OK);
        ASSERT_EQ(file.Close(), TNE_OK);
        EXPECT_EQ(TNTestDir::ReadFile(path), start + ExpectedHeader()) << n;
    }
}

TEST(DataFile, OpenWhileOpenAndCloseWhileClosedFail) {
    TNTestDir dir;
    CTarnovelleChannelDataFile file;
    EXPECT_EQ(file.Close(), TNE_FAILED);
    ASSERT_EQ(file.Create(dir / "c.Sam", TestGuid(), kChannel), TNE_OK);
    EXPECT_EQ(file.Open(), TNE_FAILED);
    EXPECT_EQ(file.Close(), TNE_OK);
    EXPECT_EQ(file.Close(), TNE_FAILED);
}

TEST(DataFile, WritesOfEveryFormatLandAtTheEndInOneBlock) {
    TNTestDir dir;
    const std::vector<uint16_t> digits = {1, 0x8000, 0xFFFF};
    const std::vector<SEvent> events = {Event(100, 1, 1.5f, 2.5f), Event(101, 2, -1.0f, 3.0f)};
    const std::vector<SBinary_BYTE> bytes = {Binary<SBinary_BYTE>(200, 0, uint8_t{0xAB})};
    const std::vector<float> floats = {0.25f, -7.5f, 1e10f, 3.0f};
    const std::vector<SBinary_WORD> words = {Binary<SBinary_WORD>(300, 999, uint16_t{0xBEEF}), Binary<SBinary_WORD>(301, 0, uint16_t{1})};
    const std::vector<SBinary_DWORD> dwords = {Binary<SBinary_DWORD>(400, 5, uint32_t{0xDEADBEEFu})};
    const std::vector<SBinary_Text> texts = {Binary<SBinary_Text>(500, 0, "hello"), Binary<SBinary_Text>(501, 0, "")};

    CTarnovelleChannelDataFile file;
    ASSERT_EQ(file.Create(dir / "c.Sam", TestGuid(), kChannel), TNE_OK);
    EXPECT_EQ(file.WriteSampleData(FORMAT_DIGIT, digits.data(), 3), TNE_OK);
    EXPECT_EQ(file.WriteSampleData(FORMAT_EVENT, events.data(), 2), TNE_OK);
    EXPECT_EQ(file.WriteSampleData(FORMAT_BINARY_BYTE, bytes.data(), 1), TNE_OK);
    EXPECT_EQ(file.WriteSampleData(FORMAT_FLOAT, floats.data(), 4), TNE_OK);
    EXPECT_EQ(file.WriteSampleData(FORMAT_BINARY_WORD, words.data(), 2), TNE_OK);
    EXPECT_EQ(file.WriteSampleData(FORMAT_BINARY_DWORD, dwords.data(), 1), TNE_OK);
    EXPECT_EQ(file.WriteSampleData(FORMAT_MESSAGE, texts.data(), 2), TNE_OK);
    ASSERT_EQ(file.Close(), TNE_OK);

    const std::string expected = ExpectedHeader() + BytesOf(digits) + BytesOf(events) + BytesOf(bytes) +
                                 BytesOf(floats) + BytesOf(words) + BytesOf(dwords) + BytesOf(texts);
    EXPECT_EQ(expected.size(), 20u + 3 * 2 + 2 * 14 + 7 + 4 * 4 + 2 * 8 + 10 + 2 * 256);
    EXPECT_EQ(TNTestDir::ReadFile(dir / "c.Dat"), expected);
}

TEST(DataFile, ValuesGoToTheRealEndWhateverIsAlreadyThere) {
    // The samples file would put the next block at 20 + 4; surplus bytes left
    // behind make the real end lie further on, and that is where values go.
    TNTestDir dir;
    const std::vector<float> first = {1.0f};
    const std::vector<float> second = {2.0f, 3.0f};
    CTarnovelleChannelDataFile file;
    ASSERT_EQ(file.Create(dir / "c.Sam", TestGuid(), kChannel), TNE_OK);
    ASSERT_EQ(file.WriteSampleData(FORMAT_FLOAT, first.data(), 1), TNE_OK);
    ASSERT_EQ(file.Close(), TNE_OK);
    Append(dir / "c.Dat", "SURPLUS");
    ASSERT_EQ(file.Open(), TNE_OK);
    ASSERT_EQ(file.WriteSampleData(FORMAT_FLOAT, second.data(), 2), TNE_OK);
    ASSERT_EQ(file.Close(), TNE_OK);
    EXPECT_EQ(TNTestDir::ReadFile(dir / "c.Dat"), ExpectedHeader() + BytesOf(first) + "SURPLUS" + BytesOf(second));
}

TEST(DataFile, CountZeroWritesNothingAndSucceeds) {
    TNTestDir dir;
    CTarnovelleChannelDataFile file;
    ASSERT_EQ(file.Create(dir / "c.Sam", TestGuid(), kChannel), TNE_OK);
    const float value = 1.0f;
    EXPECT_EQ(file.WriteSampleData(FORMAT_FLOAT, &value, 0), TNE_OK);
    EXPECT_EQ(file.WriteSampleData(FORMAT_MESSAGE, static_cast<const SBinary_Text*>(nullptr), 0), TNE_OK);
    ASSERT_EQ(file.Close(), TNE_OK);
    EXPECT_EQ(GetPathFileSize(dir / "c.Dat"), 20u);
}

TEST(DataFile, WrongFormatForTheFormFailsAndWritesNothing) {
    TNTestDir dir;
    CTarnovelleChannelDataFile file;
    ASSERT_EQ(file.Create(dir / "c.Sam", TestGuid(), kChannel), TNE_OK);
    const float f = 1.0f;
    const uint16_t d = 1;
    const SEvent e;
    const SBinary_BYTE b;
    const SBinary_WORD w;
    const SBinary_DWORD dw;
    const SBinary_Text t;
    EXPECT_EQ(file.WriteSampleData(FORMAT_DIGIT, &f, 1), TNE_FAILED);
    EXPECT_EQ(file.WriteSampleData(FORMAT_FLOAT, &d, 1), TNE_FAILED);
    EXPECT_EQ(file.WriteSampleData(FORMAT_BINARY_BYTE, &e, 1), TNE_FAILED);
    EXPECT_EQ(file.WriteSampleData(FORMAT_EVENT, &b, 1), TNE_FAILED);
    EXPECT_EQ(file.WriteSampleData(FORMAT_BINARY_DWORD, &w, 1), TNE_FAILED);
    EXPECT_EQ(file.WriteSampleData(FORMAT_BINARY_WORD, &dw, 1), TNE_FAILED);
    EXPECT_EQ(file.WriteSampleData(static_cast<EFormatId>(7), &t, 1), TNE_FAILED);
    ASSERT_EQ(file.Close(), TNE_OK);
    EXPECT_EQ(GetPathFileSize(dir / "c.Dat"), 20u);
}

TEST(DataFile, WriteWithoutOpenFileOrWithUndefinedChannelFails) {
    TNTestDir dir;
    const float f = 1.0f;
    CTarnovelleChannelDataFile closed;
    ASSERT_EQ(closed.Init(dir / "c.Sam", TestGuid(), kChannel), TNE_OK);
    EXPECT_EQ(closed.WriteSampleData(FORMAT_FLOAT, &f, 1), TNE_FAILED);
    EXPECT_FALSE(PathExists(dir / "c.Dat"));

    CTarnovelleChannelDataFile undefined;
    EXPECT_EQ(undefined.Init(dir / "u.Sam", TestGuid(), SChannelID(0x00FF0000u)), TNE_FAILED);
    ASSERT_EQ(undefined.Open(), TNE_OK);  // Open itself does not look at the channel
    EXPECT_EQ(undefined.WriteSampleData(FORMAT_FLOAT, &f, 1), TNE_FAILED);
    ASSERT_EQ(undefined.Close(), TNE_OK);
    EXPECT_EQ(GetPathFileSize(dir / "u.Dat"), 20u);
}

TEST(DataFile, MissingValuesForAPositiveCountFail) {
    TNTestDir dir;
    CTarnovelleChannelDataFile file;
    ASSERT_EQ(file.Create(dir / "c.Sam", TestGuid(), kChannel), TNE_OK);
    EXPECT_EQ(file.WriteSampleData(FORMAT_FLOAT, static_cast<const float*>(nullptr), 3), TNE_FAILED);
    EXPECT_EQ(file.WriteSampleData(FORMAT_MESSAGE, reinterpret_cast<const SBinary_Text*>(&file), 0x01000000u),
              TNE_FAILED);  // 4 GiB: more than one write can carry
    ASSERT_EQ(file.Close(), TNE_OK);
    EXPECT_EQ(GetPathFileSize(dir / "c.Dat"), 20u);
}

TEST(DataFile, TextOfExactly250BytesIsStoredWithoutZeroByte) {
    TNTestDir dir;
    const SBinary_Text text = Binary<SBinary_Text>(7, 8, std::string(250, 'T'));
    CTarnovelleChannelDataFile file;
    ASSERT_EQ(file.Create(dir / "c.Sam", TestGuid(), kChannel), TNE_OK);
    ASSERT_EQ(file.WriteSampleData(FORMAT_MESSAGE, &text, 1), TNE_OK);
    ASSERT_EQ(file.Close(), TNE_OK);
    const std::string data = TNTestDir::ReadFile(dir / "c.Dat");
    ASSERT_EQ(data.size(), 20u + 256u);
    EXPECT_EQ(data.substr(20, 6), std::string("\x07\0\0\0\x08\0", 6));
    EXPECT_EQ(data.substr(26), std::string(250, 'T'));
}

TEST(DataFile, TextOf300BytesIsStoredAsItsFirst250) {
    TNTestDir dir;
    std::string long_text;
    for (int i = 0; i < 300; ++i) long_text.push_back(static_cast<char>('a' + i % 26));
    const SBinary_Text text = Binary<SBinary_Text>(1, 0, long_text);
    CTarnovelleChannelDataFile file;
    ASSERT_EQ(file.Create(dir / "c.Sam", TestGuid(), kChannel), TNE_OK);
    ASSERT_EQ(file.WriteSampleData(FORMAT_MESSAGE, &text, 1), TNE_OK);
    ASSERT_EQ(file.Close(), TNE_OK);
    const std::string data = TNTestDir::ReadFile(dir / "c.Dat");
    ASSERT_EQ(data.size(), 276u);
    EXPECT_EQ(data.substr(26), long_text.substr(0, 250));
}

TEST(DataFile, FileIsHeldExclusivelyBetweenOpenAndClose) {
    TNTestDir dir;
    CTarnovelleChannelDataFile file;
    ASSERT_EQ(file.Create(dir / "c.Sam", TestGuid(), kChannel), TNE_OK);
    CTNFile other;
    EXPECT_FALSE(other.Open((dir / "c.Dat").c_str(), CTNFile::modeRead | CTNFile::shareDenyWrite));
    EXPECT_EQ(DeleteFilePath(dir / "c.Dat"), -1);
    ASSERT_EQ(file.Close(), TNE_OK);
    EXPECT_TRUE(other.Open((dir / "c.Dat").c_str(), CTNFile::modeRead | CTNFile::shareDenyWrite));
}

TEST(DataFile, DestructorClosesAHeldFile) {
    TNTestDir dir;
    {
        CTarnovelleChannelDataFile file;
        ASSERT_EQ(file.Create(dir / "c.Sam", TestGuid(), kChannel), TNE_OK);
        const float f = 4.0f;
        ASSERT_EQ(file.WriteSampleData(FORMAT_FLOAT, &f, 1), TNE_OK);
    }
    EXPECT_EQ(GetPathFileSize(dir / "c.Dat"), 24u);
    EXPECT_EQ(DeleteFilePath(dir / "c.Dat"), 0);
}

TEST(DataFile, OpenThatTimesOutThrowsTheFileServiceException) {
    TNTestDir dir;
    CTNFakeClock clock;
    CTNScopedClock scoped(&clock);
    CTarnovelleChannelDataFile file;
    ASSERT_EQ(file.Init(dir / "missing/c.Sam", TestGuid(), kChannel), TNE_OK);
    TNSetLastError(0);
    try {
        file.Open();
        FAIL() << "no exception";
    } catch (const CFileException& e) {
        EXPECT_NE(TNGetLastError(), 0u);
        EXPECT_EQ(static_cast<uint32_t>(e.m_lOsError), TNGetLastError());
        EXPECT_EQ(e.m_strFileName, dir / "missing/c.Dat");
    }
    EXPECT_EQ(clock.GetSleeps().size(), 240u);
    // Nothing is held afterwards: a second Open tries again instead of failing at once.
    clock.ClearSleeps();
    EXPECT_THROW(file.Open(), CFileException);
    EXPECT_EQ(clock.GetSleeps().size(), 240u);
    EXPECT_EQ(file.Close(), TNE_FAILED);
}

TEST(DataFile, FailedHeaderWriteLeavesNoFileBehind) {
    // A file-size limit makes the header write fail; the file, which held
    // five bytes of data before, must be gone afterwards.
    TNTestDir dir;
    const std::string path = dir.WriteFile("c.Dat", "12345");
    TNChildProcess child([&](TNChildProcess&) {
        ::signal(SIGXFSZ, SIG_IGN);
        struct rlimit limit {10, 10};
        if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) return 2;
        CTarnovelleChannelDataFile file;
        if (file.Init(dir / "c.Sam", TestGuid(), kChannel) != TNE_OK) return 3;
        try {
            file.Open();
        } catch (const CTarnovelleException&) {
            return file.Close() == TNE_FAILED ? 0 : 4;
        } catch (...) {
            return 5;
        }
        return 6;
    });
    EXPECT_EQ(child.Join(), 0);
    EXPECT_FALSE(PathExists(path));
}

TEST(DataFile, AfterACrashTheFileKeepsItsSurplusAndValuesGoBehindIt) {
    // A writer dies between WriteSampleData and Close: its file stays held
    // until the process is gone, then it can be opened again; nothing is cut
    // back and what the old block headers describe is unchanged.
    TNTestDir dir;
    const std::vector<float> before = {1.0f, 2.0f};
    {
        CTarnovelleChannelDataFile file;
        ASSERT_EQ(file.Create(dir / "c.Sam", TestGuid(), kChannel), TNE_OK);
        ASSERT_EQ(file.WriteSampleData(FORMAT_FLOAT, before.data(), 2), TNE_OK);
        ASSERT_EQ(file.Close(), TNE_OK);
    }
    const std::vector<float> lost = {9.0f, 9.5f, 10.0f};
    TNChildProcess child([&](TNChildProcess& self) {
        CTarnovelleChannelDataFile file;
        file.Init(dir / "c.Sam", TestGuid(), kChannel);
        if (file.Open() != TNE_OK || file.WriteSampleData(FORMAT_FLOAT, lost.data(), 3) != TNE_OK) return 1;
        self.SignalParent();
        for (;;) ::pause();
    });
    ASSERT_TRUE(child.WaitForChild());
    EXPECT_EQ(DeleteFilePath(dir / "c.Dat"), -1);  // a live writer holds it
    child.Kill();

    const std::string afterCrash = TNTestDir::ReadFile(dir / "c.Dat");
    EXPECT_EQ(afterCrash, ExpectedHeader() + BytesOf(before) + BytesOf(lost));
    const std::vector<float> next = {3.0f};
    CTarnovelleChannelDataFile file;
    ASSERT_EQ(file.Init(dir / "c.Sam", TestGuid(), kChannel), TNE_OK);
    ASSERT_EQ(file.Open(), TNE_OK);
    ASSERT_EQ(file.WriteSampleData(FORMAT_FLOAT, next.data(), 1), TNE_OK);
    ASSERT_EQ(file.Close(), TNE_OK);
    const std::string data = TNTestDir::ReadFile(dir / "c.Dat");
    EXPECT_EQ(data, afterCrash + BytesOf(next));
    EXPECT_EQ(data.substr(20, 8), BytesOf(before));  // the old block reads as before
}

TEST(DataFile, FileLeftByAKilledWriterCanBeDeleted) {
    TNTestDir dir;
    TNChildProcess child([&](TNChildProcess& self) {
        CTarnovelleChannelDataFile file;
        if (file.Create(dir / "c.Sam", TestGuid(), kChannel) != TNE_OK) return 1;
        self.SignalParent();
        for (;;) ::pause();
    });
    ASSERT_TRUE(child.WaitForChild());
    EXPECT_EQ(DeleteFilePath(dir / "c.Dat"), -1);
    EXPECT_TRUE(PathExists(dir / "c.Dat"));
    child.Kill();
    EXPECT_EQ(DeleteFilePath(dir / "c.Dat"), 0);
    EXPECT_FALSE(PathExists(dir / "c.Dat"));
}
