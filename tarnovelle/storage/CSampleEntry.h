// One block of a channel as the samples file lists it: the 9-byte
// SSampleHeader, and in the derived forms the times (and for mean values the
// offset and factor) that follow it on disk.
//
// This base form has no times: it stands for a block of a channel whose value
// type has no header form. Its times are both InvalidTS, so IsOutside answers
// TNE_FAILED for it.
//
// Write puts the entry's bytes at the file's current position (the 9 bytes,
// then the form's bytes, by separate writes); CopyBytes gives the same bytes
// for a caller that collects several entries into one write.
#pragma once

#include <cstdint>

#include "tarnovelle/storage/SSampleHeader.h"
#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/values/CTNUTCTimeStamp.h"
#include "tarnovelle/values/ETarnovelleErrors.h"

class CTarnovelleFile;

class TNVL_EXPORT CSampleEntry {
public:
    CSampleEntry();
    explicit CSampleEntry(const SSampleHeader& header);
    virtual ~CSampleEntry();

    // Writes GetSizeOnDisk() bytes; a failure comes out as CTarnovelleException.
    virtual void Write(CTarnovelleFile& file) const;
    // Start and end of the block.
    virtual void GetTimes(CTNUTCTimeStamp& start, CTNUTCTimeStamp& end) const;
    // TNE_FAILED (result untouched) when a time of the block is invalid;
    // otherwise TNE_OK with result 1 when from..to misses the block, else 0.
    virtual ETarnovelleErrors IsOutside(const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to,
                                        int32_t& result) const;
    virtual uint32_t GetSizeOnDisk() const;
    // Copies the GetSizeOnDisk() bytes of the entry, as they go on disk.
    virtual void CopyBytes(uint8_t* buffer) const;

    SSampleHeader m_Header;
};
