// The element format of one stored block of values. The number is written as
// one byte into each block header of a samples file, so the values are fixed:
//   FORMAT_DIGIT        16-bit digit values
//   FORMAT_EVENT        SEvent records
//   FORMAT_BINARY_BYTE  SBinary_BYTE records
//   FORMAT_FLOAT        32-bit float values
//   FORMAT_BINARY_WORD  SBinary_WORD records
//   FORMAT_BINARY_DWORD SBinary_DWORD records
//   FORMAT_MESSAGE      SBinary_Text records
// The number 7 stands for "no format" (e.g. the format of a missing block) and
// never appears in a file; it has no enumerator of its own.
#pragma once

#include <cstdint>

enum EFormatId : int32_t {
    FORMAT_DIGIT = 0,
    FORMAT_EVENT = 1,
    FORMAT_BINARY_BYTE = 2,
    FORMAT_FLOAT = 3,
    FORMAT_BINARY_WORD = 4,
    FORMAT_BINARY_DWORD = 5,
    FORMAT_MESSAGE = 6,
};
