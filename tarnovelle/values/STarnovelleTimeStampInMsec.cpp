#include "tarnovelle/values/STarnovelleTimeStampInMsec.h"

CTNUTCTimeStamp STarnovelleTimeStampInMsec::GetUTCTimeStamp() const {
    // The clamping addition brings the record's full unsigned range into the
    // stamp's signed one, and turns an invalid record into InvalidTS.
    return CTNUTCTimeStamp::CreateUTCTimeStamp1970() + CTNMSecTimeSpan(dwTime, wMilliseconds);
}

STarnovelleTimeStampInMsec STarnovelleTimeStampInMsec::operator+(const STarnovelleTimeStampInMsec& other) const {
    STarnovelleTimeStampInMsec result(*this);
    result += other;
    return result;
}

STarnovelleTimeStampInMsec STarnovelleTimeStampInMsec::operator-(const STarnovelleTimeStampInMsec& other) const {
    STarnovelleTimeStampInMsec result(*this);
    result -= other;
    return result;
}

STarnovelleTimeStampInMsec& STarnovelleTimeStampInMsec::operator+=(const STarnovelleTimeStampInMsec& other) {
    if (IsInvalidTS() || other.IsInvalidTS()) {
        *this = InvalidTS();
        return *this;
    }
    dwTime += other.dwTime;
    uint16_t ms = static_cast<uint16_t>(wMilliseconds + other.wMilliseconds);
    while (ms >= 1000) {
        ++dwTime;
        ms = static_cast<uint16_t>(ms - 1000);
    }
    wMilliseconds = ms;
    return *this;
}

STarnovelleTimeStampInMsec& STarnovelleTimeStampInMsec::operator-=(const STarnovelleTimeStampInMsec& other) {
    if (IsInvalidTS() || other.IsInvalidTS()) {
        *this = InvalidTS();
        return *this;
    }
    dwTime -= other.dwTime;
    uint16_t ms = wMilliseconds;
    while (ms < other.wMilliseconds) {
        --dwTime;
        ms = static_cast<uint16_t>(ms + 1000);
    }
    wMilliseconds = static_cast<uint16_t>(ms - other.wMilliseconds);
    return *this;
}
