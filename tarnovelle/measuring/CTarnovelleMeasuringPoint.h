// One measuring point in one archive folder: the parameter history of the
// directory "<root>/<GUID text>/", kept in its file ConfData.Inf.
//
// The history is a list of entries, ascending by time in whole seconds
// (TimeStamps), each with the ChannelMap of what changed at that time
// (ChannelMaps, owned, parallel to TimeStamps). InsertParameterSet stores only
// the values that differ from the state one second before the new entry's
// time, merging into an entry of the same second; GetParameterSet gives a
// view of the newest entry at or before a time, whose lookups fall back along
// the history (CTarnovelleParameterSet). Views die with the history's maps:
// Clear, Refresh and a Save that drops its last entry end them.
//
// The file. Every version starts with the 36 bytes
// "<CTarnovelleMeasuringPoint Version=\"" and a version character; the
// oldest ("0") holds text lines, the next ("1") an XML document, the current
// ("2") a packed little-endian binary form:
//   40 bytes "<CTarnovelleMeasuringPoint Version=\"2\"/>", int32 entry count,
//   per entry: uint32 time, int32 channel count (0: no map),
//     per channel: uint32 channel identifier, int32 value count,
//       per value: int32 name length, name, int32 value length, wrapped value,
//   then "END_OF_FILE".
// Load reads all three, Save always writes the current one, over the old file
// without truncating it: bytes of a longer old file stay behind the new
// "END_OF_FILE", where no reader looks. Save drops the newest entry when it
// equals the one before it, once per Save, in memory too.
//
// Load gives TNE_FILE_NOT_PARSED (264) after every read, good or bad: only the
// history it fills counts. A file is read for what it holds and no further: a
// count or length that reaches beyond the end of the file ends the reading,
// the entries read before it stay, and nothing is ever allocated beyond the
// file's size. Refresh reloads when the file's modification time (in
// nanoseconds, so two saves within one second are told apart) differs from
// the one of the last load or save.
//
// Results: TNE_FILE_NOT_OPENED (266) when the file can't be opened for
// reading, TNE_FILE_NOT_WRITTEN (265) when Save can't open or create it,
// TNE_FILE_GONE (273) from Refresh when the file is gone. File failures while
// reading or writing come out as the file layer's exceptions, after the file
// is closed. Not thread-safe.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tarnovelle/measuring/CTNParameterHistory.h"
#include "tarnovelle/measuring/CTarnovelleMeasuringPointBase.h"
#include "tarnovelle/measuring/CTarnovelleParameterSet.h"
#include "tarnovelle/measuring/ChannelMap.h"
#include "tarnovelle/support/STNFileStatus.h"
#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/values/CTNLocalTimeStamp.h"
#include "tarnovelle/values/CTNTimeZoneInformation.h"
#include "tarnovelle/values/CTNUTCTimeStamp.h"

class CTarnovelleFile;
class EV_XMLDOMNode;
using CEV_XMLDOMNode = EV_XMLDOMNode;

class TNVL_EXPORT CTarnovelleMeasuringPoint : public CTarnovelleMeasuringPointBase, public CTNParameterHistory {
public:
    // The bytes of the current version still to be read, and where.
    struct SReader {
        const char* data;
        size_t size;
        size_t at;
    };

    CTarnovelleMeasuringPoint();
    ~CTarnovelleMeasuringPoint() override;

    // The base's Init, then the file's status (modification time 0 without a file).
    ETarnovelleErrors Init(const ::GUID& guid, const std::string& rootPath) override;
    ETarnovelleErrors Save() override;
    // Reloads when ConfData.Inf changed since the last load or save.
    ETarnovelleErrors Refresh();
    // Empties the history and deletes its maps.
    void Clear();

