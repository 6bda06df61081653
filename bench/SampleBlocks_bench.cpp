// Saving and reading sample blocks of 1, 200 and 100,000 float values through
// a real channel in a temporary folder.
//   BM_SaveBlock:        one write cycle (Open, Save, Close) per block, as the
//                        archive stores; consecutive blocks extend one block.
//   BM_ReadWholeBlock:   CTarnovelleSample::Init of a whole block.
//   BM_ReadCroppedBlock: the time-range form with includePrevious, from a
//                        quarter second in to a quarter before the end: the
//                        whole block is read and all but its edges copied.
#include <benchmark/benchmark.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "tarnovelle/storage/CTarnovelleChannel.h"
#include "tarnovelle/storage/CTarnovelleSample.h"
#include "tests/support/TNTestDir.h"

namespace {

const GUID kPoint = {0xBE0C0001, 0x0001, 0x0002, {1, 2, 3, 4, 5, 6, 7, 8}};
const SChannelID kMeans(CT_VOLTAGE, PH_L1, MVT_MEAN);
// Data files are started afresh once they pass this size.
constexpr uint64_t kRestartBytes = 256u << 20;

CTNUTCTimeStamp Start() { return CTNUTCTimeStamp::CreateUTCTimeStamp2000(); }

void CreateChannel(const TNTestDir& folder, CTarnovelleChannel& channel) {
    if (channel.Create(folder.Path(), kPoint, kMeans, "bench", 1, 0, 0, 0) != TNE_OK || channel.Close() != TNE_OK)
        throw std::runtime_error("channel not created");
}

void BM_SaveBlock(benchmark::State& state) {
    const uint32_t count = static_cast<uint32_t>(state.range(0));
    const std::vector<float> values(count, 230.0f);
    TNTestDir folder;
    CTarnovelleChannel channel;
    CreateChannel(folder, channel);
    CTNUTCTimeStamp start = Start();
    uint64_t written = 0;
    for (auto _ : state) {
        // Each block starts where the last ended, one second a value.
        CTarnovelleSample sample(start, CTNMSecTimeSpan(1, 0), count, values.data());
        if (channel.Open() != TNE_OK || sample.Save(channel) != TNE_OK || channel.Close() != TNE_OK) {
            state.SkipWithError("save failed");
            break;
        }
        start = sample.GetEndTime();
        written += static_cast<uint64_t>(count) * sizeof(float);
        if (written > kRestartBytes) {
            state.PauseTiming();
            folder.Clear();
            CreateChannel(folder, channel);
            start = Start();
            written = 0;
            state.ResumeTiming();
        }
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * count);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * count * 4);
}

// A channel holding one block of `count` values, for the reading benchmarks.
void PrepareBlock(const TNTestDir& folder, CTarnovelleChannel& channel, uint32_t count) {
    const std::vector<float> values(count, 230.0f);
    CTarnovelleChannel writer;
    CTarnovelleSample sample(Start(), CTNMSecTimeSpan(1, 0), count, values.data());
    if (writer.Create(folder.Path(), kPoint, kMeans, "bench", 1, 0, 0, 0) != TNE_OK || sample.Save(writer) != TNE_OK ||
        writer.Close() != TNE_OK ||
        channel.Init(folder.Path(), kPoint, kMeans, "bench", 1, 0, 0, 0) != TNE_OK)
        throw std::runtime_error("block not prepared");
}

void BM_ReadWholeBlock(benchmark::State& state) {
    const uint32_t count = static_cast<uint32_t>(state.range(0));
    TNTestDir folder;
    CTarnovelleChannel channel;
    PrepareBlock(folder, channel, count);
    for (auto _ : state) {
        CTarnovelleSample sample;
        if (sample.Init(channel, 0) != TNE_OK || sample.GetNrOfValues() != count) {
            state.SkipWithError("read failed");
            break;
        }
        benchmark::DoNotOptimize(sample.GetFLOATArray());
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * count);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * count * 4);
}

void BM_ReadCroppedBlock(benchmark::State& state) {
    const uint32_t count = static_cast<uint32_t>(state.range(0));
    TNTestDir folder;
    CTarnovelleChannel channel;
    PrepareBlock(folder, channel, count);
    // A quarter of a second into the first value to a quarter before the end.
    const CTNUTCTimeStamp from = Start() + CTNMSecTimeSpan(0, 250);
    const CTNUTCTimeStamp to = Start() + CTNMSecTimeSpan(count - 1, 750);
    for (auto _ : state) {
        CTarnovelleSample sample;
        if (sample.Init(channel, 0, from, to, true) != TNE_OK) {
            state.SkipWithError("read failed");
            break;
        }
        benchmark::DoNotOptimize(sample.GetFLOATArray());
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * count);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * count * 4);
}

}  // namespace

BENCHMARK(BM_SaveBlock)->Arg(1)->Arg(200)->Arg(100000);
BENCHMARK(BM_ReadWholeBlock)->Arg(1)->Arg(200)->Arg(100000);
BENCHMARK(BM_ReadCroppedBlock)->Arg(1)->Arg(200)->Arg(100000);
