// One channel shared by two processes: a writer's cycle holds both files
// exclusively, so a reader in another process waits in the open retry loop and
// never sees a block half written or half rewritten.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "tarnovelle/storage/CTarnovelleChannel.h"
#include "tarnovelle/support/CTNFakeClock.h"
#include "tarnovelle/support/TNGuid.h"
#include "tarnovelle/values/STarnovelleTimeStampInMsec.h"
#include "tests/support/TNChildProcess.h"
#include "tests/support/TNHookedClock.h"
#include "tests/support/TNTestDir.h"

namespace {

GUID TestGuid() {
    GUID g{};
    g.Data1 = 0x11223344u;
    g.Data2 = 0x5566u;
    g.Data3 = 0x7788u;
    for (int i = 0; i < 8; ++i) g.Data4[i] = static_cast<uint8_t>(i + 1);
    return g;
}

const SChannelID kMean(static_cast<ECharacteristicType>(0x42), static_cast<EPhase>(3), MVT_MEAN);

CTNUTCTimeStamp TS(uint32_t seconds) { return STarnovelleTimeStampInMsec(seconds, 0).GetUTCTimeStamp(); }

std::string SamplesPath(const std::string& root) {
    char name[16];
    std::snprintf(name, sizeof(name), "%08lx", static_cast<unsigned long>(kMean.GetDWORD()));
    return root + "/" + GuidToString(TestGuid()) + "/" + name + ".Sam";
}

// The fake clock whose sleeps really pass, 250 times faster: retry loops
// give the other process time to finish without taking minutes.
class FastRealClock : public CTNFakeClock {
public:
    void Sleep(uint32_t milliseconds) override {
        CTNFakeClock::Sleep(milliseconds);
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds / 250));
    }
};

void MakeChannelWithOneBlock(const std::string& root, const std::vector<float>& values) {
    CTarnovelleChannel channel;
    ASSERT_EQ(channel.Create(root, TestGuid(), kMean, "", 0, 0, 0, 0), TNE_OK);
    ASSERT_EQ(channel.WriteBeginSampleFloat(TS(100), TS(110), 0), TNE_OK);
    ASSERT_EQ(channel.WriteSampleData(values.data(), static_cast<uint32_t>(values.size())), TNE_OK);
    ASSERT_EQ(channel.Close(), TNE_OK);
}

TEST(ChannelProcesses, ReadingDuringAnotherProcessesWriteCycleWaitsThenSucceeds) {
    TNTestDir dir;
    MakeChannelWithOneBlock(dir.Path(), {1.0f, 2.0f, 3.0f});
    CTarnovelleChannel reader;
    ASSERT_EQ(reader.Init(SamplesPath(dir.Path())), TNE_OK);

    TNChildProcess writer([&](TNChildProcess& self) {
        try {
            CTarnovelleChannel channel;
            if (channel.Init(SamplesPath(dir.Path())) != TNE_OK) return 1;
            if (channel.Open() != TNE_OK) return 2;
            const float values[2] = {7.0f, 8.0f};
            if (channel.WriteBeginSampleFloat(TS(200), TS(210), 2) != TNE_OK) return 3;
            if (channel.WriteSampleData(values, 2) != TNE_OK) return 4;
            self.SignalParent();  // the cycle is held
            if (!self.WaitForParent()) return 5;
            if (channel.Close() != TNE_OK) return 6;
            self.SignalParent();  // the cycle is over
            return 0;
        } catch (...) {
            return 7;
        }
    });
    ASSERT_TRUE(writer.WaitForChild());

    // While the reader sleeps in its first retry, the writer ends its cycle.
    bool released = false;
    TNHookedClock clock([&] {
        if (released) return;
        released = true;
        writer.SignalChild();
        writer.WaitForChild();
    });
    CTNScopedClock scoped(&clock);
    float* values = nullptr;
    uint32_t count = 0;
    ASSERT_EQ(reader.GetArray(0, values, count), TNE_OK);
    EXPECT_EQ(clock.GetSleeps(), std::vector<uint32_t>{500});
    ASSERT_EQ(count, 3u);
    EXPECT_EQ(values[0], 1.0f);
    EXPECT_EQ(values[2], 3.0f);
    delete[] values;
    EXPECT_EQ(writer.Join(), 0);

    reader.Refresh();
    ASSERT_EQ(reader.GetBlockCount(), 2);
    ASSERT_EQ(reader.GetArray(1, values, count), TNE_OK);
    ASSERT_EQ(count, 2u);
    EXPECT_EQ(values[0], 7.0f);
    EXPECT_EQ(values[1], 8.0f);
    delete[] values;
}

