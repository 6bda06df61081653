// The samples file on the storing path: one write cycle that extends the last
// block of a channel with many blocks (reads the whole list, rewrites one
// header), and a reader's Init of the same file.
#include <benchmark/benchmark.h>

#include <string>

#include "tarnovelle/storage/CTarnovelleChannelSamplesFile.h"
#include "tests/support/TNTestDir.h"

namespace {

CTNUTCTimeStamp At(uint32_t seconds) { return CTNUTCTimeStamp::CreateUTCTimeStamp2000() + CTNMSecTimeSpan(seconds, 0); }

// A mean channel with `blocks` blocks, one minute each, a gap between them.
std::string MakeChannel(const TNTestDir& dir, int blocks) {
    const std::string base = dir / "03010001";
    const GUID guid = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
    CTarnovelleChannelSamplesFile file;
    file.Create(base.c_str(), guid, SChannelID(0x03010001u), "", 0, 0, 0, 0);
    for (int i = 0; i < blocks; ++i) {
        file.SelectLastOrCreateNewFloatDigitSample(FORMAT_FLOAT, At(i * 120), At(i * 120 + 60), 0.f, 0.f);
        file.IncreaseSampleDataCount(60);
    }
    file.Close();
    return base;
}

void BM_WriteCycleExtendingTheLastBlock(benchmark::State& state) {
    TNTestDir dir;
    const std::string base = MakeChannel(dir, static_cast<int>(state.range(0)));
    CTarnovelleChannelSamplesFile file;
    file.Init(base.c_str());
    uint32_t end = static_cast<uint32_t>(state.range(0) - 1) * 120 + 60;
    for (auto _ : state) {
        file.Open();
        file.SelectLastOrCreateNewFloatDigitSample(FORMAT_FLOAT, At(end), At(end + 1), 0.f, 0.f);
        file.IncreaseSampleDataCount(1);
        file.Close();
        ++end;
    }
}
BENCHMARK(BM_WriteCycleExtendingTheLastBlock)->Arg(10)->Arg(10000);

void BM_ReaderInit(benchmark::State& state) {
    TNTestDir dir;
    const std::string base = MakeChannel(dir, static_cast<int>(state.range(0)));
    for (auto _ : state) {
        CTarnovelleChannelSamplesFile file;
        benchmark::DoNotOptimize(file.Init(base.c_str()));
    }
}
BENCHMARK(BM_ReaderInit)->Arg(10)->Arg(10000);

}  // namespace

BENCHMARK_MAIN();
