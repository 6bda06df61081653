// The samples file of one channel, "<base>.Sam": an 80-byte SSamplesFileHeader
// followed by one header per block (9 bytes, plus 16 for mean-value channels
// or 12 for event-like channels, by the value type in the file's channel
// identifier; other value types have 9-byte headers that are skipped).
//
// The whole list of block headers lives in memory. A write cycle is Open (or
// Create), then per run of values one SelectLastOrCreateNew... followed by the
// data file's write and IncreaseSampleDataCount, then Close. Nothing reaches
// the file before Close, which writes the file header (FormatVersion 1) and the
// block headers from m_nFirstDirty on, in one write; the file is never
// truncated, since all block headers of a channel have one size.
//
// Between Open/Create and Close the file is held exclusively, so a second
// writer and every reader wait in the open retry loop of CTarnovelleFile.
// Outside a write cycle no handle is held; Init and Refresh read a snapshot
// with a file object of their own.
//
// Mean-value blocks are kept sorted by start time (a late, older block is
// inserted in front of the blocks starting after it; equal start times keep
// their arrival order) and compare whole seconds; event blocks keep their
// arrival order and compare milliseconds.
//
// Results are ETarnovelleErrors: TNE_FAILED (Open while open, Close while
// closed), TNE_OUT_OF_MEMORY, TNE_FILE_TRUNCATED (file ends inside the form
// behind a 9-byte header), TNE_FILE_NOT_PARSED (FormatVersion above 1),
// TNE_NO_OBJECT (empty file and nothing known of the channel; GUID or channel
// differ). File failures throw CTarnovelleException; Init(path) throws a
// CFileException for the last-error value when the file can't be opened;
// Create throws a CFileException when an existing file can't be removed
// (someone holds it open, or it is read-only).
//
// What is read is taken as it stands. A file of 1 to 79 bytes gives TNE_OK
// and no blocks: its bytes land at the start of the header in memory, and the
// end of the list is recorded at its length, so a Close after it writes the
// block headers into the header's last bytes. A read that fails (a version
// above 1, a truncated form) in Open keeps the file held, and the Close that
// lets it go writes the header back with version 1.
// The destructor lets a held file go (closed, its lock released) without
// writing anything: the block headers added since Open are lost unless the
// owner calls Close.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tarnovelle/storage/CSampleEntry.h"
#include "tarnovelle/storage/SSamplesFileHeader.h"
#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/values/CTNUTCTimeStamp.h"
#include "tarnovelle/values/EFormatId.h"
#include "tarnovelle/values/EMeasurementValueType.h"
#include "tarnovelle/values/ETarnovelleErrors.h"
#include "tarnovelle/support/GUID.h"
#include "tarnovelle/values/SChannelID.h"

class CTarnovelleFile;
class CTarnovelleChannel;

class TNVL_EXPORT CTarnovelleChannelSamplesFile {
public:
    CTarnovelleChannelSamplesFile();
    virtual ~CTarnovelleChannelSamplesFile();

    // Reads "<base>.Sam". The file is not kept open.
    ETarnovelleErrors Init(const char* path);
    // Reads and compares the file if it exists (TNE_NO_OBJECT when GUID or
    // channel differ); otherwise only sets the header in memory, and a block
    // list read earlier stays until the next read.
    ETarnovelleErrors Init(const char* path, const GUID& guid, const SChannelID& channelId, const char* name,
                           uint32_t major, uint32_t minor, uint32_t build, uint32_t revision);
    // Removes an existing file and starts a write cycle on a new, empty one.
    ETarnovelleErrors Create(const char* path, const GUID& guid, const SChannelID& channelId, const char* name,
                             uint32_t major, uint32_t minor, uint32_t build, uint32_t revision);
    // Holds the file for a write cycle and reads it.
    ETarnovelleErrors Open();
    // Writes what changed and lets the file go.
    ETarnovelleErrors Close();
    // True when the file's size and modification time are still those of the
    // last read, and no write cycle is under way: a new read would give the
    // same list. A read of a file modified less than two seconds before it
    // (by the clock service) vouches for nothing, since a coarse file-system
    // clock may hide a change made within the same tick.
    bool IsUnchangedSinceRead() const;
    // Reads the file again if it can be opened; a failed open changes nothing,
    // but is given up only after the open's retries (a missing file, or one
    // this very object holds, costs about two and a half minutes). The read's
    // result is not passed on: a file that can't be parsed leaves the list
    // empty or partial.
    void Refresh();

    ETarnovelleErrors SelectLastOrCreateNewFloatDigitSample(EFormatId format, const CTNUTCTimeStamp& from,
                                                            const CTNUTCTimeStamp& to, float valueOffset,
                                                            float valueFactor);
    ETarnovelleErrors SelectLastOrCreateNewEventBinarySample(EFormatId format, const CTNUTCTimeStamp& from,
                                                             const CTNUTCTimeStamp& to);
    // Adds `count` to the selected block's element count.
    ETarnovelleErrors IncreaseSampleDataCount(uint32_t count);

    const GUID& GetMeasuringPointGUID() const { return m_Header.MeasuringPointGUID; }
    SChannelID& GetChannelID() { return m_Header.ChannelID; }
    const SChannelID& GetChannelID() const { return m_Header.ChannelID; }
    EMeasurementValueType GetMeasurementValueType() const { return m_Header.ChannelID.GetMeasurementValueType(); }

    CTarnovelleChannelSamplesFile(const CTarnovelleChannelSamplesFile&) = delete;
    CTarnovelleChannelSamplesFile& operator=(const CTarnovelleChannelSamplesFile&) = delete;

protected:
    // The channel answers its block questions from the list in memory.
    friend class CTarnovelleChannel;

    ETarnovelleErrors Read(CTarnovelleFile& file);
    void Clear();

    void SetBasePath(const char* path);
    void SetHeader(const GUID& guid, const SChannelID& channelId, const char* name, uint32_t major, uint32_t minor,
                   uint32_t build, uint32_t revision);
    std::string GetSamFilePath() const { return m_strBasePath + ".Sam"; }
    CSampleEntry* GetSelected() const;
    void MarkSelectedDirty();

    std::string m_strBasePath;                            // path without extension
    std::unique_ptr<CTarnovelleFile> m_pFile;             // held only during a write cycle
    SSamplesFileHeader m_Header;
    std::vector<std::unique_ptr<CSampleEntry>> m_Samples; // in the order of the file
    // File position of each block header; after Read or Close one more: the end of the list.
    std::vector<uint32_t> m_Positions;
    int32_t m_nFirstDirty = 0;  // headers below this index are on disk as in memory
    int32_t m_nSelected = -1;   // block the next values go to; -1 none
    // Whether the blocks' end times ascend (1), don't (0), or are not yet
    // known (-1); every change of the list makes it unknown again. The
    // channel looks blocks up by binary search where they ascend.
    mutable int8_t m_nEndsAscending = -1;
    // The file's size and modification time (ns) at the last read; 0: unknown.
    uint64_t m_nReadLength = 0;
    int64_t m_nReadModified = 0;
};
