#include "tarnovelle/measuring/CTarnovelleMeasuringPointBase.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "tarnovelle/storage/CTarnovelleFile.h"
#include "tarnovelle/support/TNGuid.h"
#include "tarnovelle/support/TNPath.h"

namespace {

constexpr char kFileName[] = "ConfData.Inf";
constexpr char kVersion0Head[] = "<CTarnovelleMeasuringPoint Version=\"0\">";
constexpr char kCountKey[] = "Count=";
// The line buffer of the text reader: a line takes at most one byte less.
constexpr size_t kLineBuffer = 255;

// The fixed places of a key "TIME%08lx_CHANNEL%08lx_PARAMETER%d".
constexpr size_t kTimeAt = 4;
constexpr size_t kChannelTagAt = 12;
constexpr size_t kChannelAt = 20;
constexpr size_t kParameterTagAt = 28;
constexpr size_t kParameterAt = 38;

bool StartsWith(const std::string& text, size_t at, const char* part) {
    return text.compare(at, std::char_traits<char>::length(part), part) == 0;
}

uint32_t HexHalf(const std::string& key, size_t at) {
    return static_cast<uint32_t>(std::strtol(key.substr(at, 4).c_str(), nullptr, 16)) & 0xFFFFu;
}

// Reads the lines of a text file as a line buffer of kLineBuffer bytes does:
// up to and with the line break, or kLineBuffer - 1 bytes of a longer line,
// whose rest is the next line. The file is read in text mode, so a carriage
// return before a line break is dropped.
class CTextLines {
public:
    explicit CTextLines(std::string text) : m_text(std::move(text)) {
        std::string lf;
        lf.reserve(m_text.size());
        for (size_t i = 0; i < m_text.size(); ++i) {
            if (m_text[i] == '\r' && i + 1 < m_text.size() && m_text[i + 1] == '\n') continue;
            lf.push_back(m_text[i]);
        }
        m_text.swap(lf);
    }
    // False at the end of the text.
    bool Next(std::string& line) {
        if (m_at >= m_text.size()) return false;
        const size_t limit = std::min(m_text.size(), m_at + kLineBuffer - 1);
        size_t end = m_at;
        while (end < limit && m_text[end] != '\n') ++end;
        if (end < limit) ++end;  // the line break belongs to the line
        line.assign(m_text, m_at, end - m_at);
        m_at = end;
        return true;
    }

private:
    std::string m_text;
    size_t m_at = 0;
};

std::string ReadWholeFile(const std::string& path) {
    CTarnovelleFile file;
    if (!file.Open(path.c_str(), CTarnovelleFile::modeRead)) CTarnovelleFile::ThrowOpenFailure(path);
    // The size the open saw bounds the buffer: nothing is sized by the text.
    std::string text(static_cast<size_t>(file.GetLengthAtOpen()), '\0');
    try {
        text.resize(text.empty() ? 0 : file.Read(text.data(), static_cast<uint32_t>(text.size())));
        file.Close();
    } catch (...) {
        try {
            file.Close();
        } catch (...) {
        }
        throw;
    }
    return text;
}

}  // namespace

CTarnovelleMeasuringPointBase::CTarnovelleMeasuringPointBase() : GUID{} {}

CTarnovelleMeasuringPointBase::~CTarnovelleMeasuringPointBase() = default;

ETarnovelleErrors CTarnovelleMeasuringPointBase::Init(const ::GUID& guid, const std::string& rootPath) {
    GUID = guid;
    RootPath = rootPath;
    const std::string directory = RootPath + "/" + GuidToString(GUID) + "/";
    FilePath = directory + kFileName;
    if (PathExists(FilePath)) return Load();
    // Always reports success; a directory that could not be made shows at
    // the first Save.
    CreatePathRecursive(directory);
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleMeasuringPointBase::LoadVersion0(StringMap& pairs) {
    CTextLines lines(ReadWholeFile(FilePath));
    std::string line;
    if (!lines.Next(line) || !StartsWith(line, 0, kVersion0Head)) return TNE_FILE_NOT_PARSED;
    if (!lines.Next(line) || !StartsWith(line, 0, kCountKey)) return TNE_FILE_NOT_PARSED;
    const long count = std::strtol(line.c_str() + std::char_traits<char>::length(kCountKey), nullptr, 10);
    // A count that claims more lines than the file holds ends with the file.
    for (long i = 0; i < count && lines.Next(line); ++i) {
        const size_t equals = line.find('=');
        if (equals == std::string::npos) return TNE_FILE_NOT_PARSED;
        std::string key = line.substr(0, equals);
        std::string value = line.substr(equals + 1);
        if (!key.empty() && !value.empty()) pairs[key] = value;
    }
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleMeasuringPointBase::ParseParameterPath(const std::string& key, uint32_t& time,
                                                                    SChannelID& channel, std::string& name) {
    if (key.size() < kParameterAt || !StartsWith(key, 0, "TIME") || !StartsWith(key, kChannelTagAt, "_CHANNEL") ||
        !StartsWith(key, kParameterTagAt, "_PARAMETER"))
        return TNE_NO_OBJECT;
    time = HexHalf(key, kTimeAt) << 16 | HexHalf(key, kTimeAt + 4);
    channel = SChannelID(HexHalf(key, kChannelAt) << 16 | HexHalf(key, kChannelAt + 4));
    switch (std::strtol(key.c_str() + kParameterAt, nullptr, 10)) {
        case 0: name = "???"; break;
        case 1: name = "IntervalTimeInMSec"; break;
        case 2: name = "NominalValue"; break;
        case 3: name = "Unit"; break;
        default: name.clear(); break;
    }
    return TNE_OK;
}

std::string CTarnovelleMeasuringPointBase::CreateParameterPath(const uint32_t& time, const SChannelID& channel,
                                                               EChannelParameter parameter) {
    char key[64];
    std::snprintf(key, sizeof(key), "TIME%08lx_CHANNEL%08lx_PARAMETER%d", static_cast<unsigned long>(time),
                  static_cast<unsigned long>(channel.GetDWORD()), static_cast<int>(parameter));
    return key;
}
