#include "tarnovelle/storage/CTarnovelleChannelDataFile.h"

#include <limits>

#include "tarnovelle/support/CFileException.h"
#include "tarnovelle/support/STNFileStatus.h"
#include "tarnovelle/support/TNPath.h"

namespace {

// Create if missing, keep what is there, write only; Open adds "exclusive".
constexpr uint32_t kOpenForAppend =
    CTarnovelleFile::modeCreate | CTarnovelleFile::modeNoTruncate | CTarnovelleFile::modeWrite;

}  // namespace

uint32_t CTarnovelleChannelDataFile::GetRecordSize(EFormatId format) {
    switch (format) {
    case FORMAT_DIGIT: return sizeof(uint16_t);
    case FORMAT_EVENT: return sizeof(SEvent);
    case FORMAT_BINARY_BYTE: return sizeof(SBinary_BYTE);
    case FORMAT_FLOAT: return sizeof(float);
    case FORMAT_BINARY_WORD: return sizeof(SBinary_WORD);
    case FORMAT_BINARY_DWORD: return sizeof(SBinary_DWORD);
    case FORMAT_MESSAGE: return sizeof(SBinary_Text);
    }
    return 0;
}

CTarnovelleChannelDataFile::CTarnovelleChannelDataFile() {
    m_Header.ChannelID = SChannelID(CT_UNDEFINED, PH_UNDEFINED, MVT_UNDEFINED);
}

CTarnovelleChannelDataFile::~CTarnovelleChannelDataFile() {
    // Unlike the samples file, the data file does not leave a held file open.
    DropFile();
}

void CTarnovelleChannelDataFile::DropFile() {
    if (!m_pFile) return;
    try {
        m_pFile->Close();
    } catch (...) {
        // The file is given up either way; nothing can be done about a failed close here.
    }
    m_pFile.reset();
}

ETarnovelleErrors CTarnovelleChannelDataFile::Init(const std::string& path, const GUID& guid,
                                                   const SChannelID& channelId) {
    m_strBasePath = RemoveFileExtension(path);
    m_Header.MeasuringPointGUID = guid;
    m_Header.ChannelID = channelId;
    return channelId.GetCharacteristicType() == CT_UNDEFINED ? TNE_FAILED : TNE_OK;
}

ETarnovelleErrors CTarnovelleChannelDataFile::Create(const std::string& path, const GUID& guid,
                                                     const SChannelID& channelId) {
    const ETarnovelleErrors result = Init(path, guid, channelId);
    if (result != TNE_OK) return result;
    STNFileStatus status;
    const std::string dataPath = DataFilePath();
    if (CTarnovelleFile::GetStatus(dataPath.c_str(), status)) CTarnovelleFile::Remove(dataPath.c_str());
    return Open();
}

ETarnovelleErrors CTarnovelleChannelDataFile::Open() {
    if (m_pFile) return TNE_FAILED;
    const std::string dataPath = DataFilePath();
    m_pFile = std::make_unique<CTarnovelleFile>();
    if (!m_pFile->Open(dataPath.c_str(), kOpenForAppend)) {
        m_pFile.reset();
        CTarnovelleFile::ThrowOpenFailure(dataPath);
    }
    try {
        // The test is on the length, not on emptiness: a file of 1 to 19
        // bytes gets the header behind what it holds. SeekToEnd already
        // gives the position, so no second call asks for it.
        if (m_pFile->SeekToEnd() < sizeof(SDataFileHeader)) m_pFile->Write(&m_Header, sizeof(m_Header));
    } catch (...) {
        // A data file without its header would put every value at the wrong
        // place: leave no file behind, even one that held data before.
        DropFile();
        try {
            CTarnovelleFile::Remove(dataPath.c_str());
        } catch (...) {
            // The failure that matters is the one passed on.
        }
        throw;
    }
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleChannelDataFile::Close() {
    if (!m_pFile) return TNE_FAILED;
    try {
        m_pFile->Close();
    } catch (...) {
        m_pFile.reset();
        throw;
    }
    m_pFile.reset();
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleChannelDataFile::Append(EFormatId format, EFormatId expected, const void* values,
                                                     uint32_t count) {
    if (format != expected) return TNE_FAILED;
    if (m_Header.ChannelID.GetCharacteristicType() == CT_UNDEFINED) return TNE_FAILED;
    if (!m_pFile) return TNE_FAILED;
    const uint64_t bytes = static_cast<uint64_t>(count) * GetRecordSize(expected);
    // A count whose bytes no 32-bit write can carry, or values that aren't there.
    if (bytes > std::numeric_limits<uint32_t>::max() || (bytes != 0 && values == nullptr)) return TNE_FAILED;
    m_pFile->SeekToEnd();
    if (bytes != 0) m_pFile->WriteHuge(values, static_cast<uint32_t>(bytes));
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleChannelDataFile::WriteSampleData(EFormatId format, const uint16_t* values,
                                                              uint32_t count) {
    return Append(format, FORMAT_DIGIT, values, count);
}

ETarnovelleErrors CTarnovelleChannelDataFile::WriteSampleData(EFormatId format, const SEvent* values, uint32_t count) {
    return Append(format, FORMAT_EVENT, values, count);
}

ETarnovelleErrors CTarnovelleChannelDataFile::WriteSampleData(EFormatId format, const SBinary_BYTE* values,
                                                              uint32_t count) {
    return Append(format, FORMAT_BINARY_BYTE, values, count);
}

ETarnovelleErrors CTarnovelleChannelDataFile::WriteSampleData(EFormatId format, const float* values, uint32_t count) {
    return Append(format, FORMAT_FLOAT, values, count);
}

ETarnovelleErrors CTarnovelleChannelDataFile::WriteSampleData(EFormatId format, const SBinary_WORD* values,
                                                              uint32_t count) {
    return Append(format, FORMAT_BINARY_WORD, values, count);
}

ETarnovelleErrors CTarnovelleChannelDataFile::WriteSampleData(EFormatId format, const SBinary_DWORD* values,
                                                              uint32_t count) {
    return Append(format, FORMAT_BINARY_DWORD, values, count);
}

ETarnovelleErrors CTarnovelleChannelDataFile::WriteSampleData(EFormatId format, const SBinary_Text* values,
                                                              uint32_t count) {
    return Append(format, FORMAT_MESSAGE, values, count);
}
