#include "tarnovelle/storage/CTarnovelleSample.h"

#include "tarnovelle/storage/CTarnovelleChannel.h"
#include "tarnovelle/storage/SSampleHeader.h"
#include "tarnovelle/storage/SSampleHeaderEvent.h"
#include "tarnovelle/storage/SSampleHeaderMeanValues.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <type_traits>

namespace {

constexpr EFormatId kNoFormat = CTarnovelleChannel::kNoFormat;

// Block header sizes on disk: the mean-value header carries offset and factor.
constexpr int32_t kFloatHeaderSize = sizeof(SSampleHeader) + sizeof(SSampleHeaderMeanValues);
constexpr int32_t kRecordHeaderSize = sizeof(SSampleHeader) + sizeof(SSampleHeaderEvent);
static_assert(kFloatHeaderSize == 25 && kRecordHeaderSize == 21, "block headers are 25 and 21 bytes on disk");

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
    // In memory digits are the floats they become; every other format is
    // held as it is stored.
    if (format == FORMAT_DIGIT) return sizeof(float);
    if (format < FORMAT_DIGIT || format > FORMAT_MESSAGE) return 0;
    return CTarnovelleChannelDataFile::GetRecordSize(static_cast<EFormatId>(format));
}

void CTarnovelleSample::DeleteArray(int32_t arrayFormat, void* values) {
    switch (arrayFormat) {
        case FORMAT_EVENT: delete[] static_cast<SEvent*>(values); break;
        case FORMAT_BINARY_BYTE: delete[] static_cast<SBinary_BYTE*>(values); break;
        case FORMAT_BINARY_WORD: delete[] static_cast<SBinary_WORD*>(values); break;
        case FORMAT_BINARY_DWORD: delete[] static_cast<SBinary_DWORD*>(values); break;
        case FORMAT_MESSAGE: delete[] static_cast<SBinary_Text*>(values); break;
        default: delete[] static_cast<float*>(values); break;
    }
}

void CTarnovelleSample::FreeValues() {
    // Released as the type it was made as, which after Append need not be the
    // one the format mark names.
    DeleteArray(m_ArrayFormat, m_pValues.pFloat);
    m_pValues.pFloat = nullptr;
}

