#include "tarnovelle/values/CTNMSecTimeSpan.h"

#include <cstdio>

CTNMSecTimeSpan::~CTNMSecTimeSpan() = default;

CTNMSecTimeSpan CTNMSecTimeSpan::operator*(uint32_t factor) const {
    if (IsInvalidTS())
        return InvalidTS();
    const uint32_t product = static_cast<uint32_t>(wMilliseconds) * factor;
    return CTNMSecTimeSpan(dwTime * factor + product / 1000, static_cast<uint16_t>(product % 1000));
}

CTNMSecTimeSpan CTNMSecTimeSpan::operator/(uint32_t divisor) const {
    if (IsInvalidTS())
        return InvalidTS();
    // A divisor of 0 is deliberately not caught.
    const uint32_t seconds = dwTime / divisor;
    const uint32_t milliseconds = ((dwTime % divisor) * 1000u + wMilliseconds) / divisor;
    return CTNMSecTimeSpan(seconds, static_cast<uint16_t>(milliseconds));
}

CTNMSecTimeSpan CTNMSecTimeSpan::operator-(const CTNMSecTimeSpan& other) const {
    if (IsInvalidTS() || other.IsInvalidTS())
        return InvalidTS();
    if (*this < other)
        return CTNMSecTimeSpan();
    uint32_t seconds = dwTime - other.dwTime;
    if (wMilliseconds >= other.wMilliseconds)
        return CTNMSecTimeSpan(seconds, static_cast<uint16_t>(wMilliseconds - other.wMilliseconds));
    // The borrow adds a second instead of taking one; callers of this
    // operator (Divide among them) have always seen it so.
    ++seconds;
    return CTNMSecTimeSpan(seconds, static_cast<uint16_t>(wMilliseconds - other.wMilliseconds + 1000));
}

uint32_t CTNMSecTimeSpan::Divide(const CTNMSecTimeSpan& other) const {
    if (wMilliseconds == 0 && other.wMilliseconds == 0)
        return dwTime / other.dwTime;  // zero seconds in the divisor are not caught
    uint32_t count = 0;
    CTNMSecTimeSpan rest(*this);
    while (rest > other) {
        const uint32_t factor = rest.dwTime / (other.dwTime + 1);
        rest = rest - other * factor;
        count += factor;
    }
    if (rest == other)
        ++count;
    return count;
}

namespace {

// The remainder of CalculateIntervalCount while whole intervals are taken off
// it: seconds rs, milliseconds rm (16 bits, may have wrapped).
struct SRemainder {
    uint32_t count;
    uint32_t seconds;
    uint16_t milliseconds;
};

bool HoldsAnotherInterval(const SRemainder& r, uint32_t is, uint16_t ims) {
    return r.seconds > is || (r.seconds == is && r.milliseconds > ims);
}

uint16_t NextMilliseconds(uint16_t rm, uint16_t ims) {
    return rm > ims ? static_cast<uint16_t>(rm - ims) : static_cast<uint16_t>(rm + 1000 - ims);
}

// One interval taken off; the milliseconds borrow a second when they do not
// exceed the interval's.
void TakeInterval(SRemainder& r, uint32_t is, uint16_t ims) {
    ++r.count;
    r.seconds -= is;
    if (r.milliseconds <= ims)
        --r.seconds;
    r.milliseconds = NextMilliseconds(r.milliseconds, ims);
}

// Takes intervals off while the remainder holds one, at most `limit` times.
// Returns true when the remainder holds no further interval.
bool TakeIntervals(SRemainder& r, uint32_t is, uint16_t ims, uint64_t limit) {
    for (uint64_t i = 0; i < limit; ++i) {
        if (!HoldsAnotherInterval(r, is, ims))
            return true;
        TakeInterval(r, is, ims);
    }
    return !HoldsAnotherInterval(r, is, ims);
}

// When the milliseconds have wrapped, the counting goes on until the seconds
// are used up, which can take billions of rounds. The milliseconds alone run
// through a cycle of at most 65536 values, and each turn of that cycle takes
// the same number of seconds off; so whole turns that cannot reach the end are
// counted at once, and only the first and the last turn are walked.
void TakeIntervalsInClosedForm(SRemainder& r, uint32_t is, uint16_t ims) {
    // Brent's cycle detection on the milliseconds: length of the cycle...
    uint64_t power = 1, cycle = 1;
    uint16_t tortoise = r.milliseconds;
    uint16_t hare = NextMilliseconds(tortoise, ims);
    while (tortoise != hare) {
        if (power == cycle) {
            tortoise = hare;
            power *= 2;
            cycle = 0;
        }
        hare = NextMilliseconds(hare, ims);
        ++cycle;
    }
    // ... and the number of rounds before the cycle is entered.
    tortoise = hare = r.milliseconds;
    for (uint64_t i = 0; i < cycle; ++i)
        hare = NextMilliseconds(hare, ims);
    uint64_t lead = 0;
    while (tortoise != hare) {
        tortoise = NextMilliseconds(tortoise, ims);
        hare = NextMilliseconds(hare, ims);
        ++lead;
    }
    if (TakeIntervals(r, is, ims, lead))
        return;

    // Seconds taken off by one turn of the cycle. It is never 0: with zero
    // interval seconds the milliseconds must borrow within each turn.
    uint64_t perTurn = 0;
    uint16_t rm = r.milliseconds;
    for (uint64_t i = 0; i < cycle; ++i) {
        perTurn += is + (rm <= ims ? 1u : 0u);
        rm = NextMilliseconds(rm, ims);
    }
    // Every round of these turns starts with more seconds than the interval.
    const uint64_t turns = r.seconds > is ? (static_cast<uint64_t>(r.seconds) - is - 1) / perTurn : 0;
    r.count += static_cast<uint32_t>(turns * cycle);
    r.seconds -= static_cast<uint32_t>(turns * perTurn);
    TakeIntervals(r, is, ims, UINT64_MAX);
}

}  // namespace

