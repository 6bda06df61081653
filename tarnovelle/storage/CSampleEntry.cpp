#include "tarnovelle/storage/CSampleEntry.h"

#include <cstring>

#include "tarnovelle/storage/CTarnovelleFile.h"

CSampleEntry::CSampleEntry() : m_Header{} {}

CSampleEntry::CSampleEntry(const SSampleHeader& header) : m_Header(header) {}

CSampleEntry::~CSampleEntry() = default;

void CSampleEntry::Write(CTarnovelleFile& file) const { file.Write(&m_Header, sizeof(m_Header)); }

void CSampleEntry::GetTimes(CTNUTCTimeStamp& start, CTNUTCTimeStamp& end) const {
    start = CTNUTCTimeStamp::InvalidTS();
    end = CTNUTCTimeStamp::InvalidTS();
}

ETarnovelleErrors CSampleEntry::IsOutside(const CTNUTCTimeStamp&, const CTNUTCTimeStamp&, int32_t&) const {
    return TNE_FAILED;  // a block without times can't be placed
}

uint32_t CSampleEntry::GetSizeOnDisk() const { return sizeof(SSampleHeader); }

void CSampleEntry::CopyBytes(uint8_t* buffer) const { std::memcpy(buffer, &m_Header, sizeof(m_Header)); }
