// Fuzz target for a measuring point's parameter file. One input is one
// ConfData.Inf: the target writes it into the directory of a fixed GUID below
// a folder of its own and loads it with Init, which reads whichever of the
// three versions the input's version byte names. It then asks the history
// what a program asks of it (the times, the set at the first and the last
// entry and before the first, values of a few names through those sets, the
// whole history merged, every name), saves it, and loads the saved file into
// a fresh measuring point, whose history must be the saved one (see
// ExpectedAfterReading for what a save and a read may legitimately change).
// The same is done once more from the second measuring point. Damage must come
// out as a result code or an exception of the library, never as a crash, a
// read out of bounds or an allocation beyond what the file could hold (run
// with -malloc_limit_mb).
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tarnovelle/measuring/CTarnovelleMeasuringPoint.h"
#include "tarnovelle/measuring/CTarnovelleParameterSet.h"
#include "tarnovelle/support/CException.h"
#include "tarnovelle/support/CTNFakeClock.h"
#include "tarnovelle/support/CTNMessageBox.h"
#include "tarnovelle/support/TNGuid.h"
#include "tarnovelle/values/STarnovelleTimeStampInMsec.h"

namespace {

constexpr GUID kGuid = {0xF0221DA7, 0x0001, 0x4002, {0x83, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0A}};
// Lookups that miss walk back through the history one entry at a time, and
// every step looks for its entry from the newest one: with more entries than
// this, only the first entry's set is asked, so that an input stays fast.
constexpr size_t kLongHistory = 256;

class FuzzPoint : public CTarnovelleMeasuringPoint {
public:
    using CTarnovelleMeasuringPoint::ChannelMaps;
    using CTarnovelleMeasuringPoint::GetArrayOfParameterNames;
    using CTarnovelleMeasuringPoint::IsEqual;
};

const std::string& Root() {
    static const std::string root = [] {
        std::string pattern = (std::filesystem::temp_directory_path() / "tnvl-fuzz-confdata-XXXXXX").string();
        if (!mkdtemp(pattern.data())) std::abort();
        std::filesystem::create_directories(pattern + "/" + GuidToString(kGuid));
        return pattern;
    }();
    return root;
}

void WriteFile(const std::string& path, const uint8_t* data, size_t size) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
}

CTNUTCTimeStamp TS(uint32_t seconds) { return STarnovelleTimeStampInMsec(seconds, 0).GetUTCTimeStamp(); }

[[noreturn]] void Fail(const char* what, size_t entry) {
    std::fprintf(stderr, "ConfDataFile_fuzz: %s (entry %zu)\n", what, entry);
    std::abort();
}

// Asks `set` for each name in each type form, for the measuring point and for
// each of `channels`.
void AskFor(CTarnovelleParameterSet& set, const std::vector<std::string>& names,
            const std::vector<uint32_t>& channels) {
    for (const std::string& name : names) {
        std::string text;
        uint32_t number = 0;
        double real = 0;
        CTNUTCTimeStamp time = CTNUTCTimeStamp::InvalidTS();
        CTNMSecTimeSpan span;
        set.GetParameter(name, text);
        set.GetParameter(name, number);
        set.GetParameter(name, real);
        set.GetParameter(name, time);
        set.GetParameter(name, span);
        for (uint32_t channel : channels) {
            set.GetParameter(SChannelID(channel), name, text);
            set.GetParameter(SChannelID(channel), name, number);
            set.GetParameter(SChannelID(channel), name, real);
        }
    }
}

void Exercise(FuzzPoint& point) {
    const std::vector<uint32_t> times = point.GetTimeStampArray();
    if (times.size() != point.ChannelMaps.size()) Fail("times and maps differ in length", times.size());
    std::vector<std::string> names;
    point.GetArrayOfParameterNames(names);
    std::vector<std::string> sorted = names;
    std::sort(sorted.begin(), sorted.end());
    if (std::adjacent_find(sorted.begin(), sorted.end()) != sorted.end()) Fail("a name listed twice", 0);
    names.resize(std::min<size_t>(names.size(), 3));
    names.push_back("MeasuringPointName");

    if (!times.empty()) {
        std::vector<uint32_t> channels;
        if (const ChannelMap* first = point.ChannelMaps.front()) {
            for (const auto& [channel, values] : *first) {
                if (channels.size() < 3) channels.push_back(channel);
            }
        }
        std::vector<uint32_t> asked{times.front()};
        if (times.size() <= kLongHistory) asked.push_back(times.back());
        if (times.front() > 0) asked.push_back(times.front() - 1);
        for (uint32_t seconds : asked) {
            CTarnovelleParameterSet set = point.GetParameterSet(TS(seconds));
            if (set.IsValid()) AskFor(set, names, channels);
        }
        // In a history in time order (every one but a current-version file
        // written out of order), a set is the entry's own, with its time, and
        // nothing holds before the first entry.
        const bool ordered = std::adjacent_find(times.begin(), times.end(), std::greater_equal<uint32_t>()) ==
                             times.end();
        if (ordered && times.back() < 0x80000000u) {
            if (times.front() > 0 && point.GetParameterSet(TS(times.front() - 1)).IsValid())
                Fail("a set before the first entry", 0);
            for (size_t i : {size_t{0}, times.size() - 1}) {
                const CTarnovelleParameterSet set = point.GetParameterSet(TS(times[i]));
                if (!set.IsValid() || set.GetTimeOfValidity().GetSecondsSince1970() != times[i] ||
                    set.GetChannelMap() != point.ChannelMaps[i])
                    Fail("the set at an entry's time is not that entry", i);
            }
        }
    }
    CTarnovelleParameterSet complete = point.GetCompleteParameterSet();
    if (complete.IsValid() == times.empty()) Fail("the merged history is valid exactly without entries", 0);
    if (complete.IsValid() && times.size() <= kLongHistory) AskFor(complete, names, {});
}

