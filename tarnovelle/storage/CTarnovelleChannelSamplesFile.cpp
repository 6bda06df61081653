#include "tarnovelle/storage/CTarnovelleChannelSamplesFile.h"

#include <cstring>
#include <memory>
#include <new>

#include "tarnovelle/storage/CSampleEntryEvent.h"
#include "tarnovelle/storage/CSampleEntryMeanValues.h"
#include "tarnovelle/storage/CTarnovelleChannelDataFile.h"
#include "tarnovelle/storage/CTarnovelleFile.h"
#include "tarnovelle/support/CFileException.h"
#include "tarnovelle/support/CTNClock.h"
#include "tarnovelle/support/STNFileStatus.h"
#include "tarnovelle/support/TNPath.h"

namespace {

// Size of the data file's own header: the first block's values start behind it.
constexpr uint32_t kFirstDataPosition = 20;
constexpr int64_t kFreshNanoseconds = 2000000000;
constexpr uint32_t kSamplesFileOpenFlags =
    CTarnovelleFile::modeCreate | CTarnovelleFile::modeNoTruncate | CTarnovelleFile::modeReadWrite;

enum class EHeaderForm { none, meanValues, event };

EHeaderForm HeaderFormOf(EMeasurementValueType type) {
    switch (type) {
        case MVT_MEAN:
        case MVT_MINIMUM:
        case MVT_MAXIMUM:
        case MVT_INTERVAL: return EHeaderForm::meanValues;
        case MVT_BINARY:
        case MVT_MEAN_EVENT:
        case MVT_EXTREME_EVENT: return EHeaderForm::event;
        default: return EHeaderForm::none;
    }
}

// Element sizes as each kind of block list knows them: a mean-value list
// knows only digits and floats, an event list only the record formats.
uint32_t FloatDigitElementSize(EFormatId format) {
    const bool known = format == FORMAT_DIGIT || format == FORMAT_FLOAT;
    return known ? CTarnovelleChannelDataFile::GetRecordSize(format) : 0;
}

uint32_t EventBinaryElementSize(EFormatId format) {
    const bool known = format != FORMAT_DIGIT && format != FORMAT_FLOAT;
    return known ? CTarnovelleChannelDataFile::GetRecordSize(format) : 0;
}

// Where the values of a block following `last` begin in the data file. A
// format without a known element size starts over at the first position.
uint32_t NextDataPosition(const CSampleEntry* last, uint32_t (*elementSize)(EFormatId)) {
    if (!last) return kFirstDataPosition;
    const uint32_t size = elementSize(last->m_Header.GetFormatId());
    if (size == 0) return kFirstDataPosition;
    return last->m_Header.GetDataPosition() + last->m_Header.GetElementCount() * size;
}

void CloseQuietly(CTarnovelleFile& file) {
    try {
        file.Close();
    } catch (...) {
    }
}

}  // namespace

CTarnovelleChannelSamplesFile::CTarnovelleChannelSamplesFile() = default;

// A file still held is let go without writing anything: the owner must Close.
CTarnovelleChannelSamplesFile::~CTarnovelleChannelSamplesFile() { Clear(); }

void CTarnovelleChannelSamplesFile::SetBasePath(const char* path) {
    m_strBasePath = RemoveFileExtension(path ? path : "");
}

void CTarnovelleChannelSamplesFile::SetHeader(const GUID& guid, const SChannelID& channelId, const char* name,
                                              uint32_t major, uint32_t minor, uint32_t build, uint32_t revision) {
    m_Header.MeasuringPointGUID = guid;
    m_Header.ChannelID = channelId;
    // Bounded copy, zero-padded: a name of 40 characters or more keeps no terminator.
    std::strncpy(m_Header.ProgramName, name ? name : "", sizeof(m_Header.ProgramName));
    m_Header.VersionMajor = major;
    m_Header.VersionMinor = minor;
    m_Header.VersionBuild = build;
    m_Header.VersionRevision = revision;
}

void CTarnovelleChannelSamplesFile::Clear() {
    m_nEndsAscending = -1;
    m_Samples.clear();
    m_Positions.clear();
    m_nFirstDirty = 0;
    m_nSelected = -1;
}

