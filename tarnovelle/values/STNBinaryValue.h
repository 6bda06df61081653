// A stored binary state: the time record followed by one unsigned value of
// 8, 16 or 32 bits, packed with no gap. SBinary_BYTE, SBinary_WORD and
// SBinary_DWORD are this record for their width.
#pragma once

#include <cstdint>

#include "tarnovelle/values/STNValueRecord.h"

#pragma pack(push, 1)
template <class T>
struct STNBinaryValue : public STNValueRecord {
    T m_Value;

    STNBinaryValue() : m_Value(0) {}
    STNBinaryValue(const CTNUTCTimeStamp& stamp, T value) : STNValueRecord(stamp), m_Value(value) {}

    T GetValue() const { return m_Value; }
    void SetValue(T value) { m_Value = value; }
};
#pragma pack(pop)
