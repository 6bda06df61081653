// The read path as an evaluation program meets it, as a whole-run program
// with a main of its own (not a BENCHMARK_MAIN one): a measuring point of 100
// mean channels with a day of one-second values each, read through the
// connectors
//   - one channel's whole day,
//   - one hour (12:00 to 13:00) of all 100 channels,
// against a plain baseline in the same run: the same values written as one
// file per channel with write() and read back with one pread() each.
// Printed: values per second of both, the library's time as a ratio to the
// baseline's, and bytes on disk per value.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "tarnovelle/archive/CTarnovelleArchive.h"
#include "tarnovelle/measuring/CTarnovelleChannelConnector.h"
#include "tarnovelle/measuring/CTarnovelleMeasuringPointConnector.h"
#include "tarnovelle/storage/CTarnovelleChannel.h"
#include "tarnovelle/storage/CTarnovelleSample.h"
#include "tarnovelle/support/TNGuid.h"
#include "tarnovelle/values/STarnovelleTimeStampInMsec.h"
#include "tests/support/TNTestDir.h"

namespace {

constexpr GUID kPoint = {0xBE0C0002, 0x0001, 0x0002, {1, 2, 3, 4, 5, 6, 7, 8}};
constexpr uint32_t kChannels = 100;
constexpr uint32_t kDay = 86400;
constexpr uint32_t kHourFrom = 12 * 3600;
constexpr uint32_t kHour = 3600;
constexpr uint32_t kDayStart = 946684800;  // 2000-01-01

SChannelID Channel(uint32_t i) {
    return SChannelID(static_cast<ECharacteristicType>(0x100 + i), static_cast<EPhase>(1), MVT_MEAN);
}
CTNUTCTimeStamp At(uint32_t seconds) { return STarnovelleTimeStampInMsec(kDayStart + seconds, 0).GetUTCTimeStamp(); }

double Seconds(const std::chrono::steady_clock::time_point& start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Runs `read` until a second has passed (at least 3 times); seconds per run.
template <typename Read>
double Time(Read read) {
    read();  // warm the page cache and the objects
    const auto start = std::chrono::steady_clock::now();
    int runs = 0;
    while (runs < 3 || Seconds(start) < 1.0) {
        read();
        ++runs;
    }
    return Seconds(start) / runs;
}

void Report(const char* what, uint64_t values, double library, double plain, double bytesPerValue) {
    std::printf("%-34s %12.0f values/s  baseline %12.0f values/s  ratio %5.2fx  %.2f bytes/value\n", what,
                values / library, values / plain, library / plain, bytesPerValue);
}

}  // namespace

int main() {
    TNTestDir dir;
    CTarnovelleArchive archive;
    archive.SetArchiveFileName((dir / "Bench.TNArch").c_str());
    CTarnovelleArchiveFolder* folder = archive.AddArchive(dir / "TNArch01", TNARCHIVE_MODE_REMAINING, 1);
    std::filesystem::create_directories(dir / "plain");
    std::vector<float> day(kDay);
    for (uint32_t i = 0; i < kDay; ++i) day[i] = 230.0f + static_cast<float>(i % 100) * 0.01f;

    for (uint32_t c = 0; c < kChannels; ++c) {
        CTarnovelleChannel channel;
        CTarnovelleSample sample(At(0), At(kDay), kDay, day.data());
        if (channel.Create(folder->GetPath(), kPoint, Channel(c), "bench", 1, 0, 0, 0) != TNE_OK ||
            sample.Save(channel) != TNE_OK || channel.Close() != TNE_OK) {
            std::fprintf(stderr, "writing channel %u failed\n", c);
            return 1;
        }
        const std::string plain = dir / ("plain/" + std::to_string(c));
        const int fd = ::open(plain.c_str(), O_CREAT | O_WRONLY | O_TRUNC, 0644);
        if (fd < 0 || ::write(fd, day.data(), day.size() * sizeof(float)) != static_cast<ssize_t>(day.size() * sizeof(float))) {
            std::fprintf(stderr, "writing the baseline failed\n");
            return 1;
        }
        ::close(fd);
    }
    uint64_t onDisk = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder->GetPath()))
        if (entry.is_regular_file()) onDisk += entry.file_size();
    const double bytesPerValue = static_cast<double>(onDisk) / (static_cast<double>(kChannels) * kDay);

    archive.InsertMeasuringPoints(kPoint);
    CTarnovelleMeasuringPointConnector* point = archive.GetMeasuringPointConnector(kPoint);
    std::vector<float> buffer(kDay);
    uint64_t delivered = 0;

    // One channel's whole day.
    const double libraryDay = Time([&] {
        CTarnovelleSampleArray samples;
        point->GetSamplesForTimeRange(Channel(7), At(0), At(kDay), samples);
        delivered = 0;
        for (const CTarnovelleSample* s : samples) delivered += s->GetNrOfValues();
    });
    if (delivered != kDay) {
        std::fprintf(stderr, "a day gave %llu values\n", static_cast<unsigned long long>(delivered));
        return 1;
    }
    const double plainDay = Time([&] {
        const int fd = ::open((dir / "plain/7").c_str(), O_RDONLY);
        ::pread(fd, buffer.data(), kDay * sizeof(float), 0);
        ::close(fd);
    });
    Report("one channel, whole day", kDay, libraryDay, plainDay, bytesPerValue);

    // One hour of every channel.
    const double libraryHour = Time([&] {
        delivered = 0;
        for (uint32_t c = 0; c < kChannels; ++c) {
            CTarnovelleSampleArray samples;
            point->GetSamplesForTimeRange(Channel(c), At(kHourFrom), At(kHourFrom + kHour), samples);
            for (const CTarnovelleSample* s : samples) delivered += s->GetNrOfValues();
        }
    });
    if (delivered < static_cast<uint64_t>(kChannels) * kHour) {
        std::fprintf(stderr, "an hour gave %llu values\n", static_cast<unsigned long long>(delivered));
        return 1;
    }
    const double plainHour = Time([&] {
        for (uint32_t c = 0; c < kChannels; ++c) {
            const int fd = ::open((dir / ("plain/" + std::to_string(c))).c_str(), O_RDONLY);
            ::pread(fd, buffer.data(), kHour * sizeof(float), kHourFrom * sizeof(float));
            ::close(fd);
        }
    });
    Report("one hour of 100 channels", static_cast<uint64_t>(kChannels) * kHour, libraryHour, plainHour,
           bytesPerValue);
    return 0;
}
