// The write side of a channel's data file, <base>.Dat: a 20-byte header, then
// the raw value records of every block, one behind the other with nothing
// between them. Which bytes form which block only the samples file knows.
//
// The object appends and does nothing else. Each WriteSampleData seeks to the
// real end of the file and writes the whole array in one write, whatever
// position the samples file has worked out for the block: after a crash the
// file may be longer than the block headers know, and values still go to the
// end. The file is held (exclusively) only between Open or Create and Close;
// the destructor closes a file that is still held.
//
// Record sizes by format: digit 2, event 14, binary byte 7, float 4, binary
// word 8, binary double word 10, message 256.
//
// Open and Close report misuse by TNE_FAILED; a file that can't be opened
// throws the file service's exception (CFileException), and so does Create
// when it can't remove an existing file (someone holds it open, or it is
// read-only); any other failing file operation throws a CTarnovelleException.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "tarnovelle/storage/CTarnovelleFile.h"
#include "tarnovelle/storage/SDataFileHeader.h"
#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/values/EFormatId.h"
#include "tarnovelle/values/ETarnovelleErrors.h"
#include "tarnovelle/support/GUID.h"
#include "tarnovelle/values/SBinary_BYTE.h"
#include "tarnovelle/values/SBinary_DWORD.h"
#include "tarnovelle/values/SBinary_Text.h"
#include "tarnovelle/values/SBinary_WORD.h"
#include "tarnovelle/values/SChannelID.h"
#include "tarnovelle/values/SEvent.h"

class TNVL_EXPORT CTarnovelleChannelDataFile {
public:
#pragma pack(push, 1)
    // Declared with the class and used by nothing; no file holds them.
    struct SDataFormat00 {
        uint32_t m_dwValue = 0;
        SDataFormat00& operator=(const SDataFormat00& other) = default;
    };
    struct SDataFormat01 {
        uint32_t m_dwValue0 = 0;
        uint32_t m_dwValue1 = 0;
        uint16_t m_wValue2 = 0;
        uint8_t m_byValue3 = 0;
        SDataFormat01& operator=(const SDataFormat01& other) = default;
    };
#pragma pack(pop)

    // Size of one record of `format`, 0 for no format.
    static uint32_t GetRecordSize(EFormatId format);

    CTarnovelleChannelDataFile();
    virtual ~CTarnovelleChannelDataFile();
    CTarnovelleChannelDataFile(const CTarnovelleChannelDataFile&) = delete;
    CTarnovelleChannelDataFile& operator=(const CTarnovelleChannelDataFile&) = delete;

    // Sets base path (the path without its extension), GUID and channel; no
    // file access. TNE_FAILED for a channel of undefined characteristic type.
    ETarnovelleErrors Init(const std::string& path, const GUID& guid, const SChannelID& channelId);
    // Init, then removes an existing <base>.Dat and opens a new one.
    ETarnovelleErrors Create(const std::string& path, const GUID& guid, const SChannelID& channelId);
    // Opens <base>.Dat for writing, creating it without truncating; a file
    // shorter than the header gets the header written at its end. If that
    // write fails the file is removed and the exception passed on.
    ETarnovelleErrors Open();
    ETarnovelleErrors Close();

    ETarnovelleErrors WriteSampleData(EFormatId format, const uint16_t* values, uint32_t count);
    ETarnovelleErrors WriteSampleData(EFormatId format, const SEvent* values, uint32_t count);
    ETarnovelleErrors WriteSampleData(EFormatId format, const SBinary_BYTE* values, uint32_t count);
    ETarnovelleErrors WriteSampleData(EFormatId format, const float* values, uint32_t count);
    ETarnovelleErrors WriteSampleData(EFormatId format, const SBinary_WORD* values, uint32_t count);
    ETarnovelleErrors WriteSampleData(EFormatId format, const SBinary_DWORD* values, uint32_t count);
    ETarnovelleErrors WriteSampleData(EFormatId format, const SBinary_Text* values, uint32_t count);

    GUID GetMeasuringPointGUID() const { return m_Header.MeasuringPointGUID; }
    SChannelID GetChannelID() const { return m_Header.ChannelID; }

private:
    std::string DataFilePath() const { return m_strBasePath + ".Dat"; }
    ETarnovelleErrors Append(EFormatId format, EFormatId expected, const void* values, uint32_t count);
    void DropFile();  // closes, swallowing errors, and deletes the file object

    SDataFileHeader m_Header;
    std::string m_strBasePath;
    std::unique_ptr<CTarnovelleFile> m_pFile;
};

static_assert(sizeof(CTarnovelleChannelDataFile::SDataFormat00) == 4, "SDataFormat00 is 4 bytes");
static_assert(sizeof(CTarnovelleChannelDataFile::SDataFormat01) == 11, "SDataFormat01 is 11 bytes");
