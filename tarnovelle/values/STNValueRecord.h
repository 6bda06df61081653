// The common beginning of the stored value records (events, binary states,
// texts): the 6-byte file time record and the accessors every record offers
// for it. It adds no bytes, so a record's value field stands at offset 6.
#pragma once

#include <cstdint>

#include "tarnovelle/values/CTNUTCTimeStamp.h"
#include "tarnovelle/values/STarnovelleTimeStampInMsec.h"

#pragma pack(push, 1)
struct STNValueRecord : public STarnovelleTimeStampInMsec {
    STNValueRecord() : STarnovelleTimeStampInMsec(0, 0) {}
    explicit STNValueRecord(const CTNUTCTimeStamp& stamp) : STarnovelleTimeStampInMsec(stamp) {}

    // Clamped into the stamp's range (seconds from 0x80000000 on give MaxTS).
    CTNUTCTimeStamp GetTimeStamp() const { return GetUTCTimeStamp(); }
    uint32_t GetTime() const { return dwTime; }
    uint16_t GetMilliseconds() const { return wMilliseconds; }
    void SetTimeStamp(const CTNUTCTimeStamp& stamp) {
        dwTime = stamp.GetSecondsSince1970();
        wMilliseconds = stamp.GetMilliseconds();
    }
};
#pragma pack(pop)

static_assert(sizeof(STNValueRecord) == 6, "the common beginning adds nothing to the time record");
