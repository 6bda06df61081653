// A block of values in memory: a start time, an end time, a count and one
// array of values of one format. It is what an application hands in to be
// stored and what it gets back from a time-range query.
//
// The sample owns its array. One pointer serves every format; which member of
// the pointer union is meant follows the format mark m_FormatId. A new
// sample has both times InvalidTS, count 0, no array and format 7 (none).
//
// In memory a mean-value block is always FORMAT_FLOAT: digits exist only on
// disk, and the loading operations turn them into floats on the way in. So
// m_FormatId is FORMAT_DIGIT only where a load of a digit block left the
// values alone (an empty block, an empty index range).
//
// Record sizes: float 4, SEvent 14, SBinary_BYTE 7, SBinary_WORD 8,
// SBinary_DWORD 10, SBinary_Text 256. A block header on disk is 25 bytes for a
// float block and 21 for the record formats (GetSizeInBytes).
//
// Loading (Init). A load that reads values replaces what the sample held; a
// load that reads none leaves the array as it was (only a change of format
// mark to one of another record size drops it), so a sample that is
// initialised again may still hold its earlier values:
//   - Init(channel, index): the whole block; an empty block gives a sample
//     whose end time is its start time, whatever the header says, and reads
//     nothing.
//   - Init(channel, index, first, last): values first..last-1; `first` not
//     below `last` reads nothing and sets both times to the block's start
//     (Init(channel, 0, 2, 2) on a sample of 7 floats keeps the 7). The float
//     times are computed from the block's interval and `first`/`last` as
//     given, even where fewer values were there; `first + count` must not
//     pass the block's count (it is clamped here rather than read past). A
//     `first` at or beyond the block's count gives TNE_FAILED, and the
//     earlier values are gone.
//   - Init(channel, index, from, to, includePrevious): the values of a time
//     range. A float value is within the range unless it starts before
//     `from` (kept with includePrevious) or a whole interval lies behind `to`.
//     The record formats take the first record at or behind `from` even when
//     it lies behind `to`, then every following record up to `to`; for events,
//     includePrevious adds the event before the range as well. An empty
//     block, or `from` not before `to` for a float block, reads nothing.
//     For floats, includePrevious keeps only the one value whose interval
//     holds `from`; a `to` more than an interval before the block's start
//     makes the last index wrap round, so the whole block comes back with an
//     end time computed from that wrapped index. Records that all lie before
//     `from` give no values and both times the block's start.
//   - An index not below the channel's block count is no failure: TNE_OK,
//     format 7, nothing read.
// Float and digit blocks are read from the first value wanted to the last,
// in one positioned read; record blocks are read whole, once. File failures
// pass through as exceptions, and the sample then holds no values. A block that claims values beyond the
// end of its data file gives TNE_FILE_TRUNCATED, and nothing is allocated
// for it.
//
// Save(channel) writes one begin call and one data call by the format;
// FORMAT_DIGIT and any format outside 1..6 write nothing and give 0.
//
// Append(other) joins `other` behind this sample by OTHER's format: no check
// of formats or times is made, the caller must see to equal formats. With
// unequal formats the array is laid out in other's record size under this
// sample's format mark (it is kept large enough for either reading, so that
// nothing is ever read past its end).
//
// Not thread-safe; a sample belongs to one thread at a time.
#pragma once

#include <cstdint>

#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/values/CTNMSecTimeSpan.h"
#include "tarnovelle/values/CTNUTCTimeStamp.h"
#include "tarnovelle/values/EFormatId.h"
#include "tarnovelle/values/ETarnovelleErrors.h"
#include "tarnovelle/values/SBinary_BYTE.h"
#include "tarnovelle/values/SBinary_DWORD.h"
#include "tarnovelle/values/SBinary_Text.h"
#include "tarnovelle/values/SBinary_WORD.h"
#include "tarnovelle/values/SEvent.h"

class CTarnovelleChannel;

class TNVL_EXPORT CTarnovelleSample {
public:
    CTarnovelleSample();
    CTarnovelleSample(const CTarnovelleSample& other);
    // Float values evenly spaced by `interval`: the end is start + interval * count.
    CTarnovelleSample(const CTNUTCTimeStamp& start, const CTNMSecTimeSpan& interval, uint32_t count,
                      const float* values);
    CTarnovelleSample(const CTNUTCTimeStamp& start, const CTNUTCTimeStamp& end, uint32_t count,
                      const float* values);
    CTarnovelleSample(const CTNUTCTimeStamp& start, const CTNUTCTimeStamp& end, uint32_t count,
                      const SEvent* events);
    ~CTarnovelleSample();

    CTarnovelleSample& operator=(const CTarnovelleSample& other);
    // Takes over times, format, count and a copy of the values of `other`. A
    // format outside 0..6 leaves format 7 and count 0.
    void CopyContents(const CTarnovelleSample& other);