ETarnovelleErrors CTarnovelleChannelSamplesFile::Read(CTarnovelleFile& file) {
    Clear();
    m_nReadLength = file.GetLengthAtOpen();
    m_nReadModified = file.GetModifiedAtOpen();
    // A file changed within the last two seconds may change again within the
    // same tick of a coarse clock (a network drive's) without its stamp or
    // size telling: such a read is not taken as a witness of the file.
    const int64_t now = static_cast<int64_t>(TNGetClock()->NowMilliseconds()) * 1000000;
    if (now - m_nReadModified < kFreshNanoseconds) m_nReadModified = 0;
    file.Seek(0, 0);  // one call, where asking for the position first would be one more
    const uint32_t length = file.GetLength();
    if (length == 0) return GetMeasurementValueType() == MVT_UNDEFINED ? TNE_NO_OBJECT : TNE_OK;

    // The whole file in one read into an uninitialised buffer; the list is
    // parsed from memory.
    const std::unique_ptr<uint8_t[]> buffer(new (std::nothrow) uint8_t[length]);
    if (!buffer) return TNE_OUT_OF_MEMORY;
    const uint8_t* const bytes = buffer.get();
    const uint32_t got = file.Read(buffer.get(), length);

    // However few bytes arrived, they land in the header; the rest stays.
    const uint32_t headerBytes = got < sizeof(m_Header) ? got : static_cast<uint32_t>(sizeof(m_Header));
    std::memcpy(static_cast<void*>(&m_Header), bytes, headerBytes);
    if (m_Header.FormatVersion > 1) return TNE_FILE_NOT_PARSED;

    const EHeaderForm form = HeaderFormOf(GetMeasurementValueType());
    const uint32_t formSize = form == EHeaderForm::meanValues ? sizeof(SSampleHeaderMeanValues)
                              : form == EHeaderForm::event   ? sizeof(SSampleHeaderEvent)
                                                             : 0;
    uint32_t position = headerBytes;
    try {
        while (got - position >= sizeof(SSampleHeader)) {
            SSampleHeader header;
            std::memcpy(&header, bytes + position, sizeof(header));
            const uint8_t* formBytes = bytes + position + sizeof(header);
            if (form != EHeaderForm::none && got - position - sizeof(header) < formSize) return TNE_FILE_TRUNCATED;

            std::unique_ptr<CSampleEntry> entry;
            if (form == EHeaderForm::meanValues) {
                SSampleHeaderMeanValues meanValues;
                std::memcpy(&meanValues, formBytes, sizeof(meanValues));
                entry.reset(new (std::nothrow) CSampleEntryMeanValues(header, meanValues));
                if (!entry) return TNE_OUT_OF_MEMORY;
            } else if (form == EHeaderForm::event) {
                SSampleHeaderEvent event;
                std::memcpy(&event, formBytes, sizeof(event));
                entry.reset(new (std::nothrow) CSampleEntryEvent(header, event));
                if (!entry) return TNE_OUT_OF_MEMORY;
            }
            if (entry) {
                m_Samples.push_back(std::move(entry));
                m_Positions.push_back(position);
            }
            position += static_cast<uint32_t>(sizeof(header)) + formSize;
        }
        // A partial 9-byte header at the end is ignored: the list ends at its
        // start, so the next Close writes over it.
        m_nFirstDirty = static_cast<int32_t>(m_Samples.size());
        m_nSelected = m_nFirstDirty - 1;
        m_Positions.push_back(position);
    } catch (const std::bad_alloc&) {
        return TNE_OUT_OF_MEMORY;
    }
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleChannelSamplesFile::Init(const char* path) {
    SetBasePath(path);
    const std::string samPath = GetSamFilePath();
    CTarnovelleFile file;
    if (!file.Open(samPath.c_str(), CTarnovelleFile::modeRead)) {
        CTarnovelleFile::ThrowOpenFailure(samPath);
    }
    ETarnovelleErrors result = TNE_OK;
    try {
        result = Read(file);
    } catch (...) {
        CloseQuietly(file);
        throw;
    }
    file.Close();
    return result;
}

ETarnovelleErrors CTarnovelleChannelSamplesFile::Init(const char* path, const GUID& guid,
                                                      const SChannelID& channelId, const char* name,
                                                      uint32_t major, uint32_t minor, uint32_t build,
                                                      uint32_t revision) {
    SetBasePath(path);
    STNFileStatus status;
    if (CTarnovelleFile::GetStatus(GetSamFilePath().c_str(), status)) {
        const ETarnovelleErrors result = Init(path);
        if (result != TNE_OK) return result;
        if (m_Header.MeasuringPointGUID != guid || m_Header.ChannelID != channelId) return TNE_NO_OBJECT;
        return TNE_OK;
    }
    SetHeader(guid, channelId, name, major, minor, build, revision);
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleChannelSamplesFile::Create(const char* path, const GUID& guid,
                                                        const SChannelID& channelId, const char* name,
                                                        uint32_t major, uint32_t minor, uint32_t build,
                                                        uint32_t revision) {
    SetBasePath(path);
    STNFileStatus status;
    // The existence test uses the base path, the removal the path as given:
    // callers pass the base path, for which both name the same file.
    if (CTarnovelleFile::GetStatus(GetSamFilePath().c_str(), status))
        CTarnovelleFile::Remove((std::string(path ? path : "") + ".Sam").c_str());
    SetHeader(guid, channelId, name, major, minor, build, revision);
    return Open();
}

ETarnovelleErrors CTarnovelleChannelSamplesFile::Open() {
    if (m_pFile) return TNE_FAILED;
    const std::string samPath = GetSamFilePath();
    m_pFile = std::make_unique<CTarnovelleFile>();
    if (!m_pFile->Open(samPath.c_str(), kSamplesFileOpenFlags)) {
        m_pFile.reset();
        TarnovelleThrowException(samPath, "CTarnovelleChannelSamplesFile::Open");
    }
    try {
        // Read starts from position 0 itself. A failed read keeps the file
        // held: the caller still closes.
        return Read(*m_pFile);
    } catch (...) {
        CloseQuietly(*m_pFile);
        m_pFile.reset();
        throw;
    }
}

ETarnovelleErrors CTarnovelleChannelSamplesFile::Close() {
    if (!m_pFile) return TNE_FAILED;
    // What is written now is no longer what was read.
    m_nReadModified = 0;
    try {
        m_pFile->Seek(0, 0);
        m_Header.FormatVersion = 1;
        m_pFile->Write(&m_Header, sizeof(m_Header));

        const int32_t count = static_cast<int32_t>(m_Samples.size());
        uint32_t position = static_cast<uint32_t>(sizeof(m_Header));
        if (!m_Positions.empty() && m_nFirstDirty < static_cast<int32_t>(m_Positions.size())) {
            position = m_Positions[static_cast<size_t>(m_nFirstDirty)];
            m_pFile->Seek(static_cast<int32_t>(position), 0);
        } else {
            m_nFirstDirty = 0;
        }

        // The dirty tail goes out in one write; its positions are taken only
        // once it is on disk.
        std::vector<uint8_t> tail;
        std::vector<uint32_t> positions;
        positions.reserve(static_cast<size_t>(count - m_nFirstDirty) + 1);
        uint32_t end = position;
        for (int32_t i = m_nFirstDirty; i < count; ++i) {
            positions.push_back(end);
            end += m_Samples[static_cast<size_t>(i)]->GetSizeOnDisk();
        }
        positions.push_back(end);
        tail.resize(end - position);
        uint8_t* out = tail.data();
        for (int32_t i = m_nFirstDirty; i < count; ++i) {
            const CSampleEntry& entry = *m_Samples[static_cast<size_t>(i)];
            entry.CopyBytes(out);
            out += entry.GetSizeOnDisk();
        }
        if (!tail.empty()) m_pFile->Write(tail.data(), static_cast<uint32_t>(tail.size()));

        m_Positions.resize(static_cast<size_t>(m_nFirstDirty));
        m_Positions.insert(m_Positions.end(), positions.begin(), positions.end());
        m_nFirstDirty = count;
    } catch (...) {
        CloseQuietly(*m_pFile);
        m_pFile.reset();
        throw;
    }
    try {
        m_pFile->Close();
    } catch (...) {
        m_pFile.reset();
        throw;
    }
    m_pFile.reset();
    return TNE_OK;
}

void CTarnovelleChannelSamplesFile::Refresh() {
    CTarnovelleFile file;
    if (!file.Open(GetSamFilePath().c_str(), CTarnovelleFile::modeRead)) return;
    try {
        Read(file);
    } catch (...) {
        Clear();
        CloseQuietly(file);
        throw;
    }
    file.Close();
}

bool CTarnovelleChannelSamplesFile::IsUnchangedSinceRead() const {
    if (m_nReadModified == 0 || m_pFile) return false;
    STNFileStatus status;
    try {
        if (!CTarnovelleFile::GetStatus(GetSamFilePath().c_str(), status)) return false;
    } catch (...) {
        return false;
    }
    return status.m_size == m_nReadLength && status.m_mtime == m_nReadModified;
}

CSampleEntry* CTarnovelleChannelSamplesFile::GetSelected() const {
    if (m_nSelected < 0 || m_nSelected >= static_cast<int32_t>(m_Samples.size())) return nullptr;
    return m_Samples[static_cast<size_t>(m_nSelected)].get();
}

void CTarnovelleChannelSamplesFile::MarkSelectedDirty() {
    m_nEndsAscending = -1;
    if (m_nFirstDirty > m_nSelected) m_nFirstDirty = m_nSelected;
}

ETarnovelleErrors CTarnovelleChannelSamplesFile::SelectLastOrCreateNewFloatDigitSample(
    EFormatId format, const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to, float valueOffset,
    float valueFactor) {
    CSampleEntry* last = GetSelected();
    // Only a block of the mean form has an end and a factor to compare.
    auto* lastMean = dynamic_cast<CSampleEntryMeanValues*>(last);
    if (lastMean && lastMean->m_Header.GetFormatId() == format &&
        from.GetSecondsSince1970() == lastMean->m_MeanValues.EndTime &&
        lastMean->m_MeanValues.ValueOffset == valueOffset && lastMean->m_MeanValues.ValueFactor == valueFactor &&
        from != to && lastMean->m_MeanValues.StartTime != lastMean->m_MeanValues.EndTime) {
        lastMean->m_MeanValues.EndTime = to.GetSecondsSince1970();
        MarkSelectedDirty();
        return TNE_OK;
    }

    SSampleHeader header{static_cast<uint8_t>(format), NextDataPosition(last, FloatDigitElementSize), 0};
    SSampleHeaderMeanValues meanValues{from.GetSecondsSince1970(), to.GetSecondsSince1970(), valueOffset,
                                       valueFactor};
    std::unique_ptr<CSampleEntry> entry(new (std::nothrow) CSampleEntryMeanValues(header, meanValues));
    if (!entry) return TNE_OUT_OF_MEMORY;

    // Searched from the end: older data sent late goes in front of the blocks
    // that start after it, and an equal start time stays in front of it.
    size_t index = m_Samples.size();
    while (index > 0) {
        CTNUTCTimeStamp start = CTNUTCTimeStamp::InvalidTS();
        CTNUTCTimeStamp end = CTNUTCTimeStamp::InvalidTS();
        m_Samples[index - 1]->GetTimes(start, end);
        if (start.IsInvalidTS() || !(start > from)) break;
        --index;
    }
    try {
        m_Samples.insert(m_Samples.begin() + static_cast<std::ptrdiff_t>(index), std::move(entry));
    } catch (const std::bad_alloc&) {
        return TNE_OUT_OF_MEMORY;
    }
    m_nSelected = static_cast<int32_t>(index);
    MarkSelectedDirty();
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleChannelSamplesFile::SelectLastOrCreateNewEventBinarySample(EFormatId format,
                                                                                         const CTNUTCTimeStamp& from,
                                                                                         const CTNUTCTimeStamp& to) {
    CSampleEntry* last = GetSelected();
    auto* lastEvent = dynamic_cast<CSampleEntryEvent*>(last);
    if (lastEvent && lastEvent->m_Header.GetFormatId() == format &&
        !(lastEvent->m_Event.EndTime > STarnovelleTimeStampInMsec(from))) {
        lastEvent->m_Event.EndTime = STarnovelleTimeStampInMsec(to);
        MarkSelectedDirty();
        return TNE_OK;
    }

    SSampleHeader header{static_cast<uint8_t>(format), NextDataPosition(last, EventBinaryElementSize), 0};
    SSampleHeaderEvent event{STarnovelleTimeStampInMsec(from), STarnovelleTimeStampInMsec(to)};
    std::unique_ptr<CSampleEntry> entry(new (std::nothrow) CSampleEntryEvent(header, event));
    if (!entry) return TNE_OUT_OF_MEMORY;
    // Events keep their order of arrival: no search for a place.
    try {
        m_Samples.push_back(std::move(entry));
    } catch (const std::bad_alloc&) {
        return TNE_OUT_OF_MEMORY;
    }
    m_nSelected = static_cast<int32_t>(m_Samples.size()) - 1;
    MarkSelectedDirty();
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleChannelSamplesFile::IncreaseSampleDataCount(uint32_t count) {
    CSampleEntry* selected = GetSelected();
    if (!selected) return TNE_FAILED;  // no block to count into
    selected->m_Header.SetElementCount(selected->m_Header.GetElementCount() + count);
    return TNE_OK;
}
