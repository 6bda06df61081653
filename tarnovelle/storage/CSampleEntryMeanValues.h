// A block of a mean-value channel (MVT_MEAN, MVT_MINIMUM, MVT_MAXIMUM,
// MVT_INTERVAL): 25 bytes on disk, whole-second times, the end exclusive, and
// the offset and factor of digit blocks.
#pragma once

#include "tarnovelle/storage/CSampleEntry.h"
#include "tarnovelle/storage/SSampleHeaderMeanValues.h"

class TNVL_EXPORT CSampleEntryMeanValues : public CSampleEntry {
public:
    CSampleEntryMeanValues(const SSampleHeader& header, const SSampleHeaderMeanValues& meanValues);
    ~CSampleEntryMeanValues() override;

    void Write(CTarnovelleFile& file) const override;
    // Milliseconds are 0: the file keeps whole seconds only.
    void GetTimes(CTNUTCTimeStamp& start, CTNUTCTimeStamp& end) const override;
    // Also outside when `from` is at or after the end, the end being exclusive.
    ETarnovelleErrors IsOutside(const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to,
                                int32_t& result) const override;
    uint32_t GetSizeOnDisk() const override;
    void CopyBytes(uint8_t* buffer) const override;

    SSampleHeaderMeanValues m_MeanValues;
};