    CTNUTCTimeStamp GetStartTime() const { return m_StartTime; }
    CTNUTCTimeStamp GetEndTime() const { return m_EndTime; }
    uint32_t GetNrOfValues() const { return m_nNrOfValues; }
    EFormatId GetFormatID() const { return m_FormatId; }
    // The array as it is, whatever the format mark says.
    float* GetFLOATArray() const { return m_pValues.pFloat; }
    SEvent* GetSEventArray() const { return m_pValues.pEvent; }
    SBinary_BYTE* GetSBinaryArrayByte() const { return m_pValues.pByte; }
    SBinary_WORD* GetSBinaryArrayWord() const { return m_pValues.pWord; }
    SBinary_DWORD* GetSBinaryArrayDWord() const { return m_pValues.pDWord; }
    SBinary_Text* GetSBinaryArrayText() const { return m_pValues.pText; }

    // The event at `index`; neither index nor format is checked.
    SEvent& GetEvent(uint32_t index) const { return m_pValues.pEvent[index]; }

    // Copy the values into `out` if the format is the form's and `count` is
    // the sample's count; TNE_FAILED otherwise (also for a null `out` when
    // there is something to copy).
    ETarnovelleErrors GetArray(float* out, uint32_t count) const;
    ETarnovelleErrors GetArray(SEvent* out, uint32_t count) const;
    ETarnovelleErrors GetArray(SBinary_BYTE* out, uint32_t count) const;
    ETarnovelleErrors GetArray(SBinary_WORD* out, uint32_t count) const;
    ETarnovelleErrors GetArray(SBinary_DWORD* out, uint32_t count) const;
    ETarnovelleErrors GetArray(SBinary_Text* out, uint32_t count) const;

    // The bytes the block will take on disk, header included; 0 for a
    // format outside 1..6.
    int32_t GetSizeInBytes() const;

    ETarnovelleErrors Init(CTarnovelleChannel& channel, int32_t index);
    ETarnovelleErrors Init(CTarnovelleChannel& channel, int32_t index, uint32_t first, uint32_t last);
    ETarnovelleErrors Init(CTarnovelleChannel& channel, int32_t index, const CTNUTCTimeStamp& from,
                           const CTNUTCTimeStamp& to, bool includePrevious);

    // Needs the channel in a write cycle (Open or Create until Close).
    ETarnovelleErrors Save(CTarnovelleChannel& channel) const;
    ETarnovelleErrors Append(const CTarnovelleSample& other);

    // Bytes of one value of `format` in memory and on disk; 0 outside 0..6
    // (digits count as the floats they become).
    static uint32_t GetRecordSize(int32_t format);

private:
    union UValues {
        float* pFloat;
        SEvent* pEvent;
        SBinary_BYTE* pByte;
        SBinary_WORD* pWord;
        SBinary_DWORD* pDWord;
        SBinary_Text* pText;
    };

    // Releases the array as the element type it was made as, and leaves none.
    void FreeValues();
    // Releases the array and takes `values`, made as the element type of
    // `arrayFormat` (float outside 1..6).
    void AdoptValues(UValues values, int32_t arrayFormat);
    // delete[] of an array made as the element type of `arrayFormat`.
    static void DeleteArray(int32_t arrayFormat, void* values);
    // An array of the element type of `format` (float outside 1..6), records
    // default-constructed, that holds at least `bytes`.
    static UValues AllocateValues(int32_t format, uint64_t bytes);
    static bool IsRecordFormat(int32_t format) { return format >= 1 && format <= 6; }
    // Sets the format mark. Values stay only while their record size still
    // fits the mark, so that the mark never describes a foreign array.
    void SetFormatKeepingValues(EFormatId format);

    // Init(channel, index, first, last) on a block perhaps read already
    // (`preloaded`, made as the block's format, which this call takes over).
    ETarnovelleErrors InitRange(CTarnovelleChannel& channel, int32_t index, uint32_t first, uint32_t last,
                                void* preloaded, uint32_t preloadedCount);
    ETarnovelleErrors InitRecordsForTimeRange(CTarnovelleChannel& channel, int32_t index,
                                              const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to,
                                              bool includePrevious);
    ETarnovelleErrors InitFloatsForTimeRange(CTarnovelleChannel& channel, int32_t index,
                                             const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to,
                                             bool includePrevious);

    CTNUTCTimeStamp m_StartTime;
    CTNUTCTimeStamp m_EndTime;
    uint32_t m_nNrOfValues;
    UValues m_pValues;
    EFormatId m_FormatId;
    // The format whose element type the array was made as; differs from
    // m_FormatId only after an Append of unequal formats.
    EFormatId m_ArrayFormat;
};
