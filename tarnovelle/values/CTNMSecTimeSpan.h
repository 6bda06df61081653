// A length of time: 32-bit unsigned seconds and 16-bit unsigned milliseconds.
//
// A millisecond field in 0..999 is a valid span; anything above 999 is the
// invalid span, whatever the seconds hold (IsInvalidTS). Limits: MinTS (0, 0),
// MaxTS (0xFFFFFFFF, 999), InvalidTS (0xFFFFFFFF, 0xFFFF).
//
// Comparisons are plain and lexicographic on (seconds, milliseconds), so the
// invalid span is greater than every other span. There is no operator+.
// Arithmetic never reports an error: invalid operands give InvalidTS, the rest
// wraps in 32 bits. Deliberate oddities callers rely on:
//   - operator- adds one second (not takes one) when it has to borrow
//     milliseconds: (5 s, 100 ms) - (2 s, 500 ms) == (4 s, 600 ms);
//   - CalculateIntervalCount can count more intervals than fit when the
//     remainder's milliseconds wrap: (3 s, 100 ms) over (1 s, 700 ms) is 3;
//   - operator/ with 0 and Divide by a span of zero seconds when both
//     millisecond fields are 0 are unguarded integer divisions;
//   - Divide never ends when the rest has the divisor's seconds and more
//     milliseconds, e.g. (3 s, 600 ms) by (3 s, 500 ms).
// Nothing here allocates except the strings of Format and Parse.
#pragma once

#include <cstdint>
#include <string>

#include "tarnovelle/support/TNExport.h"

class TNVL_EXPORT CTNMSecTimeSpan {
public:
    CTNMSecTimeSpan() : dwTime(0), wMilliseconds(0) {}
    CTNMSecTimeSpan(uint32_t seconds, uint16_t milliseconds)
        : dwTime(seconds), wMilliseconds(milliseconds) {}
    CTNMSecTimeSpan(const CTNMSecTimeSpan&) = default;
    CTNMSecTimeSpan& operator=(const CTNMSecTimeSpan&) = default;
    virtual ~CTNMSecTimeSpan();

    uint32_t GetDWTime() const { return dwTime; }
    uint16_t GetWMilliseconds() const { return wMilliseconds; }

    bool operator==(const CTNMSecTimeSpan& o) const {
        return dwTime == o.dwTime && wMilliseconds == o.wMilliseconds;
    }
    bool operator!=(const CTNMSecTimeSpan& o) const { return !(*this == o); }
    bool operator<(const CTNMSecTimeSpan& o) const {
        return dwTime < o.dwTime || (dwTime == o.dwTime && wMilliseconds < o.wMilliseconds);
    }
    bool operator<=(const CTNMSecTimeSpan& o) const { return !(o < *this); }
    bool operator>(const CTNMSecTimeSpan& o) const { return o < *this; }
    bool operator>=(const CTNMSecTimeSpan& o) const { return !(*this < o); }

    CTNMSecTimeSpan operator*(uint32_t factor) const;
    CTNMSecTimeSpan operator/(uint32_t divisor) const;
    CTNMSecTimeSpan operator-(const CTNMSecTimeSpan& other) const;

    // How many times `other` goes into this span (see the oddities above).
    uint32_t Divide(const CTNMSecTimeSpan& other) const;

    // How many whole intervals fit into total; 0 for a zero interval or one
    // longer than the total.
    static uint32_t CalculateIntervalCount(const CTNMSecTimeSpan& total, const CTNMSecTimeSpan& interval);
    // Hours, minutes, seconds and milliseconds fold by modulo; days are whole.
    static CTNMSecTimeSpan Create(uint32_t days, uint32_t hours, uint32_t minutes, uint32_t seconds,
                                  uint32_t milliseconds);
    // The device's form: a 24-bit count of minutes, most significant byte
    // first, and a 16-bit count of milliseconds.
    static CTNMSecTimeSpan CreateFromKORVEXA(uint8_t high, uint8_t middle, uint8_t low, uint16_t milliseconds);
    // "days hh:mm:ss.mmm"; anything else gives InvalidTS.
    static CTNMSecTimeSpan Parse(const std::string& text);
    static CTNMSecTimeSpan MinTS() { return CTNMSecTimeSpan(0, 0); }
    static CTNMSecTimeSpan MaxTS() { return CTNMSecTimeSpan(0xFFFFFFFFu, 999); }
    static CTNMSecTimeSpan InvalidTS() { return CTNMSecTimeSpan(0xFFFFFFFFu, 0xFFFF); }

    // "%d %02d:%02d:%02d.%03d" (days, hours, minutes, seconds, milliseconds);
    // empty for the invalid span.
    std::string Format() const;

    bool IsMinTS() const { return *this == MinTS(); }
    bool IsMaxTS() const { return *this == MaxTS(); }
    bool IsInvalidTS() const { return wMilliseconds > 999; }

private:
    uint32_t dwTime;          // seconds
    uint16_t wMilliseconds;   // 0..999 valid, above 999 invalid
};
