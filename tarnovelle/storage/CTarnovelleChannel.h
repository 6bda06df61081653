// One channel of one measuring point in one archive folder: the pair of
// "<base>.Sam" (block headers, CTarnovelleChannelSamplesFile) and "<base>.Dat"
// (raw values, CTarnovelleChannelDataFile), where <base> is
// "<root>/<GUID text>/%08lx" with the 32-bit channel identifier.
//
// This is the one place that knows how a value of a block is reached:
// position, count and format from the samples file's list in memory, bytes
// from the data file, and the conversion between the float values of the
// interfaces and the 16-bit digit format (value = digit * factor + offset;
// the digit 0x8000 marks an invalid value, stored as the float bits
// 0x7ff00000).
//
// Life cycle. After Init or Refresh the block list is a snapshot of the
// samples file (an Init that finds no samples file keeps a list read before).
// Between Create or Open and Close the object is a writer: both files are held
// exclusively and the list in memory runs ahead of the disk; Close writes the
// headers. Outside a write cycle no file handle is held, with one exception:
// an Open or Create whose samples file reads with a result other than TNE_OK
// lets the data file go but keeps the samples file held until Close.
// Writing goes in pairs: one WriteBeginSample... then one or more
// WriteSampleData; a value count is added to the block only after its values
// were written.
//
// Reading. Block questions are answered from memory. GetArray and UpdateArray
// open and close "<base>.Dat" within the call (read: shared; update:
// exclusive), so a reader waits in the open retry loop of CTarnovelleFile
// while any write cycle holds the file, this object's own included, and fails
// with the file service's exception (CFileException) after its time-out.
// Arrays returned by GetArray are allocated with new[] and belong to the
// caller (delete[]). A whole block is read in one read.
//
// Results are ETarnovelleErrors:
//   - TNE_FAILED for a block index not below the count or a format that
//     doesn't fit the form; for Open while open and Close outside a cycle; for
//     a channel of undefined characteristic type; for null values where
//     UpdateArray needs some; for a WriteBeginSample... whose format doesn't
//     fit the channel's value type (digits and floats belong to mean, minimum,
//     maximum and interval channels, the record formats to event and binary
//     channels; refused before anything changes, since one such block would
//     make the whole samples file unreadable); and for a WriteSampleData
//     whose type is not the selected block's format or that finds no block
//     selected (nothing is written: uncounted values would shift every later
//     block);
//   - TNE_FILE_TRUNCATED for a block that claims values beyond the end of the
//     data file (GetArray and UpdateArray; nothing is allocated or written for
//     it), and from Init, Refresh, Open and Create for a samples file that
//     ends inside a block header's form;
//   - TNE_FILE_NOT_PARSED from the same four for a samples file of a version
//     above 1; TNE_OUT_OF_MEMORY from them and from GetArray;
//   - TNE_FILE_GONE for a missing samples file (Init(path), Refresh(root, ...))
//     or root (Create);
//   - TNE_NO_OBJECT for an empty samples file that Init(path) knows nothing
//     of, for a samples file of another GUID or channel (Init, Refresh), for
//     Create of a channel of undefined value type, and for GetTimeRange of a
//     channel without blocks.
// Failing operations of an open file throw CTarnovelleException; opens that
// give up, and the removal of files Create replaces, throw CFileException.
// A negative block index must not be passed. The class holds no lock.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tarnovelle/storage/CTarnovelleChannelDataFile.h"
#include "tarnovelle/storage/CTarnovelleChannelSamplesFile.h"
#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/values/CTNUTCTimeStamp.h"
#include "tarnovelle/values/EFormatId.h"
#include "tarnovelle/values/ETarnovelleErrors.h"
#include "tarnovelle/support/GUID.h"
#include "tarnovelle/values/SBinary_BYTE.h"
#include "tarnovelle/values/SBinary_DWORD.h"
#include "tarnovelle/values/SBinary_Text.h"
#include "tarnovelle/values/SBinary_WORD.h"
#include "tarnovelle/values/SChannelID.h"
#include "tarnovelle/values/SEvent.h"

class TNVL_EXPORT CTarnovelleChannel {
public:
    // The format number for "no block" / "no format".
    static constexpr EFormatId kNoFormat = static_cast<EFormatId>(7);