void CTarnovelleSample::AdoptValues(UValues values, int32_t arrayFormat) {
    FreeValues();
    m_pValues = values;
    m_ArrayFormat = static_cast<EFormatId>(arrayFormat);
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
      m_FormatId(kNoFormat),
      m_ArrayFormat(kNoFormat) {}

CTarnovelleSample::CTarnovelleSample(const CTarnovelleSample& other) : CTarnovelleSample() {
    CopyContents(other);
}

CTarnovelleSample::CTarnovelleSample(const CTNUTCTimeStamp& start, const CTNMSecTimeSpan& interval,
                                     uint32_t count, const float* values)
    : CTarnovelleSample(start, start + interval * count, count, values) {}

CTarnovelleSample::CTarnovelleSample(const CTNUTCTimeStamp& start, const CTNUTCTimeStamp& end, uint32_t count,
                                     const float* values)
    : m_StartTime(start),
      m_EndTime(end),
      m_nNrOfValues(0),
      m_pValues{nullptr},
      m_FormatId(FORMAT_FLOAT),
      m_ArrayFormat(FORMAT_FLOAT) {
    // Without values to copy the sample stays empty rather than read from null.
    if (count != 0 && values != nullptr) {
        m_pValues.pFloat = new float[count];
        std::memcpy(m_pValues.pFloat, values, static_cast<size_t>(count) * sizeof(float));
        m_nNrOfValues = count;
    }
}

CTarnovelleSample::CTarnovelleSample(const CTNUTCTimeStamp& start, const CTNUTCTimeStamp& end, uint32_t count,
                                     const SEvent* events)
    : m_StartTime(start),
      m_EndTime(end),
      m_nNrOfValues(0),
      m_pValues{nullptr},
      m_FormatId(FORMAT_EVENT),
      m_ArrayFormat(FORMAT_EVENT) {
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
    AdoptValues(AllocateValues(m_FormatId, bytes), m_FormatId);
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
    UValues joined = AllocateValues(other.m_FormatId, total * std::max(ownSize, otherSize));
    if (!sameLayout)
        std::memset(static_cast<void*>(joined.pFloat), 0, static_cast<size_t>(total * std::max(ownSize, otherSize)));
    if (m_nNrOfValues != 0 && m_pValues.pFloat != nullptr)
        std::memcpy(static_cast<void*>(joined.pFloat), m_pValues.pFloat,
                    static_cast<size_t>(m_nNrOfValues * std::min(ownSize, otherSize)));
    AdoptValues(joined, other.m_FormatId);
    if (other.m_nNrOfValues != 0 && other.m_pValues.pFloat != nullptr)
        std::memcpy(reinterpret_cast<char*>(joined.pFloat) + m_nNrOfValues * otherSize, other.m_pValues.pFloat,
                    static_cast<size_t>(other.m_nNrOfValues * otherSize));
    m_nNrOfValues += other.m_nNrOfValues;
    m_EndTime = other.m_EndTime;
    return TNE_OK;
}

void CTarnovelleSample::SetFormatKeepingValues(EFormatId format) {
    if (m_pValues.pFloat != nullptr && StorageSize(format) != StorageSize(m_FormatId)) {
        FreeValues();
        m_nNrOfValues = 0;
    }
    m_FormatId = format;
}

// ---------------------------------------------------------------- loading

namespace {

// Loads a whole block with the array form that belongs to `format`; digits
// come as floats. The channel allocates with new[]; the caller owns the array.
template <typename T>
ETarnovelleErrors LoadBlock(CTarnovelleChannel& channel, int32_t index, void*& values, uint32_t& count) {
    T* array = nullptr;
    count = 0;
    const ETarnovelleErrors result = channel.GetArray(index, array, count);
    values = array;
    if (array == nullptr)
        count = 0;
    return result;
}

ETarnovelleErrors LoadWholeBlock(CTarnovelleChannel& channel, int32_t index, EFormatId format, void*& values,
                                 uint32_t& count) {
    values = nullptr;
    count = 0;
    switch (format) {
        case FORMAT_EVENT: return LoadBlock<SEvent>(channel, index, values, count);
        case FORMAT_BINARY_BYTE: return LoadBlock<SBinary_BYTE>(channel, index, values, count);
        case FORMAT_BINARY_WORD: return LoadBlock<SBinary_WORD>(channel, index, values, count);
        case FORMAT_BINARY_DWORD: return LoadBlock<SBinary_DWORD>(channel, index, values, count);
        case FORMAT_MESSAGE: return LoadBlock<SBinary_Text>(channel, index, values, count);
        default: return LoadBlock<float>(channel, index, values, count);
    }
}

// The time stamp of record `index` of an array of `format`.
CTNUTCTimeStamp RecordTime(const void* values, EFormatId format, uint32_t index) {
    const char* record = static_cast<const char*>(values) + static_cast<size_t>(index) * CTarnovelleSample::GetRecordSize(format);
    STarnovelleTimeStampInMsec stamp;
    std::memcpy(static_cast<void*>(&stamp), record, sizeof(stamp));
    return stamp.GetUTCTimeStamp();
}

}  // namespace

ETarnovelleErrors CTarnovelleSample::Init(CTarnovelleChannel& channel, int32_t index) {
    const EFormatId format = channel.GetFormatId(index);
    SetFormatKeepingValues(format);
    if (channel.GetNrOfValues(index) == 0) {
        // An empty block ends where it starts, whatever its header says.
        m_StartTime = channel.GetStartTime(index);
        m_EndTime = m_StartTime;
        return TNE_OK;
    }
    FreeValues();
    m_nNrOfValues = 0;
    if (format == FORMAT_DIGIT)
        m_FormatId = FORMAT_FLOAT;
    // The channel's array becomes the sample's own: a whole block is not copied.
    void* values = nullptr;
    uint32_t count = 0;
    const ETarnovelleErrors result = LoadWholeBlock(channel, index, m_FormatId, values, count);
    UValues loaded;
    loaded.pFloat = static_cast<float*>(values);
    AdoptValues(loaded, m_FormatId);
    m_nNrOfValues = count;
    if (result != TNE_OK)
        return result;
    m_StartTime = channel.GetStartTime(index);
    m_EndTime = channel.GetEndTime(index);
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleSample::Init(CTarnovelleChannel& channel, int32_t index, uint32_t first, uint32_t last) {
    return InitRange(channel, index, first, last, nullptr, 0);
}

ETarnovelleErrors CTarnovelleSample::InitRange(CTarnovelleChannel& channel, int32_t index, uint32_t first,
                                               uint32_t last, void* preloaded, uint32_t preloadedCount) {
    // A block read already (by the record formats' time scan) is this call's
    // to free on every way out that doesn't keep it.
    struct SPreloaded {
        void*& values;
        int32_t format;
        ~SPreloaded() { DeleteArray(format, values); }
    } preloadedGuard{preloaded, channel.GetFormatId(index)};
    SetFormatKeepingValues(channel.GetFormatId(index));
    const CTNUTCTimeStamp blockStart = channel.GetStartTime(index);
    if (first >= last) {
        m_StartTime = blockStart;
        m_EndTime = blockStart;
        return TNE_OK;
    }
    if (m_FormatId > FORMAT_MESSAGE || m_FormatId < FORMAT_DIGIT)
        return TNE_OK;
    if (m_FormatId == FORMAT_DIGIT)
        SetFormatKeepingValues(FORMAT_FLOAT);

    FreeValues();
    m_nNrOfValues = 0;
    void* loaded = nullptr;
    uint32_t loadedCount = 0;
    // Where loaded[0] stands in the block: floats are read from `first` on,
    // and only as many as asked for; records are read whole.
    uint32_t loadedFrom = 0;
    ETarnovelleErrors result = TNE_OK;
    if (preloaded) {
        loaded = preloaded;
        loadedCount = preloadedCount;
        preloaded = nullptr;
    } else if (m_FormatId == FORMAT_FLOAT) {
        float* part = nullptr;
        result = channel.GetArray(index, first, last - first, part, loadedCount);
        loaded = part;
        loadedFrom = first;
        if (part == nullptr) loadedCount = 0;
    } else {
        result = LoadWholeBlock(channel, index, m_FormatId, loaded, loadedCount);
    }
    if (result != TNE_OK) {
        DeleteArray(m_FormatId, loaded);
        return result;
    }
    // Never read behind the loaded values, even for a `first` beyond them.
    const uint32_t skip = first - loadedFrom;
    const uint32_t available = skip < loadedCount ? loadedCount - skip : 0;
    const uint32_t count = std::min(last - first, available);
    if (count == 0 || loaded == nullptr) {
        DeleteArray(m_FormatId, loaded);
        return TNE_FAILED;
    }
    const size_t recordSize = GetRecordSize(m_FormatId);
    if (skip == 0 && count == loadedCount) {
        // The whole block is wanted: keep the loaded array instead of copying it.
        UValues whole;
        whole.pFloat = static_cast<float*>(loaded);
        AdoptValues(whole, m_FormatId);
    } else {
        try {
            AdoptValues(AllocateValues(m_FormatId, static_cast<uint64_t>(count) * recordSize), m_FormatId);
        } catch (...) {
            DeleteArray(m_FormatId, loaded);
            throw;
        }
        std::memcpy(static_cast<void*>(m_pValues.pFloat), static_cast<const char*>(loaded) + skip * recordSize,
                    count * recordSize);
        DeleteArray(m_FormatId, loaded);
    }
    m_nNrOfValues = count;

    if (m_FormatId == FORMAT_FLOAT) {
        // Values of a float block are evenly spaced; `last` is taken as given.
        CTNMSecTimeSpan interval;
        CTNUTCTimeStamp::CalculateIntervalTime(blockStart, channel.GetEndTime(index), channel.GetNrOfValues(index),
                                               interval);
        m_StartTime = blockStart + interval * first;
        m_EndTime = blockStart + interval * last;
    } else {
        m_StartTime = RecordTime(m_pValues.pFloat, m_FormatId, 0);
        m_EndTime = RecordTime(m_pValues.pFloat, m_FormatId, count - 1);
    }
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleSample::Init(CTarnovelleChannel& channel, int32_t index, const CTNUTCTimeStamp& from,
                                          const CTNUTCTimeStamp& to, bool includePrevious) {
    const EFormatId format = channel.GetFormatId(index);
    SetFormatKeepingValues(format);
    if (channel.GetNrOfValues(index) == 0)
        return TNE_OK;
    const bool floatFamily = format == FORMAT_DIGIT || format == FORMAT_FLOAT;
    if (!(from < to) && floatFamily)
        return TNE_OK;
    if (format > FORMAT_MESSAGE || format < FORMAT_DIGIT)
        return TNE_OK;
    if (floatFamily)
        return InitFloatsForTimeRange(channel, index, from, to, includePrevious);
    return InitRecordsForTimeRange(channel, index, from, to, includePrevious);
}

ETarnovelleErrors CTarnovelleSample::InitRecordsForTimeRange(CTarnovelleChannel& channel, int32_t index,
                                                             const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to,
                                                             bool includePrevious) {
    void* loaded = nullptr;
    uint32_t loadedCount = 0;
    ETarnovelleErrors result = TNE_OK;
    try {
        result = LoadWholeBlock(channel, index, m_FormatId, loaded, loadedCount);
    } catch (...) {
        // A load that throws leaves no values behind, as the other forms do;
        // the earlier contents are kept only where the scan finds nothing.
        FreeValues();
        m_nNrOfValues = 0;
        throw;
    }
    if (result != TNE_OK) {
        DeleteArray(m_FormatId, loaded);
        return result;
    }
    uint32_t first = 0;
    uint32_t last = 0;
    for (uint32_t i = 0; loaded != nullptr && i < loadedCount; ++i) {
        const CTNUTCTimeStamp time = RecordTime(loaded, m_FormatId, i);
        if (last == 0) {
            // The first record at or behind `from` is taken, even behind `to`.
            if (!(time < from)) {
                first = i;
                last = i + 1;
            }
        } else {
            if (time > to)
                break;
            last = i + 1;
        }
    }
    // The event before the range tells the value at the range's start.
    if (m_FormatId == FORMAT_EVENT && includePrevious && first != 0)
        --first;
    // The block is in memory already: the range is cut from it, not read again.
    return InitRange(channel, index, first, last, loaded, loadedCount);
}

ETarnovelleErrors CTarnovelleSample::InitFloatsForTimeRange(CTarnovelleChannel& channel, int32_t index,
                                                            const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to,
                                                            bool includePrevious) {
    if (m_FormatId == FORMAT_DIGIT)
        SetFormatKeepingValues(FORMAT_FLOAT);
    const uint32_t count = channel.GetNrOfValues(index);
    const CTNUTCTimeStamp blockStart = channel.GetStartTime(index);
    const CTNUTCTimeStamp blockEnd = channel.GetEndTime(index);
    uint32_t first = 0;
    uint32_t last = count;
    CTNMSecTimeSpan interval;
    CTNUTCTimeStamp::CalculateIntervalTime(blockStart, blockEnd, count, interval);
    if (from > blockStart) {
        CTNMSecTimeSpan span;
        CTNUTCTimeStamp::CalculateTimeSpan(blockStart, from, span);
        first = CTNMSecTimeSpan::CalculateIntervalCount(span, interval);
        // `from` inside a value's interval: that value began before the range.
        if (interval * first < span && !includePrevious)
            ++first;
    }
    if (to < blockEnd) {
        // A value stays unless a whole interval of it lies behind `to`.
        CTNMSecTimeSpan span;
        CTNUTCTimeStamp::CalculateTimeSpan(to, blockEnd, span);
        last = count - CTNMSecTimeSpan::CalculateIntervalCount(span, interval);
    }
    return Init(channel, index, first, last);
}

// ---------------------------------------------------------------- saving

ETarnovelleErrors CTarnovelleSample::Save(CTarnovelleChannel& channel) const {
    ETarnovelleErrors result = TNE_OK;
    switch (m_FormatId) {
        case FORMAT_EVENT:
            result = channel.WriteBeginSampleEvent(m_StartTime, m_EndTime);
            return result != TNE_OK ? result : channel.WriteSampleData(m_pValues.pEvent, m_nNrOfValues);
        case FORMAT_BINARY_BYTE:
            result = channel.WriteBeginSampleBinary(m_FormatId, m_StartTime, m_EndTime);
            return result != TNE_OK ? result : channel.WriteSampleData(m_pValues.pByte, m_nNrOfValues);
        case FORMAT_FLOAT:
            result = channel.WriteBeginSampleFloat(m_StartTime, m_EndTime, m_nNrOfValues);
            return result != TNE_OK ? result : channel.WriteSampleData(m_pValues.pFloat, m_nNrOfValues);
        case FORMAT_BINARY_WORD:
            result = channel.WriteBeginSampleBinary(m_FormatId, m_StartTime, m_EndTime);
            return result != TNE_OK ? result : channel.WriteSampleData(m_pValues.pWord, m_nNrOfValues);
        case FORMAT_BINARY_DWORD:
            result = channel.WriteBeginSampleBinary(m_FormatId, m_StartTime, m_EndTime);
            return result != TNE_OK ? result : channel.WriteSampleData(m_pValues.pDWord, m_nNrOfValues);
        case FORMAT_MESSAGE:
            result = channel.WriteBeginSampleBinary(m_FormatId, m_StartTime, m_EndTime);
            return result != TNE_OK ? result : channel.WriteSampleData(m_pValues.pText, m_nNrOfValues);
        default:
            // Digits are never written from memory, and format 7 holds nothing.
            return TNE_OK;
    }
}
