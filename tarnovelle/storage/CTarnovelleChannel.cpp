#include "tarnovelle/storage/CTarnovelleChannel.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <new>

#include "tarnovelle/storage/CSampleEntryMeanValues.h"
#include "tarnovelle/storage/CTarnovelleFile.h"
#include "tarnovelle/support/CFileException.h"
#include "tarnovelle/support/TNGuid.h"
#include "tarnovelle/support/TNPath.h"
#include "tarnovelle/support/TNText.h"
#include "tarnovelle/values/STarnovelleTimeStampInMsec.h"

namespace {

// The bit pattern of an invalid value in a float block.
constexpr uint32_t kInvalidFloatBits = 0x7ff00000u;
// The digit that marks an invalid value in a digit block.
constexpr uint16_t kInvalidDigit = 0x8000u;

// Opens the data file for one array operation. A failed open (after the retry
// loop) becomes the file service's exception for the thread's last error.
void OpenDataFile(CTarnovelleFile& file, const std::string& path, uint32_t flags) {
    if (file.Open(path.c_str(), flags)) return;
    CTarnovelleFile::ThrowOpenFailure(path);
}

void CloseQuietly(CTarnovelleFile& file) {
    try {
        file.Close();
    } catch (...) {
        // The failure being passed on is the one that matters.
    }
}

void CloseQuietly(CTarnovelleChannelDataFile& file) {
    try {
        file.Close();
    } catch (...) {
    }
}

// The low 16 bits of value truncated toward zero to a 64-bit integer. Where
// that conversion has no result (NaN, infinities, magnitudes beyond 64 bits)
// the x86 processor yields its "indefinite integer" 0x8000000000000000, whose
// low 16 bits are 0; that outcome is made explicit here instead of leaving it
// to whatever the processor and compiler do.
uint16_t TruncateToLow16(double value) {
    constexpr double kTwoTo63 = 9223372036854775808.0;
    int64_t whole = std::numeric_limits<int64_t>::min();
    if (value >= -kTwoTo63 && value < kTwoTo63) whole = static_cast<int64_t>(value);
    return static_cast<uint16_t>(static_cast<uint64_t>(whole) & 0xFFFFu);
}

// True when `bytes` from `position` on lie inside a file of `length` bytes;
// 64-bit arithmetic, so no claim wraps round.
bool LiesWithin(uint32_t position, uint64_t bytes, uint64_t length) {
    return static_cast<uint64_t>(position) + bytes <= length;
}

bool IsEventType(EMeasurementValueType type) {
    return type == MVT_MEAN_EVENT || type == MVT_EXTREME_EVENT || type == MVT_BINARY;
}

}  // namespace

CTarnovelleChannel::CTarnovelleChannel() = default;

CTarnovelleChannel::~CTarnovelleChannel() = default;

// ---------------------------------------------------------------- set-up

void CTarnovelleChannel::SetPaths(const std::string& root, const GUID& guid, const SChannelID& channelId) {
    m_strDirectory = root + "/" + GuidToString(guid);
    char name[16];
    std::snprintf(name, sizeof(name), "%08lx", static_cast<unsigned long>(channelId.GetDWORD()));
    m_strBasePath = m_strDirectory + "/" + name;
}

ETarnovelleErrors CTarnovelleChannel::Init(const std::string& path) {
    const std::string::size_type separator = path.rfind('/');
    if (separator != std::string::npos && separator > 0) m_strDirectory = path.substr(0, separator);
    m_strBasePath = RemoveFileExtension(path);

    // A missing directory is the same case as a missing file.
    const bool directoryThere = m_strDirectory.empty() || PathExists(m_strDirectory);
    if (!directoryThere || !PathExists(m_strBasePath + ".Sam")) return TNE_FILE_GONE;

    const ETarnovelleErrors result = m_SamplesFile.Init(m_strBasePath.c_str());
    if (result != TNE_OK) return result;
    return m_DataFile.Init(m_strBasePath, m_SamplesFile.GetMeasuringPointGUID(), m_SamplesFile.GetChannelID());
}

