// Sample blocks: the first program to read.
//
// A channel is one measured quantity of one measuring point, kept as two
// files in the measuring point's folder: "<id>.Sam" with one header per block
// and "<id>.Dat" with the values. A CTarnovelleSample is one block in memory:
// a start, an end, a count and the values of one format.
//
// This program
//   1. creates a mean-value channel and an event channel in a temporary folder,
//   2. saves a few blocks of float means and one block of events into them
//      through CTarnovelleSample::Save,
//   3. opens the channels again, as a reading program would, and reads back a
//      time range cropped out of the middle, printing what comes back.
#include <cstdio>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include <tarnovelle/tarnovelle.h>

namespace {

// 1 January 2024 12:00:00 UTC plus `seconds`.
CTNUTCTimeStamp At(uint32_t seconds, uint32_t milliseconds = 0) {
    return CTNUTCTimeStamp::CreateUTCTimeStamp(2024, 1, 1, 12, 0, 0, 0) + CTNMSecTimeSpan(seconds, milliseconds);
}

bool Check(ETarnovelleErrors result, const char* what) {
    if (result != TNE_OK)
        std::printf("error: %s returned %u\n", what, static_cast<unsigned>(result));
    return result == TNE_OK;
}

void Print(const char* title, const CTarnovelleSample& sample) {
    std::printf("%s: %s .. %s, %u values\n", title, sample.GetStartTime().Format().c_str(),
                sample.GetEndTime().Format().c_str(), sample.GetNrOfValues());
    for (uint32_t i = 0; i < sample.GetNrOfValues(); ++i) {
        if (sample.GetFormatID() == FORMAT_FLOAT) {
            std::printf("  %.1f\n", sample.GetFLOATArray()[i]);
        } else if (sample.GetFormatID() == FORMAT_EVENT) {
            const SEvent& event = sample.GetEvent(i);
            std::printf("  %s  %.1f -> %.1f\n", event.GetTimeStamp().Format().c_str(), event.GetPreviousValue(),
                        event.GetActualValue());
        }
    }
}

int Run(const std::string& root) {
    // Any GUID names a measuring point; its folder is made below `root`.
    const GUID point = {0x5EB1E0A7, 0x0001, 0x0002, {0x10, 0x20, 0x30, 0x40, 0x50, 0x60, 0x70, 0x80}};
    const SChannelID means(CT_VOLTAGE, PH_L1, MVT_MEAN);
    const SChannelID events(CT_VOLTAGE, PH_L1, MVT_MEAN_EVENT);

    // ---- Writing: Create makes both files and opens a write cycle; Close ends it.
    {
        CTarnovelleChannel channel;
        if (!Check(channel.Create(root, point, means, "example", 1, 0, 0, 0), "Create"))
            return 1;
        // Three blocks of six 10-second means, one minute apart. A block that
        // starts where the last one ended would extend it; these have gaps.
        for (uint32_t block = 0; block < 3; ++block) {
            std::vector<float> values;
            for (uint32_t i = 0; i < 6; ++i)
                values.push_back(230.0f + static_cast<float>(block * 10 + i));
            CTarnovelleSample sample(At(block * 120), CTNMSecTimeSpan(10, 0), 6, values.data());
            if (!Check(sample.Save(channel), "Save of means"))
                return 1;
        }
        if (!Check(channel.Close(), "Close"))
            return 1;
    }
    {
        CTarnovelleChannel channel;
        if (!Check(channel.Create(root, point, events, "example", 1, 0, 0, 0), "Create"))
            return 1;
        const std::vector<SEvent> dips = {SEvent(At(15, 250), 230.0f, 180.5f), SEvent(At(16, 750), 180.5f, 229.0f),
                                          SEvent(At(130), 229.0f, 150.0f), SEvent(At(131, 500), 150.0f, 231.0f)};
        CTarnovelleSample sample(dips.front().GetTimeStamp(), dips.back().GetTimeStamp(),
                                 static_cast<uint32_t>(dips.size()), dips.data());
        if (!Check(sample.Save(channel), "Save of events") || !Check(channel.Close(), "Close"))
            return 1;
    }

    // ---- Reading: a fresh object finds the channel on disk. Each block that
    // meets the range is cropped to it. Cropping is meant for such blocks
    // only, so blocks wholly before or behind the range are passed over first,
    // from the headers alone, as the archive's own reader does.
    const CTNUTCTimeStamp from = At(35);
    const CTNUTCTimeStamp to = At(145);
    std::printf("range %s .. %s\n", from.Format().c_str(), to.Format().c_str());
    {
        CTarnovelleChannel channel;
        if (!Check(channel.Init(root, point, means, "example", 1, 0, 0, 0), "Init"))
            return 1;
        for (int32_t block = 0; block < channel.GetBlockCount(); ++block) {
            if (channel.GetEndTime(block) <= from || channel.GetStartTime(block) >= to)
                continue;
            CTarnovelleSample sample;
            if (!Check(sample.Init(channel, block, from, to, false), "Init of a sample"))
                return 1;
            Print("means", sample);
        }
    }
    {
        CTarnovelleChannel channel;
        if (!Check(channel.Init(root, point, events, "example", 1, 0, 0, 0), "Init"))
            return 1;
        // With includePrevious the event before the range comes along: it
        // tells the value at the range's start.
        CTarnovelleSample sample;
        if (!Check(sample.Init(channel, 0, from, to, true), "Init of a sample"))
            return 1;
        Print("events", sample);
    }
    return 0;
}

}  // namespace

int main() {
    namespace fs = std::filesystem;
    const fs::path root =
        fs::temp_directory_path() / ("tarnovelle-example-" + std::to_string(std::random_device{}()));
    fs::create_directories(root);
    const int result = Run(root.string());
    std::error_code ignored;
    fs::remove_all(root, ignored);
    return result;
}
