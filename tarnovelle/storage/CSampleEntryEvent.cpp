#include "tarnovelle/storage/CSampleEntryEvent.h"

#include <cstring>

#include "tarnovelle/storage/CTarnovelleFile.h"

CSampleEntryEvent::CSampleEntryEvent(const SSampleHeader& header, const SSampleHeaderEvent& event)
    : CSampleEntry(header), m_Event(event) {}

CSampleEntryEvent::~CSampleEntryEvent() = default;

void CSampleEntryEvent::Write(CTarnovelleFile& file) const {
    file.Write(&m_Header, sizeof(m_Header));
    file.Write(&m_Event, sizeof(m_Event));
}

void CSampleEntryEvent::GetTimes(CTNUTCTimeStamp& start, CTNUTCTimeStamp& end) const {
    start = m_Event.StartTime.GetUTCTimeStamp();
    end = m_Event.EndTime.GetUTCTimeStamp();
}

ETarnovelleErrors CSampleEntryEvent::IsOutside(const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to,
                                               int32_t& result) const {
    CTNUTCTimeStamp start = CTNUTCTimeStamp::InvalidTS();
    CTNUTCTimeStamp end = CTNUTCTimeStamp::InvalidTS();
    GetTimes(start, end);
    if (start.IsInvalidTS() || end.IsInvalidTS()) return TNE_FAILED;
    result = (to < start || from > end) ? 1 : 0;
    return TNE_OK;
}

uint32_t CSampleEntryEvent::GetSizeOnDisk() const { return sizeof(SSampleHeader) + sizeof(SSampleHeaderEvent); }

void CSampleEntryEvent::CopyBytes(uint8_t* buffer) const {
    std::memcpy(buffer, &m_Header, sizeof(m_Header));
    std::memcpy(buffer + sizeof(m_Header), &m_Event, sizeof(m_Event));
}