ETarnovelleErrors CTarnovelleChannel::Init(const std::string& root, const GUID& guid, const SChannelID& channelId,
                                           const char* name, uint32_t major, uint32_t minor, uint32_t build,
                                           uint32_t revision) {
    SetPaths(root, guid, channelId);
    CreatePathRecursive(m_strBasePath);
    const ETarnovelleErrors result = m_DataFile.Init(m_strBasePath, guid, channelId);
    if (result != TNE_OK) return result;
    return m_SamplesFile.Init(m_strBasePath.c_str(), guid, channelId, name, major, minor, build, revision);
}

ETarnovelleErrors CTarnovelleChannel::Refresh(const std::string& root, const GUID& guid,
                                              const SChannelID& channelId, const char* name, uint32_t major,
                                              uint32_t minor, uint32_t build, uint32_t revision) {
    SetPaths(root, guid, channelId);
    // Checked before any directory is made: a refresh of a channel that is
    // gone leaves the disk as it is.
    if (!PathExists(m_strBasePath + ".Sam")) return TNE_FILE_GONE;
    return Init(root, guid, channelId, name, major, minor, build, revision);
}

ETarnovelleErrors CTarnovelleChannel::Create(const std::string& root, const GUID& guid,
                                             const SChannelID& channelId, const char* name, uint32_t major,
                                             uint32_t minor, uint32_t build, uint32_t revision) {
    if (!PathExists(root)) return TNE_FILE_GONE;
    SetPaths(root, guid, channelId);
    CreatePathRecursive(m_strBasePath);

    ETarnovelleErrors result = m_DataFile.Create(m_strBasePath, guid, channelId);
    if (result != TNE_OK) return result;
    try {
        result = m_SamplesFile.Create(m_strBasePath.c_str(), guid, channelId, name, major, minor, build, revision);
    } catch (...) {
        CloseQuietly(m_DataFile);
        throw;
    }
    if (result != TNE_OK) m_DataFile.Close();
    return result;
}

void CTarnovelleChannel::Refresh() { m_SamplesFile.Refresh(); }

ETarnovelleErrors CTarnovelleChannel::Open() {
    ETarnovelleErrors result = m_DataFile.Open();
    if (result != TNE_OK) return result;
    try {
        result = m_SamplesFile.Open();
    } catch (...) {
        CloseQuietly(m_DataFile);
        throw;
    }
    if (result != TNE_OK) m_DataFile.Close();
    return result;
}

ETarnovelleErrors CTarnovelleChannel::Close() {
    ETarnovelleErrors dataResult = TNE_OK;
    try {
        dataResult = m_DataFile.Close();
    } catch (...) {
        // The headers of the values already written still go to disk; the
        // data file's failure is the one reported.
        try {
            m_SamplesFile.Close();
        } catch (...) {
        }
        throw;
    }
    const ETarnovelleErrors samplesResult = m_SamplesFile.Close();
    return dataResult != TNE_OK ? dataResult : samplesResult;
}

// ---------------------------------------------------------------- writing

bool CTarnovelleChannel::FitsValueType(EFormatId format) const {
    // A block whose header form is not the one the channel's value type
    // prescribes would make the whole samples file unreadable.
    if (format == FORMAT_DIGIT || format == FORMAT_FLOAT) return IsMeanType();
    const bool record = format == FORMAT_EVENT || format == FORMAT_BINARY_BYTE || format == FORMAT_BINARY_WORD ||
                        format == FORMAT_BINARY_DWORD || format == FORMAT_MESSAGE;
    return record && IsEventType(m_SamplesFile.GetMeasurementValueType());
}

ETarnovelleErrors CTarnovelleChannel::WriteBeginSampleFloat(const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to,
                                                            uint32_t /*count*/) {
    if (!FitsValueType(FORMAT_FLOAT)) return TNE_FAILED;
    return m_SamplesFile.SelectLastOrCreateNewFloatDigitSample(FORMAT_FLOAT, from, to, 0.0f, 0.0f);
}