uint32_t CTNMSecTimeSpan::CalculateIntervalCount(const CTNMSecTimeSpan& total, const CTNMSecTimeSpan& interval) {
    const uint64_t t = static_cast<uint64_t>(total.dwTime) * 1000 + total.wMilliseconds;
    const uint64_t i = static_cast<uint64_t>(interval.dwTime) * 1000 + interval.wMilliseconds;
    if (i > t || i == 0)
        return 0;
    const uint32_t q = static_cast<uint32_t>(t / i);

    // The remainder is worked out on the pair in 32 bits.
    const uint32_t is = interval.dwTime;
    const uint16_t ims = interval.wMilliseconds;
    const uint32_t p = q * ims;
    SRemainder r{q, total.dwTime - q * is - p / 1000, 0};
    const uint32_t pm = p % 1000;
    // The test is against the interval's milliseconds, not the total's, so
    // the remainder's milliseconds may wrap and the count below runs on.
    if (pm > ims) {
        --r.seconds;
        r.milliseconds = static_cast<uint16_t>(total.wMilliseconds + 1000 - pm);
    } else {
        r.milliseconds = static_cast<uint16_t>(total.wMilliseconds - pm);
    }
    if (r.seconds == is && r.milliseconds == ims)
        return q + 1;
    // The usual remainder holds no or few further intervals.
    if (!TakeIntervals(r, is, ims, 64))
        TakeIntervalsInClosedForm(r, is, ims);
    return r.count;
}

CTNMSecTimeSpan CTNMSecTimeSpan::Create(uint32_t days, uint32_t hours, uint32_t minutes, uint32_t seconds,
                                        uint32_t milliseconds) {
    const uint32_t total = (days * 24 + hours % 24) * 3600 + (minutes % 60) * 60 + seconds % 60;
    return CTNMSecTimeSpan(total, static_cast<uint16_t>(milliseconds % 1000));
}

CTNMSecTimeSpan CTNMSecTimeSpan::CreateFromKORVEXA(uint8_t high, uint8_t middle, uint8_t low,
                                                   uint16_t milliseconds) {
    const uint32_t minutes = static_cast<uint32_t>(high) * 65536 + static_cast<uint32_t>(middle) * 256 + low;
    return CTNMSecTimeSpan(minutes * 60 + milliseconds / 1000u, static_cast<uint16_t>(milliseconds % 1000));
}

CTNMSecTimeSpan CTNMSecTimeSpan::Parse(const std::string& text) {
    int days = 0, hours = 0, minutes = 0, seconds = 0, milliseconds = 0;
    if (std::sscanf(text.c_str(), "%d %02d:%02d:%02d.%03d", &days, &hours, &minutes, &seconds, &milliseconds) != 5)
        return InvalidTS();
    return Create(static_cast<uint32_t>(days), static_cast<uint32_t>(hours), static_cast<uint32_t>(minutes),
                  static_cast<uint32_t>(seconds), static_cast<uint32_t>(milliseconds));
}

std::string CTNMSecTimeSpan::Format() const {
    if (IsInvalidTS())
        return std::string();
    char text[64];
    const int n = std::snprintf(text, sizeof text, "%d %02d:%02d:%02d.%03d", static_cast<int>(dwTime / 86400),
                                static_cast<int>((dwTime / 3600) % 24), static_cast<int>((dwTime / 60) % 60),
                                static_cast<int>(dwTime % 60), static_cast<int>(wMilliseconds % 1000));
    return std::string(text, n > 0 ? static_cast<size_t>(n) : 0);
}