// A text as it comes back from a file of the current version: a length is
// written, but the reader ends the text at its first zero byte.
std::string AsRead(const std::string& text) { return text.substr(0, std::min(text.size(), std::strlen(text.c_str()))); }

struct SEntry {
    uint32_t time;
    std::unique_ptr<ChannelMap> map;
};

// The history a reader finds in the file that `point` saved: an entry without
// channels is written with a count of 0 and not read back; a channel without
// values likewise; texts end at a zero byte. Of two names that come out the
// same that way, the one written later (the later in the map's order) wins.
std::vector<SEntry> ExpectedAfterReading(const FuzzPoint& point) {
    std::vector<SEntry> expected;
    const std::vector<uint32_t>& times = point.GetTimeStampArray();
    for (size_t i = 0; i < times.size(); ++i) {
        const ChannelMap* map = point.ChannelMaps[i];
        if (!map || map->GetCount() == 0) continue;
        auto read = std::make_unique<ChannelMap>();
        for (const auto& [channel, values] : *map) {
            if (!values || values->empty()) continue;
            auto strings = std::make_unique<ChannelMap::StringMap>();
            for (const auto& [name, value] : *values) (*strings)[AsRead(name)] = AsRead(value);
            read->SetAt(channel, strings.release());
        }
        expected.push_back({times[i], std::move(read)});
    }
    return expected;
}

// Equal channel maps, compared without the code under test.
bool SameMap(const ChannelMap& a, const ChannelMap& b) {
    if (a.GetCount() != b.GetCount()) return false;
    for (const auto& entry : a) {
        const auto found = std::find_if(b.begin(), b.end(), [&](const auto& other) { return other.first == entry.first; });
        if (found == b.end()) return false;
        if ((entry.second == nullptr) != (found->second == nullptr)) return false;
        if (entry.second && *entry.second != *found->second) return false;
    }
    return true;
}

void ExpectHistory(const std::vector<SEntry>& expected, const FuzzPoint& point) {
    const std::vector<uint32_t>& times = point.GetTimeStampArray();
    if (times.size() != expected.size()) Fail("the reread history has another length", times.size());
    for (size_t i = 0; i < times.size(); ++i) {
        if (times[i] != expected[i].time) Fail("the reread history has another time", i);
        const ChannelMap* map = point.ChannelMaps[i];
        if (!map) Fail("the reread history has an entry without a map", i);
        const bool same = SameMap(*expected[i].map, *map);
        if (same != (FuzzPoint::IsEqual(*expected[i].map, *map) != 0)) Fail("IsEqual misjudges two maps", i);
        if (!same) Fail("the reread history has other values", i);
    }
}

// Saves `point` and loads the saved file into `reread`; false when the save
// did not write.
bool SaveAndReread(FuzzPoint& point, FuzzPoint& reread) {
    if (point.Save() != TNE_OK) return false;
    const std::vector<SEntry> expected = ExpectedAfterReading(point);
    reread.Init(kGuid, Root());
    ExpectHistory(expected, reread);
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // A file that can't be opened makes an open retry for minutes; the fake
    // clock lets every wait pass at once.
    static CTNFakeClock clock(0);
    static CTNScopedClock scope(&clock);
    // The XML layer reports a parse error in a message box; keep it quiet.
    static std::vector<std::string> messages;
    static const bool rerouted = (CTNMessageBox::RerouteMessageBoxToLogArray(&messages), true);
    (void)rerouted;
    messages.clear();

    WriteFile(Root() + "/" + GuidToString(kGuid) + "/ConfData.Inf", data, size);
    try {
        FuzzPoint first;
        first.Init(kGuid, Root());
        Exercise(first);
        FuzzPoint second;
        if (!SaveAndReread(first, second)) return 0;
        Exercise(second);
        FuzzPoint third;
        SaveAndReread(second, third);
    } catch (const CException&) {
        // Damage may surface as the library's exception; that is an answer.
    }
    return 0;
}