    CTarnovelleChannel();
    virtual ~CTarnovelleChannel();
    CTarnovelleChannel(const CTarnovelleChannel&) = delete;
    CTarnovelleChannel& operator=(const CTarnovelleChannel&) = delete;

    // ---- Set-up; `root` is the part-archive folder's path.

    // A channel found on disk, by the path of one of its files (or its base path).
    ETarnovelleErrors Init(const std::string& path);
    // A channel that may or may not exist yet; makes the measuring point's directory.
    ETarnovelleErrors Init(const std::string& root, const GUID& guid, const SChannelID& channelId, const char* name,
                           uint32_t major, uint32_t minor, uint32_t build, uint32_t revision);
    // As Init, but a missing samples file is TNE_FILE_GONE.
    ETarnovelleErrors Refresh(const std::string& root, const GUID& guid, const SChannelID& channelId,
                              const char* name, uint32_t major, uint32_t minor, uint32_t build, uint32_t revision);
    // Makes both files anew and leaves them open (a write cycle).
    ETarnovelleErrors Create(const std::string& root, const GUID& guid, const SChannelID& channelId,
                             const char* name, uint32_t major, uint32_t minor, uint32_t build, uint32_t revision);
    // Reads the samples file again, if it can be opened.
    void Refresh();
    // True when the samples file is as it was when last read (size and
    // modification time), so that reading it again would change nothing.
    bool IsUnchangedSinceRead() const { return m_SamplesFile.IsUnchangedSinceRead(); }
    // The write cycle: the data file first, then the samples file.
    ETarnovelleErrors Open();
    // Writes the block headers even if the data file fails; the data file's
    // result wins when it isn't TNE_OK.
    ETarnovelleErrors Close();

    // ---- Writing, in a write cycle. `count` of the begin calls is not used.

    ETarnovelleErrors WriteBeginSampleFloat(const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to, uint32_t count);
    ETarnovelleErrors WriteBeginSampleDigit(const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to, float valueOffset,
                                            float valueFactor, uint32_t count);
    ETarnovelleErrors WriteBeginSampleEvent(const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to);
    ETarnovelleErrors WriteBeginSampleBinary(EFormatId format, const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to);

    ETarnovelleErrors WriteSampleData(const float* values, uint32_t count);
    ETarnovelleErrors WriteSampleData(const unsigned short* values, uint32_t count);
    ETarnovelleErrors WriteSampleData(const SEvent* values, uint32_t count);
    ETarnovelleErrors WriteSampleData(const SBinary_BYTE* values, uint32_t count);
    ETarnovelleErrors WriteSampleData(const SBinary_WORD* values, uint32_t count);
    ETarnovelleErrors WriteSampleData(const SBinary_DWORD* values, uint32_t count);
    ETarnovelleErrors WriteSampleData(const SBinary_Text* values, uint32_t count);

    // ---- Block questions, from the list in memory.

    SChannelID& GetChannelID();
    const SChannelID& GetChannelID() const;
    const std::string& GetMeasuringPointPath() const { return m_strDirectory; }
    int32_t GetBlockCount() const;
    // 7 when the index is not below the count.
    EFormatId GetFormatId(int32_t index) const;
    uint32_t GetNrOfValues(int32_t index) const;
    uint32_t GetDataPosition(int32_t index) const;
    // Whole seconds for mean-type channels, with milliseconds for event-type
    // channels, InvalidTS for other value types and bad indexes.
    CTNUTCTimeStamp GetStartTime(int32_t index) const;
    CTNUTCTimeStamp GetEndTime(int32_t index) const;
    // The block's values for digit blocks of mean-type channels, else 0.0.
    float GetValueOffset(int32_t index) const;
    float GetValueFactor(int32_t index) const;

    // ---- Arrays of a block: the caller owns what GetArray returns (delete[]).
    // The float and digit forms convert between the two formats; the record
    // forms accept only their own format. A float block has factor and offset
    // 0.0, so reading it as digits gives 0 for every value and updating it
    // with digits writes 0.0 for every valid one.

