// A point in time as stored in files: seconds since 1970 and milliseconds,
// packed into 6 little-endian bytes with no gap. Value records begin with it,
// so their value field stands at offset 6; arrays of it are read and written
// as they lie in memory, so it must stay trivially copyable.
//
// Limits: MinTS (0, 0), MaxTS (0xFFFFFFFF, 999) - the full unsigned seconds,
// unlike CTNUTCTimeStamp -, InvalidTS (0xFFFFFFFF, 0xFFFF); milliseconds above
// 999 are invalid. operator== compares both fields plainly (two different
// invalid records are unequal) and there is no operator!=. + and - take a
// second record and wrap in 32 bits without clamping; an invalid operand gives
// InvalidTS. GetUTCTimeStamp clamps into the stamp's range: seconds of
// 0x80000000 and above come back as CTNUTCTimeStamp::MaxTS.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/values/CTNUTCTimeStamp.h"

#pragma pack(push, 1)
struct TNVL_EXPORT STarnovelleTimeStampInMsec {
    uint32_t dwTime;         // seconds since 1 January 1970 00:00:00 UTC
    uint16_t wMilliseconds;  // 0..999 valid, above 999 invalid

    STarnovelleTimeStampInMsec() : dwTime(0), wMilliseconds(0) {}
    STarnovelleTimeStampInMsec(uint32_t seconds, uint16_t milliseconds)
        : dwTime(seconds), wMilliseconds(milliseconds) {}
    STarnovelleTimeStampInMsec(const STarnovelleTimeStampInMsec&) = default;
    // Copies seconds and milliseconds as they stand, invalid ones included.
    STarnovelleTimeStampInMsec(const CTNUTCTimeStamp& stamp)
        : dwTime(stamp.GetSecondsSince1970()), wMilliseconds(stamp.GetMilliseconds()) {}
    STarnovelleTimeStampInMsec& operator=(const STarnovelleTimeStampInMsec&) = default;

    CTNUTCTimeStamp GetUTCTimeStamp() const;

    bool operator==(const STarnovelleTimeStampInMsec& o) const {
        return dwTime == o.dwTime && wMilliseconds == o.wMilliseconds;
    }
    bool operator!=(const STarnovelleTimeStampInMsec&) const = delete;
    bool operator<(const STarnovelleTimeStampInMsec& o) const {
        return dwTime < o.dwTime || (dwTime == o.dwTime && wMilliseconds < o.wMilliseconds);
    }
    bool operator<=(const STarnovelleTimeStampInMsec& o) const { return !(o < *this); }
    bool operator>(const STarnovelleTimeStampInMsec& o) const { return o < *this; }
    bool operator>=(const STarnovelleTimeStampInMsec& o) const { return !(*this < o); }

    STarnovelleTimeStampInMsec operator+(const STarnovelleTimeStampInMsec& other) const;
    STarnovelleTimeStampInMsec operator-(const STarnovelleTimeStampInMsec& other) const;
    STarnovelleTimeStampInMsec& operator+=(const STarnovelleTimeStampInMsec& other);
    STarnovelleTimeStampInMsec& operator-=(const STarnovelleTimeStampInMsec& other);

    static STarnovelleTimeStampInMsec MinTS() { return STarnovelleTimeStampInMsec(0, 0); }
    static STarnovelleTimeStampInMsec MaxTS() { return STarnovelleTimeStampInMsec(0xFFFFFFFFu, 999); }
    static STarnovelleTimeStampInMsec InvalidTS() { return STarnovelleTimeStampInMsec(0xFFFFFFFFu, 0xFFFF); }
    bool IsMinTS() const { return *this == MinTS(); }
    bool IsMaxTS() const { return *this == MaxTS(); }
    bool IsInvalidTS() const { return wMilliseconds > 999; }

private:
    explicit STarnovelleTimeStampInMsec(uint32_t seconds) : dwTime(seconds), wMilliseconds(0) {}
};
#pragma pack(pop)

static_assert(sizeof(STarnovelleTimeStampInMsec) == 6, "the time record is 6 bytes on disk");
static_assert(offsetof(STarnovelleTimeStampInMsec, wMilliseconds) == 4, "milliseconds follow the seconds");
static_assert(std::is_trivially_copyable_v<STarnovelleTimeStampInMsec>, "records are copied as bytes");