TEST(ChannelProcesses, AReaderNeverSeesATornBlockWhileAnotherProcessWritesAndRewrites) {
    constexpr int kCycles = 60;
    constexpr uint32_t kValues = 20000;  // 80 KB a block: a torn read would show
    TNTestDir dir;
    MakeChannelWithOneBlock(dir.Path(), std::vector<float>(kValues, 0.5f));
    FastRealClock clock;
    CTNScopedClock scoped(&clock);

    // Cycle k writes block k (values k, in two writes) and afterwards
    // rewrites block k-1 in place with values k-1 + 0.5.
    TNChildProcess writer([&](TNChildProcess&) {
        try {
            CTarnovelleChannel channel;
            if (channel.Init(SamplesPath(dir.Path())) != TNE_OK) return 1;
            std::vector<float> values(kValues);
            for (int k = 1; k < kCycles; ++k) {
                if (channel.Open() != TNE_OK) return 2;
                std::fill(values.begin(), values.end(), static_cast<float>(k));
                if (channel.WriteBeginSampleFloat(TS(100 + 100 * k), TS(150 + 100 * k), kValues) != TNE_OK) return 3;
                if (channel.WriteSampleData(values.data(), kValues / 2) != TNE_OK) return 4;
                if (channel.WriteSampleData(values.data() + kValues / 2, kValues / 2) != TNE_OK) return 4;
                if (channel.Close() != TNE_OK) return 5;
                std::fill(values.begin(), values.end(), static_cast<float>(k - 1) + 0.5f);
                if (channel.UpdateArray(k - 1, values.data()) != TNE_OK) return 6;
                // Paced, so that the reader's passes fall between and into the cycles.
                std::this_thread::sleep_for(std::chrono::milliseconds(3));
            }
            return 0;
        } catch (...) {
            return 7;
        }
    });

    CTarnovelleChannel reader;
    ASSERT_EQ(reader.Init(SamplesPath(dir.Path())), TNE_OK);
    int torn = 0;
    int passes = 0;
    int blocksSeen = 0;
    const auto readAll = [&] {
        reader.Refresh();
        for (int32_t i = 0; i < reader.GetBlockCount(); ++i) {
            float* values = nullptr;
            uint32_t count = 0;
            if (reader.GetArray(i, values, count) != TNE_OK || count != kValues) {
                ++torn;
                delete[] values;
                continue;
            }
            const float first = values[0];
            const bool known = first == static_cast<float>(i) || first == static_cast<float>(i) + 0.5f;
            bool same = true;
            for (uint32_t j = 1; j < count && same; ++j) same = values[j] == first;
            if (!known || !same) ++torn;
            delete[] values;
        }
        blocksSeen = reader.GetBlockCount();
        ++passes;
    };
    // Bounded, so that a writer that gave up doesn't keep the test running.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(120);
    while (blocksSeen < kCycles && std::chrono::steady_clock::now() < deadline) readAll();
    EXPECT_EQ(writer.Join(), 0);
    readAll();
    EXPECT_EQ(torn, 0);
    EXPECT_GT(passes, 1);

    // All rewrites done: every block but the last holds its value + 0.5.
    for (int32_t i = 0; i < kCycles; ++i) {
        float* values = nullptr;
        uint32_t count = 0;
        ASSERT_EQ(reader.GetArray(i, values, count), TNE_OK);
        const float expected = i + 1 < kCycles ? static_cast<float>(i) + 0.5f : static_cast<float>(i);
        EXPECT_EQ(values[0], expected) << i;
        EXPECT_EQ(values[count - 1], expected) << i;
        delete[] values;
    }
}

}  // namespace
