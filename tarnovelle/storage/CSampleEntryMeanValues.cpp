#include "tarnovelle/storage/CSampleEntryMeanValues.h"

#include <cstring>

#include "tarnovelle/storage/CTarnovelleFile.h"
#include "tarnovelle/values/STarnovelleTimeStampInMsec.h"

CSampleEntryMeanValues::CSampleEntryMeanValues(const SSampleHeader& header,
                                               const SSampleHeaderMeanValues& meanValues)
    : CSampleEntry(header), m_MeanValues(meanValues) {}

CSampleEntryMeanValues::~CSampleEntryMeanValues() = default;

void CSampleEntryMeanValues::Write(CTarnovelleFile& file) const {
    file.Write(&m_Header, sizeof(m_Header));
    file.Write(&m_MeanValues, sizeof(m_MeanValues));
}

void CSampleEntryMeanValues::GetTimes(CTNUTCTimeStamp& start, CTNUTCTimeStamp& end) const {
    start = STarnovelleTimeStampInMsec(m_MeanValues.StartTime, 0).GetUTCTimeStamp();
    end = STarnovelleTimeStampInMsec(m_MeanValues.EndTime, 0).GetUTCTimeStamp();
}

ETarnovelleErrors CSampleEntryMeanValues::IsOutside(const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to,
                                                    int32_t& result) const {
    CTNUTCTimeStamp start = CTNUTCTimeStamp::InvalidTS();
    CTNUTCTimeStamp end = CTNUTCTimeStamp::InvalidTS();
    GetTimes(start, end);
    if (start.IsInvalidTS() || end.IsInvalidTS()) return TNE_FAILED;
    result = (to < start || from >= end) ? 1 : 0;
    return TNE_OK;
}

uint32_t CSampleEntryMeanValues::GetSizeOnDisk() const {
    return sizeof(SSampleHeader) + sizeof(SSampleHeaderMeanValues);
}

void CSampleEntryMeanValues::CopyBytes(uint8_t* buffer) const {
    std::memcpy(buffer, &m_Header, sizeof(m_Header));
    std::memcpy(buffer + sizeof(m_Header), &m_MeanValues, sizeof(m_MeanValues));
}
