// Storing as a recording program does it, as a whole-run program with a main
// of its own (not a BENCHMARK_MAIN one): 100 mean channels, an hour at 3 s
// (the reference day scaled down 24 times so that a run takes seconds),
//   W1: one value per channel per call,
//   W2: blocks of 200 values per channel per call,
// each through the manager family (ITNVLMAddSample, stored on the caller's
// thread) and through the writer family (ITNVLWAddSample, posted to the
// working thread; the caller's cost per call is timed call by call, the
// worker's throughput from the first post to the end of the draining
// release), against a plain baseline in the same run: the same values
// appended with write() to one file per channel.
// Printed: microseconds per call, values per second, the ratio to the
// baseline, and bytes on disk per value.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "tarnovelle/interfaces/ITNVLManager.h"
#include "tarnovelle/interfaces/ITNVLWriter.h"
#include "tarnovelle/support/CTNNotifyQueue.h"
#include "tarnovelle/values/STarnovelleTimeStampInMsec.h"
#include "tests/support/TNTestDir.h"

namespace {

constexpr GUID kPoint = {0xBE0C0003, 0x0001, 0x0002, {1, 2, 3, 4, 5, 6, 7, 8}};
constexpr uint32_t kChannels = 100;
constexpr uint32_t kValues = 1200;  // an hour at 3 s
constexpr uint32_t kStep = 3;
constexpr uint32_t kStart = 946684800;

SChannelID Channel(uint32_t i) {
    return SChannelID(static_cast<ECharacteristicType>(0x100 + i), static_cast<EPhase>(1), MVT_MEAN);
}
CTNUTCTimeStamp At(uint32_t seconds) { return STarnovelleTimeStampInMsec(kStart + seconds, 0).GetUTCTimeStamp(); }

using Clock = std::chrono::steady_clock;
double Since(const Clock::time_point& start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

uint64_t BytesBelow(const std::string& path) {
    uint64_t bytes = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(path))
        if (entry.is_regular_file()) bytes += entry.file_size();
    return bytes;
}

// The plain appends: one file per channel, one write() per block.
double Plain(const std::string& dir, uint32_t perCall) {
    std::filesystem::create_directories(dir);
    std::vector<int> files;
    for (uint32_t c = 0; c < kChannels; ++c)
        files.push_back(::open((dir + "/" + std::to_string(c)).c_str(), O_CREAT | O_WRONLY | O_APPEND, 0644));
    const std::vector<float> values(perCall, 230.0f);
    const auto start = Clock::now();
    for (uint32_t v = 0; v < kValues; v += perCall)
        for (uint32_t c = 0; c < kChannels; ++c)
            if (::write(files[c], values.data(), perCall * sizeof(float)) < 0) std::perror("write");
    const double seconds = Since(start);
    for (int fd : files) ::close(fd);
    return seconds;
}

CTarnovelleArchive* NewArchive(const std::string& dir) {
    CTarnovelleArchive* archive = ITNVLMCreateInstance();
    ITNVLMInitInstance(archive, (dir + "/Bench.TNArch").c_str());
    CTarnovelleArchiveFolder* folder = nullptr;
    ITNVLMAddArchive(archive, (dir + "/TNArch01").c_str(), TNARCHIVE_MODE_REMAINING, 1, &folder);
    ITNVLMSerialize_1(archive, 1, nullptr);
    return archive;
}

struct SResult {
    double seconds;          // the whole workload
    double medianCallMicros; // the caller's cost of one call
};

SResult Store(const std::string& dir, uint32_t perCall, bool writer) {
    CTarnovelleArchive* archive = NewArchive(dir);
    CTNNotifyQueue sink;
    if (writer) ITNVLWSetArchiveLock(archive, 1, &sink, 0x8000);
    const std::vector<float> values(perCall, 230.0f);
    std::vector<double> calls;
    calls.reserve(kValues / perCall * kChannels);
    const auto start = Clock::now();
    for (uint32_t v = 0; v < kValues; v += perCall) {
        for (uint32_t c = 0; c < kChannels; ++c) {
            CTarnovelleSampleArray samples;
            samples.Add(new CTarnovelleSample(At(v * kStep), At((v + perCall) * kStep), perCall, values.data()));
            const auto call = Clock::now();
            if (writer) ITNVLWAddSample(archive, kPoint, Channel(c), samples);
            else ITNVLMAddSample(archive, kPoint, Channel(c), samples);
            calls.push_back(Since(call) * 1e6);
        }
    }
    if (writer) ITNVLWSetArchiveLock(archive, 0, nullptr, 0);  // drains the queue
    const double seconds = Since(start);
    ITNVLMDestroyInstance(archive);
    std::nth_element(calls.begin(), calls.begin() + static_cast<std::ptrdiff_t>(calls.size() / 2), calls.end());
    return {seconds, calls[calls.size() / 2]};
}

void Report(const char* what, const SResult& result, double plain, double bytesPerValue) {
    const double values = static_cast<double>(kChannels) * kValues;
    std::printf("%-30s median call %8.2f us  %11.0f values/s  baseline %11.0f values/s  ratio %6.2fx  %.2f bytes/value\n",
                what, result.medianCallMicros, values / result.seconds, values / plain, result.seconds / plain,
                bytesPerValue);
}

}  // namespace

int main() {
    TNTestDir dir;
    const double values = static_cast<double>(kChannels) * kValues;
    for (uint32_t perCall : {1u, 200u}) {
        const std::string tag = perCall == 1 ? "W1" : "W2";
        const double plain = Plain(dir / (tag + "-plain"), perCall);
        const SResult direct = Store(dir / (tag + "-direct"), perCall, false);
        const double bytes = static_cast<double>(BytesBelow(dir / (tag + "-direct/TNArch01"))) / values;
        const SResult writer = Store(dir / (tag + "-writer"), perCall, true);
        Report((tag + " manager family").c_str(), direct, plain, bytes);
        Report((tag + " writer family").c_str(), writer, plain, bytes);
    }
    return 0;
}
