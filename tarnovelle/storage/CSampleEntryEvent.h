// A block of an event-like channel (MVT_BINARY, MVT_MEAN_EVENT,
// MVT_EXTREME_EVENT): 21 bytes on disk, times with milliseconds, the end
// inclusive.
#pragma once

#include "tarnovelle/storage/CSampleEntry.h"
#include "tarnovelle/storage/SSampleHeaderEvent.h"

class TNVL_EXPORT CSampleEntryEvent : public CSampleEntry {
public:
    CSampleEntryEvent(const SSampleHeader& header, const SSampleHeaderEvent& event);
    ~CSampleEntryEvent() override;

    void Write(CTarnovelleFile& file) const override;
    void GetTimes(CTNUTCTimeStamp& start, CTNUTCTimeStamp& end) const override;
    // Outside when `to` is before the start or `from` after the end: an event
    // on the end time is inside.
    ETarnovelleErrors IsOutside(const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to,
                                int32_t& result) const override;
    uint32_t GetSizeOnDisk() const override;
    void CopyBytes(uint8_t* buffer) const override;

    SSampleHeaderEvent m_Event;
};
