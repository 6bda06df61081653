#include "tarnovelle/storage/CTarnovelleSample.h"

#include <algorithm>
#include <cstring>

namespace {

// The format mark of a sample that holds nothing; EFormatId has no name for it.
constexpr EFormatId kNoFormat = static_cast<EFormatId>(7);

// Block header sizes on disk: the mean-value header carries offset and factor.
constexpr int32_t kFloatHeaderSize = 25;
constexpr int32_t kRecordHeaderSize = 21;

// Arrays under FORMAT_DIGIT, FORMAT_FLOAT or no format are float arrays, so
// an array is always at least count times this many bytes long.
uint32_t StorageSize(int32_t format) {
    const uint32_t size = CTarnovelleSample::GetRecordSize(format);
    return size != 0 ? size : sizeof(float);
}

template <typename T>
T* NewArray(uint64_t bytes) {
    return new T[static_cast<size_t>((bytes + sizeof(T) - 1) / sizeof(T))];
}

}  // namespace

uint32_t CTarnovelleSample::GetRecordSize(int32_t format) {
    switch (format) {
        case FORMAT_DIGIT:
        case FORMAT_FLOAT: return sizeof(float);
        case FORMAT_EVENT: return sizeof(SEvent);
        case FORMAT_BINARY_BYTE: return sizeof(SBinary_BYTE);
        case FORMAT_BINARY_WORD: return sizeof(SBinary_WORD);
        case FORMAT_BINARY_DWORD: return sizeof(SBinary_DWORD);
        case FORMAT_MESSAGE: return sizeof(SBinary_Text);
        default: return 0;
    }
}

void CTarnovelleSample::FreeValues(int32_t format, UValues& values) {
    switch (format) {
        case FORMAT_EVENT: delete[] values.pEvent; break;
        case FORMAT_BINARY_BYTE: delete[] values.pByte; break;
        case FORMAT_BINARY_WORD: delete[] values.pWord; break;
        case FORMAT_BINARY_DWORD: delete[] values.pDWord; break;
        case FORMAT_MESSAGE: delete[] values.pText; break;
        default: delete[] values.pFloat; break;
    }
    values.pFloat = nullptr;
}

CTarnovelleSample::UValues CTarnovelleSample::AllocateValues(int32_t format, uint64_t bytes) {
    UValues values;
    switch (format) {
        case FORMAT_EVENT: values.pEvent = NewArray<SEvent>(bytes); break;
        case FORMAT_BINARY_BYTE: values.pByte = NewArray<SBinary_BYTE>(bytes); break;
        case FORMAT_BINARY_WORD: values.pWord = NewArray<SBinary_WORD>(bytes); break;
        case FORMAT_BINARY_DWORD: values.pDWord = NewArray<SBinary_DWORD>(bytes); break;
        case FORMAT_MESSAGE: values.pText = NewArray<SBinary_Text>(bytes); break;
        default: values.pFloat = NewArray<float>(bytes); break;
    }
    return values;
}

CTarnovelleSample::CTarnovelleSample()
    : m_StartTime(CTNUTCTimeStamp::InvalidTS()),
      m_EndTime(CTNUTCTimeStamp::InvalidTS()),
      m_nNrOfValues(0),
      m_pValues{nullptr},
      m_FormatId(kNoFormat) {}

CTarnovelleSample::CTarnovelleSample(const CTarnovelleSample& other) : CTarnovelleSample() {
    CopyContents(other);
}

CTarnovelleSample::CTarnovelleSample(const CTNUTCTimeStamp& start, const CTNMSecTimeSpan& interval,
                                     uint32_t count, const float* values)
    : CTarnovelleSample(start, start + interval * count, count, values) {}

CTarnovelleSample::CTarnovelleSample(const CTNUTCTimeStamp& start, const CTNUTCTimeStamp& end, uint32_t count,
                                     const float* values)
    : m_StartTime(start), m_EndTime(end), m_nNrOfValues(0), m_pValues{nullptr}, m_FormatId(FORMAT_FLOAT) {
    // Without values to copy the sample stays empty rather than read from null.
    if (count != 0 && values != nullptr) {
        m_pValues.pFloat = new float[count];
        std::memcpy(m_pValues.pFloat, values, static_cast<size_t>(count) * sizeof(float));
        m_nNrOfValues = count;
    }
}

CTarnovelleSample::CTarnovelleSample(const CTNUTCTimeStamp& start, const CTNUTCTimeStamp& end, uint32_t count,
                                     const SEvent* events)
    : m_StartTime(start), m_EndTime(end), m_nNrOfValues(0), m_pValues{nullptr}, m_FormatId(FORMAT_EVENT) {
    if (count != 0 && events != nullptr) {
        m_pValues.pEvent = new SEvent[count];
        std::copy(events, events + count, m_pValues.pEvent);
        m_nNrOfValues = count;
    }
}

CTarnovelleSample::~CTarnovelleSample() { FreeValues(); }

CTarnovelleSample& CTarnovelleSample::operator=(const CTarnovelleSample& other) {
    CopyContents(other);
    return *this;
}

