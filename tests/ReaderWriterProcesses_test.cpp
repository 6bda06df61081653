// A reader process follows a writer process that stores through the writer
// family into a ring of small folders, which it fills, wipes and wraps round
// several times. Every value the writer stores is its own time
// offset, so a reader can tell a value that was never written (or a block
// whose count ran ahead of its values) from one that was, and can tell a
// value that comes twice.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tarnovelle/interfaces/ITNVLManager.h"
#include "tarnovelle/interfaces/ITNVLReader.h"
#include "tarnovelle/interfaces/ITNVLWriter.h"
#include "tarnovelle/support/CTNNotifyQueue.h"
#include "tarnovelle/values/STarnovelleTimeStampInMsec.h"
#include "tests/support/TNChildProcess.h"
#include "tests/support/TNTestDir.h"

namespace {

constexpr GUID kPoint = {0x7E57F00D, 0x1, 0x2, {3, 4, 5, 6, 7, 8, 9, 10}};
const SChannelID kMean(static_cast<ECharacteristicType>(0x21), static_cast<EPhase>(1), MVT_MEAN);
constexpr uint32_t kStart = 1000000;
constexpr uint32_t kBlock = 2000;   // values a block, one second apart
constexpr uint32_t kBlocks = 600;   // 1.2 million values, 4.8 MB: the ring of 3 MB wraps
constexpr int kReadRounds = 40;

CTNUTCTimeStamp At(uint32_t seconds) { return STarnovelleTimeStampInMsec(seconds, 0).GetUTCTimeStamp(); }

// Checks one read: every value is its own time offset, and no time comes twice.
std::string CheckRead(const CTarnovelleSample* samples, uint32_t count, size_t& values) {
    std::set<uint32_t> seen;
    values = 0;
    for (uint32_t s = 0; s < count; ++s) {
        const CTarnovelleSample& sample = samples[s];
        const uint32_t first = sample.GetStartTime().GetSecondsSince1970();
        const float* data = sample.GetFLOATArray();
        for (uint32_t i = 0; i < sample.GetNrOfValues(); ++i) {
            const uint32_t time = first + i;
            if (data[i] != static_cast<float>(time - kStart))
                return "value " + std::to_string(data[i]) + " at " + std::to_string(time) + " was never written";
            if (!seen.insert(time).second) return "time " + std::to_string(time) + " came twice";
            ++values;
        }
    }
    return std::string();
}

}  // namespace

TEST(ReaderWriterProcesses, AReaderFollowsARingWriterAndSeesOnlyWrittenValuesOnce) {
    TNTestDir dir;
    const std::string project = dir / "Ring.TNArch";
    {
        CTarnovelleArchive* setup = ITNVLMCreateInstance();
        ITNVLMInitInstance(setup, project.c_str());
        ITNVLMSetRoundTripArchive(setup, 1);
        for (const char* name : {"TNArch01", "TNArch02", "TNArch03"}) {
            CTarnovelleArchiveFolder* folder = nullptr;
            ITNVLMAddArchive(setup, (dir / name).c_str(), TNARCHIVE_MODE_MAXIMAL, 1, &folder);
        }
        ITNVLMSerialize_1(setup, 1, nullptr);
        ITNVLMDestroyInstance(setup);
    }
    TNChildProcess writer([&](TNChildProcess& self) {
        CTarnovelleArchive* archive = ITNVLWCreateInstance();
        if (ITNVLWInitInstance(archive, project.c_str()) != TNE_OK) return 1;
        CTNNotifyQueue sink;
        if (ITNVLWSetArchiveLock(archive, 1, &sink, 0x8000) != TNE_OK) return 2;
        self.SignalParent();
        std::vector<float> values(kBlock);
        for (uint32_t block = 0; block < kBlocks; ++block) {
            const uint32_t start = kStart + block * kBlock;
            for (uint32_t i = 0; i < kBlock; ++i) values[i] = static_cast<float>(start - kStart + i);
            CTarnovelleSampleArray samples;
            samples.Add(new CTarnovelleSample(At(start), At(start + kBlock), kBlock, values.data()));
            ITNVLWAddSample(archive, kPoint, kMean, samples);
        }
        ITNVLWSetArchiveLock(archive, 0, nullptr, 0);
        CTNNotifyQueue::SNotification stopped{};
        while (sink.Poll(stopped)) {
            if (stopped.lParam == TNMSG_ARCHIVING_STOPPED) return 3;
        }
        ITNVLWDestroyInstance(archive);
        return 0;
    });
    ASSERT_TRUE(writer.WaitForChild(30000));
    CTarnovelleArchive* reader = ITNVLRCreateInstance();
    ASSERT_EQ(ITNVLRInitInstance(reader, project.c_str()), TNE_OK);
    size_t mostValues = 0;
    for (int round = 0; round < kReadRounds; ++round) {
        ITNVLRRefresh(reader);
        CTarnovelleSample* samples = nullptr;
        uint32_t count = 0;
        const ETarnovelleErrors result =
            ITNVLRGetSamples(reader, kPoint, kMean, At(kStart), At(kStart + kBlock * kBlocks), samples, count);
        if (result == TNE_FAILED) {
            // The point is not in the project's folders yet.
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            continue;
        }
        ASSERT_EQ(result, TNE_OK) << "round " << round;
        size_t values = 0;
        const std::string problem = CheckRead(samples, count, values);
        delete[] samples;
        ASSERT_TRUE(problem.empty()) << "round " << round << ": " << problem;
        mostValues = std::max(mostValues, values);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    EXPECT_EQ(writer.Join(), 0);
    // At the end the ring holds what its three folders of 1 MB could keep.
    ITNVLRRefresh(reader);
    CTarnovelleSample* samples = nullptr;
    uint32_t count = 0;
    ASSERT_EQ(ITNVLRGetSamples(reader, kPoint, kMean, At(kStart), At(kStart + kBlock * kBlocks), samples, count),
              TNE_OK);
    size_t values = 0;
    EXPECT_EQ(CheckRead(samples, count, values), "");
    delete[] samples;
    EXPECT_GT(values, 0u);
    EXPECT_LT(values, static_cast<size_t>(kBlock) * kBlocks);  // the ring discarded the oldest
    ITNVLRDestroyInstance(reader);
}