    // Enters `set` at `time` (whole seconds): only what differs from the state
    // one second before. A set without a map changes nothing. Touches no file.
    void InsertParameterSet(CTarnovelleParameterSet& set, const CTNUTCTimeStamp& time);
    // A view of the newest entry at or before `time`, with that entry's own
    // time; the invalid handle before the first entry.
    CTarnovelleParameterSet GetParameterSet(const CTNUTCTimeStamp& time) override;
    // The whole history merged into one owning set, newest values winning,
    // valid from the last entry's time; the invalid handle without entries.
    CTarnovelleParameterSet GetCompleteParameterSet();
    const ChannelMap* GetChannelMap(uint32_t seconds) { return FindChannelMap(seconds, 0); }
    const std::vector<uint32_t>& GetTimeStampArray() const { return TimeStamps; }

    // Raises `time` to the newest end of data among this point's channels in
    // this folder; a channel without blocks counts as 1970.
    void GetLastTimeStampFromChannels(CTNUTCTimeStamp& time);
    // `time` in the machine's own zone, whatever the parameters say.
    CTNLocalTimeStamp GetLocalDateTime(const CTNUTCTimeStamp& time);
    // Makes an entry here at the time of `other`'s last entry; its values
    // are copied after the entry was made, into a set that is then dropped,
    // so the entry stays without them.
    void CopyLastSetOfParameterFrom(const CTarnovelleMeasuringPoint& other);

protected:
    ETarnovelleErrors Load() override;

    // With `create` 0: the map of the newest entry at or before `seconds`, or
    // null. Otherwise: the map of the entry at exactly `seconds`, made empty
    // at its sorted place if there is none.
    ChannelMap* FindChannelMap(uint32_t seconds, int create);
    // Leaves `out` alone when the set valid at `time` names a time zone;
    // otherwise `out` becomes the machine's zone.
    void GetTimeZoneInfo(const CTNUTCTimeStamp& time, CTNTimeZoneInformation& out);
    // Every name of every channel of every entry, once, in the order first met.
    void GetArrayOfParameterNames(std::vector<std::string>& names);
    // Nonzero when both maps hold the same channels with equal string maps
    // (null on exactly one side: unequal).
    static int IsEqual(const ChannelMap& a, const ChannelMap& b);
    // Nonzero when both hold the same names with the same texts, case counting.
    static int IsEqual(const ChannelMap::StringMap& a, const ChannelMap::StringMap& b);

    // ---- ConfData.Inf

    ETarnovelleErrors ReadVersion0();
    ETarnovelleErrors ReadVersion1();
    ETarnovelleErrors ReadVersion2(CTarnovelleFile& file);
    ETarnovelleErrors ReadVersion2(SReader& reader, int32_t count, ChannelMap& map);
    ETarnovelleErrors ReadVersion2(SReader& reader, int32_t count, ChannelMap::StringMap& map);
    ETarnovelleErrors ReadTimes(CEV_XMLDOMNode& node);
    ETarnovelleErrors ReadChannel(CEV_XMLDOMNode& node, CTarnovelleParameterSet& set);
    ETarnovelleErrors ReadParameter(CEV_XMLDOMNode& node, CTarnovelleParameterSet& set, const SChannelID& channel);
    // `length` bytes as a string, ended early by a zero byte among them.
    // TNE_FILE_NOT_PARSED, with nothing read, when they are not all there.
    static ETarnovelleErrors ReadString(SReader& reader, int32_t length, std::string& text);

    // The whole file of the current version, built in memory and written in
    // one piece; applies the rule that drops an equal last entry.
    ETarnovelleErrors SaveVersion2(CTarnovelleFile& file);
    ETarnovelleErrors SaveVersion2(std::string& out, ChannelMap& map);
    ETarnovelleErrors SaveVersion2(std::string& out, ChannelMap::StringMap& map);

    std::vector<uint32_t> TimeStamps;
    std::vector<ChannelMap*> ChannelMaps;
    STNFileStatus FileStatus;

private:
    // Puts an entry at `index` of both arrays, taking ownership of `map`.
    void InsertEntry(size_t index, uint32_t seconds, ChannelMap* map);
    CTarnovelleParameterSet ViewOf(size_t index);
};
