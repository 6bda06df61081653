// Cost of the time arithmetic that sits in every sample's path: the clamping
// addition, the interval count (ordinary and wrapped remainders) and Format.
#include <benchmark/benchmark.h>

#include "tarnovelle/values/CTNUTCTimeStamp.h"
#include "tarnovelle/values/STarnovelleTimeStampInMsec.h"

static void BM_StampPlusSpan(benchmark::State& state) {
    CTNUTCTimeStamp stamp = CTNUTCTimeStamp::CreateUTCTimeStamp2000();
    const CTNMSecTimeSpan step(1, 250);
    for (auto _ : state) {
        stamp = stamp + step;
        benchmark::DoNotOptimize(stamp);
    }
}
BENCHMARK(BM_StampPlusSpan);

static void BM_RecordToStamp(benchmark::State& state) {
    STarnovelleTimeStampInMsec record(946684800u, 500);
    for (auto _ : state) {
        benchmark::DoNotOptimize(record);
        CTNUTCTimeStamp stamp = record.GetUTCTimeStamp();
        benchmark::DoNotOptimize(stamp);
    }
}
BENCHMARK(BM_RecordToStamp);

static void BM_IntervalCount(benchmark::State& state) {
    const CTNMSecTimeSpan total(86400, 0), interval(1, 0);
    for (auto _ : state)
        benchmark::DoNotOptimize(CTNMSecTimeSpan::CalculateIntervalCount(total, interval));
}
BENCHMARK(BM_IntervalCount);

static void BM_IntervalCountWithMilliseconds(benchmark::State& state) {
    const CTNMSecTimeSpan total(10, 0), interval(0, 300);
    for (auto _ : state)
        benchmark::DoNotOptimize(CTNMSecTimeSpan::CalculateIntervalCount(total, interval));
}
BENCHMARK(BM_IntervalCountWithMilliseconds);

// The remainder's seconds wrap and the count runs on through billions of
// rounds, done in closed form.
static void BM_IntervalCountWrapped(benchmark::State& state) {
    const CTNMSecTimeSpan total(3, 600), interval(1, 200);
    for (auto _ : state)
        benchmark::DoNotOptimize(CTNMSecTimeSpan::CalculateIntervalCount(total, interval));
}
BENCHMARK(BM_IntervalCountWrapped);

static void BM_Format(benchmark::State& state) {
    const CTNUTCTimeStamp stamp = CTNUTCTimeStamp::CreateUTCTimeStamp(2005, 12, 31, 23, 59, 59, 999);
    for (auto _ : state)
        benchmark::DoNotOptimize(stamp.Format());
}
BENCHMARK(BM_Format);

static void BM_CreateUTCTimeStamp(benchmark::State& state) {
    uint32_t day = 1;
    for (auto _ : state) {
        benchmark::DoNotOptimize(CTNUTCTimeStamp::CreateUTCTimeStamp(2005, 12, day, 23, 59, 59, 999));
        day = day % 31 + 1;
    }
}
BENCHMARK(BM_CreateUTCTimeStamp);