ETarnovelleErrors CTarnovelleChannel::WriteBeginSampleDigit(const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to,
                                                            float valueOffset, float valueFactor,
                                                            uint32_t /*count*/) {
    if (!FitsValueType(FORMAT_DIGIT)) return TNE_FAILED;
    return m_SamplesFile.SelectLastOrCreateNewFloatDigitSample(FORMAT_DIGIT, from, to, valueOffset, valueFactor);
}

ETarnovelleErrors CTarnovelleChannel::WriteBeginSampleEvent(const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to) {
    if (!FitsValueType(FORMAT_EVENT)) return TNE_FAILED;
    return m_SamplesFile.SelectLastOrCreateNewEventBinarySample(FORMAT_EVENT, from, to);
}

ETarnovelleErrors CTarnovelleChannel::WriteBeginSampleBinary(EFormatId format, const CTNUTCTimeStamp& from,
                                                             const CTNUTCTimeStamp& to) {
    // This begin makes a block of the event form: floats and digits, which
    // have the mean form, don't come in through it.
    const bool eventForm = format != FORMAT_DIGIT && format != FORMAT_FLOAT;
    if (!eventForm || !FitsValueType(format)) return TNE_FAILED;
    return m_SamplesFile.SelectLastOrCreateNewEventBinarySample(format, from, to);
}

bool CTarnovelleChannel::SelectedBlockHolds(EFormatId format) const {
    const CSampleEntry* selected = m_SamplesFile.GetSelected();
    return selected && selected->m_Header.GetFormatId() == format;
}

// The values are counted into the block only once they are in the data file.
// Values of another type than the selected block's, or with no block to
// count them, would shift every later block's values: they are refused
// before anything is written.
#define TNVL_WRITE_SAMPLE_DATA(Type, Format)                                                    \
    ETarnovelleErrors CTarnovelleChannel::WriteSampleData(const Type* values, uint32_t count) { \
        if (!SelectedBlockHolds(Format)) return TNE_FAILED;                                     \
        const ETarnovelleErrors result = m_DataFile.WriteSampleData(Format, values, count);     \
        if (result != TNE_OK) return result;                                                    \
        return m_SamplesFile.IncreaseSampleDataCount(count);                                    \
    }

TNVL_WRITE_SAMPLE_DATA(float, FORMAT_FLOAT)
TNVL_WRITE_SAMPLE_DATA(unsigned short, FORMAT_DIGIT)
TNVL_WRITE_SAMPLE_DATA(SEvent, FORMAT_EVENT)
TNVL_WRITE_SAMPLE_DATA(SBinary_BYTE, FORMAT_BINARY_BYTE)
TNVL_WRITE_SAMPLE_DATA(SBinary_WORD, FORMAT_BINARY_WORD)
TNVL_WRITE_SAMPLE_DATA(SBinary_DWORD, FORMAT_BINARY_DWORD)
TNVL_WRITE_SAMPLE_DATA(SBinary_Text, FORMAT_MESSAGE)

#undef TNVL_WRITE_SAMPLE_DATA

// ---------------------------------------------------------------- block questions

SChannelID& CTarnovelleChannel::GetChannelID() { return m_SamplesFile.GetChannelID(); }

const SChannelID& CTarnovelleChannel::GetChannelID() const { return m_SamplesFile.GetChannelID(); }

int32_t CTarnovelleChannel::GetBlockCount() const { return static_cast<int32_t>(m_SamplesFile.m_Samples.size()); }

const CSampleEntry* CTarnovelleChannel::GetEntry(int32_t index) const {
    if (index < 0 || index >= GetBlockCount()) return nullptr;
    return m_SamplesFile.m_Samples[static_cast<size_t>(index)].get();
}

bool CTarnovelleChannel::IsMeanType() const {
    switch (m_SamplesFile.GetMeasurementValueType()) {
        case MVT_MEAN:
        case MVT_MINIMUM:
        case MVT_MAXIMUM:
        case MVT_INTERVAL: return true;
        default: return false;
    }
}

EFormatId CTarnovelleChannel::GetFormatId(int32_t index) const {
    const CSampleEntry* entry = GetEntry(index);
    return entry ? entry->m_Header.GetFormatId() : kNoFormat;
}