    ETarnovelleErrors GetArray(int32_t index, float*& values, uint32_t& count);
    // Values first.. of a float or digit block, at most `wanted` of them, as
    // floats, read in one positioned read: what a time range of a long block
    // needs. The whole block's claim is checked as for the whole read.
    ETarnovelleErrors GetArray(int32_t index, uint32_t first, uint32_t wanted, float*& values, uint32_t& count);
    ETarnovelleErrors GetArray(int32_t index, unsigned short*& values, uint32_t& count);
    ETarnovelleErrors GetArray(int32_t index, SEvent*& values, uint32_t& count);
    ETarnovelleErrors GetArray(int32_t index, SBinary_BYTE*& values, uint32_t& count);
    ETarnovelleErrors GetArray(int32_t index, SBinary_WORD*& values, uint32_t& count);
    ETarnovelleErrors GetArray(int32_t index, SBinary_DWORD*& values, uint32_t& count);
    ETarnovelleErrors GetArray(int32_t index, SBinary_Text*& values, uint32_t& count);

    // Overwrites the block's GetNrOfValues(index) values in place; position
    // and count stay.
    ETarnovelleErrors UpdateArray(int32_t index, const float* values);
    ETarnovelleErrors UpdateArray(int32_t index, const unsigned short* values);
    ETarnovelleErrors UpdateArray(int32_t index, const SEvent* values);
    ETarnovelleErrors UpdateArray(int32_t index, const SBinary_BYTE* values);
    ETarnovelleErrors UpdateArray(int32_t index, const SBinary_WORD* values);
    ETarnovelleErrors UpdateArray(int32_t index, const SBinary_DWORD* values);
    ETarnovelleErrors UpdateArray(int32_t index, const SBinary_Text* values);

    // The channel numbers of the "*.sam" files directly in a measuring
    // point's `directory`, in the order the directory gives them: each name
    // lower-cased and scanned as "%08lx.sam"; a name that doesn't scan is
    // passed over.
    static std::vector<uint32_t> ListChannelNumbers(const std::string& directory);

    // ---- Ranges.

    // The first block whose end time is valid and not before `time`, found
    // by binary search, when every block's end is valid and the ends ascend
    // in list order; the block count when none ends that late; -1 when the
    // ends don't ascend (the caller then walks the list). A scan from block 0
    // that skips blocks ending before `time` starts at the same block.
    int32_t FindFirstBlockEndingFrom(const CTNUTCTimeStamp& time) const;

    // Widens from..to by this channel's first start and last end (list
    // order); invalid stamps are always replaced. TNE_NO_OBJECT without blocks.
    ETarnovelleErrors GetTimeRange(CTNUTCTimeStamp& from, CTNUTCTimeStamp& to);
    // result 1 when no block overlaps from..to (also without blocks), else 0.
    // TNE_FAILED from a block with an invalid time; `result` is then what the
    // blocks before it left.
    ETarnovelleErrors IsEmpty(const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to, int32_t& result);

protected:
    // digit 0x8000 -> float bits 0x7ff00000; else (signed digit) * factor + offset.
    ETarnovelleErrors ConvertDigit2Float(const unsigned short* digits, uint32_t count, float factor, float offset,
                                         float* floats);
    // value - offset / factor (the quotient first; not the inverse of the
    // above unless factor is 1), truncated to 64 bits, low 16 bits stored; a
    // NaN or a result beyond 64 bits stores 0.
    ETarnovelleErrors ConvertFloat2Digit(const float* floats, uint32_t count, float factor, float offset,
                                         unsigned short* digits);

    std::string m_strDirectory;  // the measuring point's directory
    std::string m_strBasePath;   // <directory>/%08lx, without extension
    CTarnovelleChannelSamplesFile m_SamplesFile;
    CTarnovelleChannelDataFile m_DataFile;

private:
    void SetPaths(const std::string& root, const GUID& guid, const SChannelID& channelId);
    const CSampleEntry* GetEntry(int32_t index) const;
    std::string GetDataFilePath() const { return m_strBasePath + ".Dat"; }
    bool IsMeanType() const;
    // Whether blocks of `format` may go into this channel: digits and floats
    // into mean-type channels, the record formats into event-type ones.
    bool FitsValueType(EFormatId format) const;
    // Whether a block is selected for values and its format is `format`.
    bool SelectedBlockHolds(EFormatId format) const;
    // Reads or rewrites a block of `format` whole, opening the data file for the call.
    template <typename T>
    ETarnovelleErrors ReadArray(int32_t index, EFormatId format, T*& values, uint32_t& count, uint32_t first = 0,
                                uint32_t wanted = 0xFFFFFFFFu);
    template <typename T>
    ETarnovelleErrors WriteArray(int32_t index, EFormatId format, const T* values);
};
