// The channel on the storing and reading paths: one write cycle that appends
// a block of float values (open both files, append, write the header, close),
// and a reader's GetArray of a whole block, as floats and as digits converted
// to floats.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "tarnovelle/storage/CTarnovelleChannel.h"
#include "tests/support/TNTestDir.h"

namespace {

const GUID kGuid = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
const SChannelID kMean(0x03010001u);

CTNUTCTimeStamp At(uint32_t seconds) { return CTNUTCTimeStamp::CreateUTCTimeStamp2000() + CTNMSecTimeSpan(seconds, 0); }

void BM_WriteCycleOfOneFloatBlock(benchmark::State& state) {
    const uint32_t count = static_cast<uint32_t>(state.range(0));
    TNTestDir dir;
    CTarnovelleChannel channel;
    channel.Create(dir.Path(), kGuid, kMean, "", 0, 0, 0, 0);
    channel.Close();
    std::vector<float> values(count, 1.5f);
    uint32_t second = 0;
    for (auto _ : state) {
        channel.Open();
        // A gap before each block: every cycle makes a new one.
        channel.WriteBeginSampleFloat(At(second), At(second + count), count);
        channel.WriteSampleData(values.data(), count);
        channel.Close();
        second += count + 10;
    }
    state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(BM_WriteCycleOfOneFloatBlock)->Arg(1)->Arg(600)->Arg(86400);

void BM_GetArray(benchmark::State& state, bool digits) {
    const uint32_t count = static_cast<uint32_t>(state.range(0));
    TNTestDir dir;
    CTarnovelleChannel channel;
    channel.Create(dir.Path(), kGuid, kMean, "", 0, 0, 0, 0);
    if (digits) {
        std::vector<unsigned short> values(count, 1234);
        channel.WriteBeginSampleDigit(At(0), At(count), 0.5f, 0.01f, count);
        channel.WriteSampleData(values.data(), count);
    } else {
        std::vector<float> values(count, 1.5f);
        channel.WriteBeginSampleFloat(At(0), At(count), count);
        channel.WriteSampleData(values.data(), count);
    }
    channel.Close();
    for (auto _ : state) {
        float* out = nullptr;
        uint32_t n = 0;
        channel.GetArray(0, out, n);
        benchmark::DoNotOptimize(out);
        delete[] out;
    }
    state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK_CAPTURE(BM_GetArray, Float, false)->Arg(600)->Arg(86400);
BENCHMARK_CAPTURE(BM_GetArray, DigitToFloat, true)->Arg(600)->Arg(86400);

}  // namespace

BENCHMARK_MAIN();