uint32_t CTarnovelleChannel::GetNrOfValues(int32_t index) const {
    const CSampleEntry* entry = GetEntry(index);
    return entry ? entry->m_Header.GetElementCount() : 0;
}

uint32_t CTarnovelleChannel::GetDataPosition(int32_t index) const {
    const CSampleEntry* entry = GetEntry(index);
    return entry ? entry->m_Header.GetDataPosition() : 0;
}

CTNUTCTimeStamp CTarnovelleChannel::GetStartTime(int32_t index) const {
    CTNUTCTimeStamp start = CTNUTCTimeStamp::InvalidTS();
    CTNUTCTimeStamp end = CTNUTCTimeStamp::InvalidTS();
    const CSampleEntry* entry = GetEntry(index);
    if (!entry) return start;
    const EMeasurementValueType type = m_SamplesFile.GetMeasurementValueType();
    if (!IsMeanType() && !IsEventType(type)) return start;
    entry->GetTimes(start, end);
    // Mean-type blocks hold whole seconds.
    if (IsMeanType() && !start.IsInvalidTS())
        start = STarnovelleTimeStampInMsec(start.GetSecondsSince1970(), 0).GetUTCTimeStamp();
    return start;
}

CTNUTCTimeStamp CTarnovelleChannel::GetEndTime(int32_t index) const {
    CTNUTCTimeStamp start = CTNUTCTimeStamp::InvalidTS();
    CTNUTCTimeStamp end = CTNUTCTimeStamp::InvalidTS();
    const CSampleEntry* entry = GetEntry(index);
    if (!entry) return end;
    const EMeasurementValueType type = m_SamplesFile.GetMeasurementValueType();
    if (!IsMeanType() && !IsEventType(type)) return end;
    entry->GetTimes(start, end);
    if (IsMeanType() && !end.IsInvalidTS())
        end = STarnovelleTimeStampInMsec(end.GetSecondsSince1970(), 0).GetUTCTimeStamp();
    return end;
}

float CTarnovelleChannel::GetValueOffset(int32_t index) const {
    const CSampleEntry* entry = GetEntry(index);
    if (!entry || entry->m_Header.GetFormatId() != FORMAT_DIGIT || !IsMeanType()) return 0.0f;
    const auto* mean = dynamic_cast<const CSampleEntryMeanValues*>(entry);
    return mean ? mean->m_MeanValues.ValueOffset : 0.0f;
}

float CTarnovelleChannel::GetValueFactor(int32_t index) const {
    const CSampleEntry* entry = GetEntry(index);
    if (!entry || entry->m_Header.GetFormatId() != FORMAT_DIGIT || !IsMeanType()) return 0.0f;
    const auto* mean = dynamic_cast<const CSampleEntryMeanValues*>(entry);
    return mean ? mean->m_MeanValues.ValueFactor : 0.0f;
}

// ---------------------------------------------------------------- arrays

template <typename T>
ETarnovelleErrors CTarnovelleChannel::ReadArray(int32_t index, EFormatId format, T*& values, uint32_t& count,
                                                uint32_t first, uint32_t wanted) {
    const CSampleEntry* entry = GetEntry(index);
    if (!entry || entry->m_Header.GetFormatId() != format) return TNE_FAILED;
    const uint32_t blockElements = entry->m_Header.GetElementCount();
    const uint32_t position = entry->m_Header.GetDataPosition();
    const uint64_t bytes = static_cast<uint64_t>(blockElements) * sizeof(T);
    // The part asked for, within the block.
    const uint32_t skipped = first < blockElements ? first : blockElements;
    const uint32_t elements = std::min(wanted, blockElements - skipped);
    values = nullptr;
    count = 0;

    CTarnovelleFile file;
    OpenDataFile(file, GetDataFilePath(), CTarnovelleFile::modeRead);
    // The header's count is only a claim: a block said to reach beyond its
    // data file is damage, and nothing is allocated for it.
    if (!LiesWithin(position, bytes, file.GetLengthAtOpen())) {
        CloseQuietly(file);
        return TNE_FILE_TRUNCATED;
    }
    // A count whose bytes no 32-bit read can carry is no block this system
    // wrote, whatever part of it is asked for.
    if (bytes > std::numeric_limits<uint32_t>::max()) {
        CloseQuietly(file);
        return TNE_OUT_OF_MEMORY;
    }
    // Records are constructed (zero) first; floats and digits are read over
    // uninitialised memory.
    T* array = new (std::nothrow) T[elements];
    if (!array) {
        CloseQuietly(file);
        return TNE_OUT_OF_MEMORY;
    }
    count = elements;
    values = array;
    try {
        // One positioned read of just the part; the block lies within the
        // file, so nothing of it is short.
        file.ReadAt(position + skipped * static_cast<uint32_t>(sizeof(T)), array,
                    elements * static_cast<uint32_t>(sizeof(T)));
        file.Close();
    } catch (...) {
        delete[] array;
        values = nullptr;
        count = 0;
        CloseQuietly(file);
        throw;
    }
    return TNE_OK;
}

