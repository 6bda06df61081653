// Fuzz target for the two files of a channel. One input is a samples file and
// a data file packed as the test seeds are: the samples file's length (4 bytes,
// little-endian), the samples file, the data file. The target writes both to
// a folder of its own and reads them through every reading path: the block
// questions, GetArray in every form, an in-place update, and the three loads
// of a sample. Damage must come out as a result code or an exception of the
// library, never as a crash, a read out of bounds or an allocation beyond
// what the files could hold (run with -malloc_limit_mb).
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "tarnovelle/storage/CTarnovelleChannel.h"
#include "tarnovelle/storage/CTarnovelleSample.h"
#include "tarnovelle/support/CException.h"
#include "tarnovelle/support/CTNFakeClock.h"

namespace {

const std::string& Folder() {
    static const std::string folder = [] {
        std::string pattern = (std::filesystem::temp_directory_path() / "tnvl-fuzz-XXXXXX").string();
        if (!mkdtemp(pattern.data())) std::abort();
        return pattern;
    }();
    return folder;
}

void WriteFile(const std::string& path, const uint8_t* data, size_t size) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
}

template <typename T>
void ReadAndRewrite(CTarnovelleChannel& channel, int32_t block) {
    T* values = nullptr;
    uint32_t count = 0;
    if (channel.GetArray(block, values, count) == TNE_OK && values != nullptr) channel.UpdateArray(block, values);
    delete[] values;
}

void ReadBlock(CTarnovelleChannel& channel, int32_t block) {
    channel.GetFormatId(block);
    channel.GetDataPosition(block);
    channel.GetValueOffset(block);
    channel.GetValueFactor(block);
    const CTNUTCTimeStamp start = channel.GetStartTime(block);
    const CTNUTCTimeStamp end = channel.GetEndTime(block);
    ReadAndRewrite<float>(channel, block);
    ReadAndRewrite<unsigned short>(channel, block);
    ReadAndRewrite<SEvent>(channel, block);
    ReadAndRewrite<SBinary_BYTE>(channel, block);
    ReadAndRewrite<SBinary_WORD>(channel, block);
    ReadAndRewrite<SBinary_DWORD>(channel, block);
    ReadAndRewrite<SBinary_Text>(channel, block);

    CTarnovelleSample sample;
    sample.Init(channel, block);
    const uint32_t values = channel.GetNrOfValues(block);
    sample.Init(channel, block, values / 3, values - values / 3);
    sample.Init(channel, block, start, end, true);
    sample.Init(channel, block, start + CTNMSecTimeSpan(1, 0), end, false);
    CTarnovelleSample copy(sample);
    copy.Append(sample);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // A file that someone holds would make an open wait for minutes; the fake
    // clock lets every wait pass at once.
    static CTNFakeClock clock(0);
    static CTNScopedClock scope(&clock);
    if (size < 4) return 0;
    uint32_t samLength = 0;
    for (int i = 0; i < 4; ++i) samLength |= static_cast<uint32_t>(data[i]) << (8 * i);
    const size_t rest = size - 4;
    if (samLength > rest) samLength = static_cast<uint32_t>(rest);
    const std::string base = Folder() + "/03010021";
    WriteFile(base + ".Sam", data + 4, samLength);
    WriteFile(base + ".Dat", data + 4 + samLength, rest - samLength);

    try {
        CTarnovelleChannel channel;
        if (channel.Init(base + ".Sam") != TNE_OK) return 0;
        // Every block read opens the data file a dozen times: a long list is
        // sampled at its start and its end (and one index past it), so that
        // every input stays fast.
        const int32_t blocks = channel.GetBlockCount();
        for (int32_t block = 0; block <= blocks; ++block) {
            if (block == 64 && blocks > 128) block = blocks - 64;
            ReadBlock(channel, block);
        }
        CTNUTCTimeStamp from = CTNUTCTimeStamp::InvalidTS();
        CTNUTCTimeStamp to = CTNUTCTimeStamp::InvalidTS();
        channel.GetTimeRange(from, to);
        int32_t empty = 0;
        channel.IsEmpty(from, to, empty);
    } catch (const CException&) {
        // Damage may surface as the library's exception; that is an answer.
    }
    return 0;
}
