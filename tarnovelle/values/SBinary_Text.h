// A stored text message: a time stamp followed by a 250-byte text field.
// Arrays of it are the value area of a data file of format FORMAT_MESSAGE
// (the archive's status lines are such records), so it is packed, 256 bytes:
// seconds since 1970 at offset 0, milliseconds at offset 4, text at offset 6.
//
// The record carries no length. A text is put in by a byte copy bounded at
// 250 that pads a shorter text with zero bytes and cuts a longer one, so a
// text of 250 bytes or more is stored without a terminator and nothing marks
// the cut. GetValue reads the field up to its first zero byte (at most 250).
// A null text is stored as the empty text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/values/CTNUTCTimeStamp.h"
#include "tarnovelle/values/STNValueRecord.h"

#pragma pack(push, 1)
struct TNVL_EXPORT SBinary_Text : public STNValueRecord {
    static constexpr size_t TEXT_LENGTH = 250;

    char m_Value[TEXT_LENGTH];

    SBinary_Text();
    SBinary_Text(const CTNUTCTimeStamp& stamp, const std::string& text);
    SBinary_Text(const CTNUTCTimeStamp& stamp, const char* text);
    SBinary_Text(const SBinary_Text&) = default;
    SBinary_Text& operator=(const SBinary_Text&) = default;

    std::string GetValue() const;
    void SetValue(const std::string& text);
    void SetValue(const char* text);

private:
    void CopyText(const char* text, size_t available);
};
#pragma pack(pop)

static_assert(sizeof(SBinary_Text) == 256, "a text record is 256 bytes in a data file");
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(offsetof(SBinary_Text, m_Value) == 6, "the text follows the 6-byte time stamp");
#pragma GCC diagnostic pop