template <typename T>
ETarnovelleErrors CTarnovelleChannel::WriteArray(int32_t index, EFormatId format, const T* values) {
    const CSampleEntry* entry = GetEntry(index);
    if (!entry || entry->m_Header.GetFormatId() != format) return TNE_FAILED;
    const uint32_t elements = entry->m_Header.GetElementCount();
    const uint64_t bytes = static_cast<uint64_t>(elements) * sizeof(T);
    if (bytes > std::numeric_limits<uint32_t>::max() || (bytes != 0 && values == nullptr)) return TNE_FAILED;

    CTarnovelleFile file;
    // Write only, nothing created; Open adds "exclusive".
    OpenDataFile(file, GetDataFilePath(), CTarnovelleFile::modeWrite);
    // Rewriting a block that claims more than the file holds would extend
    // the file behind every later block's back.
    if (!LiesWithin(entry->m_Header.GetDataPosition(), bytes, file.GetLengthAtOpen())) {
        CloseQuietly(file);
        return TNE_FILE_TRUNCATED;
    }
    try {
        file.Seek(static_cast<int32_t>(entry->m_Header.GetDataPosition()), 0);
        file.WriteHuge(values, static_cast<uint32_t>(bytes));
        file.Close();
    } catch (...) {
        CloseQuietly(file);
        throw;
    }
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleChannel::GetArray(int32_t index, float*& values, uint32_t& count) {
    return GetArray(index, 0, std::numeric_limits<uint32_t>::max(), values, count);
}

ETarnovelleErrors CTarnovelleChannel::GetArray(int32_t index, uint32_t first, uint32_t wanted, float*& values,
                                               uint32_t& count) {
    const EFormatId format = GetFormatId(index);
    if (format == FORMAT_FLOAT) return ReadArray(index, FORMAT_FLOAT, values, count, first, wanted);
    if (format != FORMAT_DIGIT) return TNE_FAILED;

    unsigned short* digits = nullptr;
    uint32_t digitCount = 0;
    ETarnovelleErrors result = ReadArray(index, FORMAT_DIGIT, digits, digitCount, first, wanted);
    if (result != TNE_OK) return result;
    std::unique_ptr<unsigned short[]> ownedDigits(digits);
    if (!digits || digitCount == 0) {
        values = nullptr;
        count = 0;
        return TNE_OK;
    }
    float* floats = new (std::nothrow) float[digitCount];
    if (!floats) return TNE_OUT_OF_MEMORY;
    result = ConvertDigit2Float(digits, digitCount, GetValueFactor(index), GetValueOffset(index), floats);
    values = floats;
    count = digitCount;
    return result;
}

ETarnovelleErrors CTarnovelleChannel::GetArray(int32_t index, unsigned short*& values, uint32_t& count) {
    const EFormatId format = GetFormatId(index);
    if (format == FORMAT_DIGIT) return ReadArray(index, FORMAT_DIGIT, values, count);
    if (format != FORMAT_FLOAT) return TNE_FAILED;

    float* floats = nullptr;
    uint32_t floatCount = 0;
    ETarnovelleErrors result = GetArray(index, floats, floatCount);
    if (result != TNE_OK) return result;
    std::unique_ptr<float[]> ownedFloats(floats);
    if (!floats || floatCount == 0) {
        values = nullptr;
        count = 0;
        return TNE_OK;
    }
    unsigned short* digits = new (std::nothrow) unsigned short[floatCount];
    if (!digits) return TNE_OUT_OF_MEMORY;
    // A float block has factor and offset 0.0: every element becomes 0.
    result = ConvertFloat2Digit(floats, floatCount, GetValueFactor(index), GetValueOffset(index), digits);
    values = digits;
    count = floatCount;
    return result;
}

ETarnovelleErrors CTarnovelleChannel::GetArray(int32_t index, SEvent*& values, uint32_t& count) {
    return ReadArray(index, FORMAT_EVENT, values, count);
}

ETarnovelleErrors CTarnovelleChannel::GetArray(int32_t index, SBinary_BYTE*& values, uint32_t& count) {
    return ReadArray(index, FORMAT_BINARY_BYTE, values, count);
}

ETarnovelleErrors CTarnovelleChannel::GetArray(int32_t index, SBinary_WORD*& values, uint32_t& count) {
    return ReadArray(index, FORMAT_BINARY_WORD, values, count);
}

ETarnovelleErrors CTarnovelleChannel::GetArray(int32_t index, SBinary_DWORD*& values, uint32_t& count) {
    return ReadArray(index, FORMAT_BINARY_DWORD, values, count);
}

ETarnovelleErrors CTarnovelleChannel::GetArray(int32_t index, SBinary_Text*& values, uint32_t& count) {
    return ReadArray(index, FORMAT_MESSAGE, values, count);
}

ETarnovelleErrors CTarnovelleChannel::UpdateArray(int32_t index, const float* values) {
    const EFormatId format = GetFormatId(index);
    if (format == FORMAT_FLOAT) return WriteArray(index, FORMAT_FLOAT, values);
    if (format != FORMAT_DIGIT) return TNE_FAILED;

    const uint32_t count = GetNrOfValues(index);
    if (count != 0 && values == nullptr) return TNE_FAILED;
    std::unique_ptr<unsigned short[]> digits(new (std::nothrow) unsigned short[count]);
    if (!digits) return TNE_OUT_OF_MEMORY;
    ConvertFloat2Digit(values, count, GetValueFactor(index), GetValueOffset(index), digits.get());
    return UpdateArray(index, digits.get());
}

ETarnovelleErrors CTarnovelleChannel::UpdateArray(int32_t index, const unsigned short* values) {
    const EFormatId format = GetFormatId(index);
    if (format == FORMAT_DIGIT) return WriteArray(index, FORMAT_DIGIT, values);
    if (format != FORMAT_FLOAT) return TNE_FAILED;

    const uint32_t count = GetNrOfValues(index);
    if (count != 0 && values == nullptr) return TNE_FAILED;
    std::unique_ptr<float[]> floats(new (std::nothrow) float[count]);
    if (!floats) return TNE_OUT_OF_MEMORY;
    // Factor and offset 0.0: valid digits become 0.0, invalid ones keep the mark.
    ConvertDigit2Float(values, count, 0.0f, 0.0f, floats.get());
    return UpdateArray(index, floats.get());
}

ETarnovelleErrors CTarnovelleChannel::UpdateArray(int32_t index, const SEvent* values) {
    return WriteArray(index, FORMAT_EVENT, values);
}

ETarnovelleErrors CTarnovelleChannel::UpdateArray(int32_t index, const SBinary_BYTE* values) {
    return WriteArray(index, FORMAT_BINARY_BYTE, values);
}

ETarnovelleErrors CTarnovelleChannel::UpdateArray(int32_t index, const SBinary_WORD* values) {
    return WriteArray(index, FORMAT_BINARY_WORD, values);
}

ETarnovelleErrors CTarnovelleChannel::UpdateArray(int32_t index, const SBinary_DWORD* values) {
    return WriteArray(index, FORMAT_BINARY_DWORD, values);
}

ETarnovelleErrors CTarnovelleChannel::UpdateArray(int32_t index, const SBinary_Text* values) {
    return WriteArray(index, FORMAT_MESSAGE, values);
}

// ---------------------------------------------------------------- conversions

ETarnovelleErrors CTarnovelleChannel::ConvertDigit2Float(const unsigned short* digits, uint32_t count, float factor,
                                                         float offset, float* floats) {
    for (uint32_t i = 0; i < count; ++i) {
        if (digits[i] == kInvalidDigit) {
            std::memcpy(&floats[i], &kInvalidFloatBits, sizeof(float));
            continue;
        }
        const double digit = static_cast<int16_t>(digits[i]);
        floats[i] = static_cast<float>(digit * static_cast<double>(factor) + static_cast<double>(offset));
    }
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleChannel::ConvertFloat2Digit(const float* floats, uint32_t count, float factor,
                                                         float offset, unsigned short* digits) {
    // Kept as it has always been stored: the offset is divided by the factor,
    // the value is not. 0.0 / 0.0 (a float block) is a NaN, so every element
    // stores 0.
    const double quotient = static_cast<double>(offset) / static_cast<double>(factor);
    for (uint32_t i = 0; i < count; ++i) digits[i] = TruncateToLow16(static_cast<double>(floats[i]) - quotient);
    return TNE_OK;
}

// ---------------------------------------------------------------- ranges

ETarnovelleErrors CTarnovelleChannel::GetTimeRange(CTNUTCTimeStamp& from, CTNUTCTimeStamp& to) {
    const int32_t count = GetBlockCount();
    if (count == 0) return TNE_NO_OBJECT;
    // The list's order decides: for events the last entry is the last to arrive.
    const CTNUTCTimeStamp start = GetStartTime(0);
    if (from.IsInvalidTS() || from > start) from = start;
    const CTNUTCTimeStamp end = GetEndTime(count - 1);
    if (to.IsInvalidTS() || to < end) to = end;
    return TNE_OK;
}

std::vector<uint32_t> CTarnovelleChannel::ListChannelNumbers(const std::string& directory) {
    std::vector<std::string> files;
    ListFiles(directory, files, "*.sam", false);
    std::vector<uint32_t> numbers;
    for (const std::string& file : files) {
        const std::string name = TNToLower(file.substr(std::min(file.size(), directory.size() + 1)));
        unsigned long number = 0;
        if (std::sscanf(name.c_str(), "%08lx.sam", &number) == 1) numbers.push_back(static_cast<uint32_t>(number));
    }
    return numbers;
}

int32_t CTarnovelleChannel::FindFirstBlockEndingFrom(const CTNUTCTimeStamp& time) const {
    const int32_t count = GetBlockCount();
    if (m_SamplesFile.m_nEndsAscending < 0) {
        bool ascending = true;
        CTNUTCTimeStamp previous = CTNUTCTimeStamp::MinTS();
        for (int32_t i = 0; i < count && ascending; ++i) {
            const CTNUTCTimeStamp end = GetEndTime(i);
            ascending = !end.IsInvalidTS() && !(end < previous);
            previous = end;
        }
        m_SamplesFile.m_nEndsAscending = ascending ? 1 : 0;
    }
    if (m_SamplesFile.m_nEndsAscending == 0) return -1;
    int32_t low = 0;
    int32_t high = count;
    while (low < high) {
        const int32_t middle = low + (high - low) / 2;
        if (GetEndTime(middle) < time) low = middle + 1;
        else high = middle;
    }
    return low;
}

ETarnovelleErrors CTarnovelleChannel::IsEmpty(const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to,
                                              int32_t& result) {
    for (const auto& entry : m_SamplesFile.m_Samples) {
        if (!entry) continue;
        const ETarnovelleErrors code = entry->IsOutside(from, to, result);
        if (code != TNE_OK) return code;
        if (result == 0) return TNE_OK;
    }
    result = 1;
    return TNE_OK;
}