void CTarnovelleSample::CopyContents(const CTarnovelleSample& other) {
    // Assigning a sample to itself would free the very array it copies from.
    if (&other == this)
        return;
    // The old array is freed as what it was made as, before the format mark changes.
    FreeValues();
    m_StartTime = other.m_StartTime;
    m_EndTime = other.m_EndTime;
    m_FormatId = other.m_FormatId;
    m_nNrOfValues = other.m_nNrOfValues;
    if (m_nNrOfValues == 0)
        return;
    if (m_FormatId < FORMAT_DIGIT || m_FormatId > FORMAT_MESSAGE) {
        m_FormatId = kNoFormat;
        m_nNrOfValues = 0;
        return;
    }
    const uint64_t bytes = static_cast<uint64_t>(m_nNrOfValues) * GetRecordSize(m_FormatId);
    m_pValues = AllocateValues(m_FormatId, bytes);
    std::memcpy(m_pValues.pFloat, other.m_pValues.pFloat, static_cast<size_t>(bytes));
}

namespace {

template <typename T>
ETarnovelleErrors CopyOut(EFormatId have, EFormatId want, uint32_t haveCount, uint32_t count, const T* from,
                          T* out) {
    if (have != want || count != haveCount)
        return TNE_FAILED;
    if (count == 0)
        return TNE_OK;
    if (out == nullptr || from == nullptr)
        return TNE_FAILED;
    std::memcpy(static_cast<void*>(out), from, static_cast<size_t>(count) * sizeof(T));
    return TNE_OK;
}

}  // namespace

ETarnovelleErrors CTarnovelleSample::GetArray(float* out, uint32_t count) const {
    return CopyOut(m_FormatId, FORMAT_FLOAT, m_nNrOfValues, count, m_pValues.pFloat, out);
}

ETarnovelleErrors CTarnovelleSample::GetArray(SEvent* out, uint32_t count) const {
    return CopyOut(m_FormatId, FORMAT_EVENT, m_nNrOfValues, count, m_pValues.pEvent, out);
}

ETarnovelleErrors CTarnovelleSample::GetArray(SBinary_BYTE* out, uint32_t count) const {
    return CopyOut(m_FormatId, FORMAT_BINARY_BYTE, m_nNrOfValues, count, m_pValues.pByte, out);
}

ETarnovelleErrors CTarnovelleSample::GetArray(SBinary_WORD* out, uint32_t count) const {
    return CopyOut(m_FormatId, FORMAT_BINARY_WORD, m_nNrOfValues, count, m_pValues.pWord, out);
}

ETarnovelleErrors CTarnovelleSample::GetArray(SBinary_DWORD* out, uint32_t count) const {
    return CopyOut(m_FormatId, FORMAT_BINARY_DWORD, m_nNrOfValues, count, m_pValues.pDWord, out);
}

ETarnovelleErrors CTarnovelleSample::GetArray(SBinary_Text* out, uint32_t count) const {
    return CopyOut(m_FormatId, FORMAT_MESSAGE, m_nNrOfValues, count, m_pValues.pText, out);
}

int32_t CTarnovelleSample::GetSizeInBytes() const {
    if (!IsRecordFormat(m_FormatId))
        return 0;
    const int32_t header = m_FormatId == FORMAT_FLOAT ? kFloatHeaderSize : kRecordHeaderSize;
    // 32-bit arithmetic, as the room checks of the archive count in 32 bits.
    return static_cast<int32_t>(m_nNrOfValues * GetRecordSize(m_FormatId) + static_cast<uint32_t>(header));
}

ETarnovelleErrors CTarnovelleSample::Append(const CTarnovelleSample& other) {
    if (!IsRecordFormat(other.m_FormatId))
        return TNE_OK;
    if (other.m_nNrOfValues == 0) {
        // Nothing to copy: joining an empty sample moves only the end.
        m_EndTime = other.m_EndTime;
        return TNE_OK;
    }
    const uint64_t otherSize = GetRecordSize(other.m_FormatId);
    const uint64_t ownSize = StorageSize(m_FormatId);
    const uint64_t total = static_cast<uint64_t>(m_nNrOfValues) + other.m_nNrOfValues;
    // The new array is laid out in other's record size. With unequal formats it
    // is made large enough to be read under this sample's own format mark too.
    const bool sameLayout = ownSize == otherSize;
    UValues joined = AllocateValues(m_FormatId, total * std::max(ownSize, otherSize));
    if (!sameLayout)
        std::memset(static_cast<void*>(joined.pFloat), 0, static_cast<size_t>(total * std::max(ownSize, otherSize)));
    if (m_nNrOfValues != 0 && m_pValues.pFloat != nullptr)
        std::memcpy(static_cast<void*>(joined.pFloat), m_pValues.pFloat,
                    static_cast<size_t>(m_nNrOfValues * std::min(ownSize, otherSize)));
    FreeValues();
    m_pValues = joined;
    if (other.m_nNrOfValues != 0 && other.m_pValues.pFloat != nullptr)
        std::memcpy(reinterpret_cast<char*>(joined.pFloat) + m_nNrOfValues * otherSize, other.m_pValues.pFloat,
                    static_cast<size_t>(other.m_nNrOfValues * otherSize));
    m_nNrOfValues += other.m_nNrOfValues;
    m_EndTime = other.m_EndTime;
    return TNE_OK;
}
