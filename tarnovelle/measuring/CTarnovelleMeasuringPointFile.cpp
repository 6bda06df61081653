// The file side of CTarnovelleMeasuringPoint: ConfData.Inf in its three
// versions, read, and written in the current one.
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "tarnovelle/measuring/CTarnovelleMeasuringPoint.h"
#include "tarnovelle/storage/CTarnovelleFile.h"
#include "tarnovelle/support/EV_XMLDOMDocument.h"
#include "tarnovelle/support/EV_XMLDOMNode.h"
#include "tarnovelle/values/STarnovelleTimeStampInMsec.h"

namespace {

// Every version opens with these 36 bytes; the version character follows.
constexpr char kHead[] = "<CTarnovelleMeasuringPoint Version=\"";
constexpr size_t kHeadSize = sizeof(kHead) - 1;
static_assert(kHeadSize == 36, "the common head is 36 bytes");
// The current version's own head: kHead, "2", and "\"/>".
constexpr char kVersion2Head[] = "<CTarnovelleMeasuringPoint Version=\"2\"/>";
static_assert(sizeof(kVersion2Head) - 1 == 40, "the head of the binary version is 40 bytes");
constexpr char kEndOfFile[] = "END_OF_FILE";
constexpr char kRootName[] = "CTarnovelleMeasuringPoint";

CTNUTCTimeStamp AtSeconds(uint32_t seconds) { return STarnovelleTimeStampInMsec(seconds, 0).GetUTCTimeStamp(); }

// Reads a little-endian 32-bit number; false, with nothing taken, when fewer
// than four bytes are left.
template <typename T>
bool Take(CTarnovelleMeasuringPoint::SReader& reader, T& value) {
    static_assert(sizeof(T) == 4, "the file's numbers are 32 bits wide");
    if (reader.size - reader.at < sizeof(T)) return false;
    const auto* bytes = reinterpret_cast<const unsigned char*>(reader.data + reader.at);
    const uint32_t bits = static_cast<uint32_t>(bytes[0]) | static_cast<uint32_t>(bytes[1]) << 8 |
                          static_cast<uint32_t>(bytes[2]) << 16 | static_cast<uint32_t>(bytes[3]) << 24;
    std::memcpy(&value, &bits, sizeof(value));
    reader.at += sizeof(T);
    return true;
}

void Put(std::string& out, uint32_t value) {
    const char bytes[4] = {static_cast<char>(value & 0xFF), static_cast<char>(value >> 8 & 0xFF),
                           static_cast<char>(value >> 16 & 0xFF), static_cast<char>(value >> 24 & 0xFF)};
    out.append(bytes, sizeof(bytes));
}

void PutText(std::string& out, const std::string& text) {
    Put(out, static_cast<uint32_t>(text.size()));
    out += text;
}

void CloseQuietly(CTarnovelleFile& file) {
    try {
        file.Close();
    } catch (...) {
        // The failure being passed on is the one that matters.
    }
}

// The attribute's text scanned as "%d"; false when it is missing, empty or
// does not scan.
bool ScanAttribute(const EV_XMLDOMNode& node, const char* attribute, int& value) {
    std::string text;
    if (node.GetAttribute(attribute, text) != S_OK || text.empty()) return false;
    return std::sscanf(text.c_str(), "%d", &value) == 1;
}

}  // namespace

// ---------------------------------------------------------------- loading

ETarnovelleErrors CTarnovelleMeasuringPoint::Load() {
    STNFileStatus status;
    if (!CTarnovelleFile::GetStatus(FilePath.c_str(), status)) return TNE_OK;
    if (status.m_mtime == FileStatus.m_mtime) return TNE_OK;
    CTarnovelleFile file;
    if (!file.Open(FilePath.c_str(), CTarnovelleFile::modeRead)) return TNE_FILE_NOT_OPENED;
    try {
        file.GetStatus(FileStatus);
        char head[kHeadSize];
        if (file.Read(head, kHeadSize) != kHeadSize || std::memcmp(head, kHead, kHeadSize) != 0) {
            file.Close();
            return TNE_FILE_NOT_PARSED;
        }
        char version = '\0';
        file.Read(&version, 1);
        if (version == '0') {
            ReadVersion0();
        } else if (version == '1') {
            ReadVersion1();
        } else if (version == '2') {
            char rest[3];
            file.Read(rest, sizeof(rest));
            ReadVersion2(file);
        }
    } catch (...) {
        CloseQuietly(file);
        throw;
    }
    file.Close();
    // Whatever the reading gave: the history it filled is what counts.
    return TNE_FILE_NOT_PARSED;
}

ETarnovelleErrors CTarnovelleMeasuringPoint::ReadVersion0() {
    StringMap pairs;
    const ETarnovelleErrors result = LoadVersion0(pairs);
    if (result != TNE_OK) return result;
    for (const auto& [key, text] : pairs) {
        uint32_t seconds = 0;
        SChannelID channel;
        std::string name;
        if (ParseParameterPath(key, seconds, channel, name) != TNE_OK) continue;
        // Entries are made empty and filled directly: every value keeps its own time.
        size_t index = 0;
        while (index < TimeStamps.size() && TimeStamps[index] != seconds) ++index;
        if (index == TimeStamps.size()) {
            CTarnovelleParameterSet empty = CTarnovelleParameterSet::CreateParameterSet();
            InsertParameterSet(empty, AtSeconds(seconds));
            index = 0;
            while (index < TimeStamps.size() && TimeStamps[index] != seconds) ++index;
            if (index == TimeStamps.size()) continue;
        }
        // The value ends with its closing tag; the line break behind it goes.
        std::string value = text;
        const size_t close = value.find("</");
        if (close != std::string::npos) {
            const size_t end = value.find('>', close);
            if (end != std::string::npos) value.erase(end + 1);
        }
        CTarnovelleParameterSet entry = ViewOf(index);
        entry.SetParameterInternal(channel, name, value);
    }
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleMeasuringPoint::ReadVersion1() {
    EV_XMLDOMDocument document;
    if (document.Open(FilePath) != S_OK) return TNE_FILE_NOT_OPENED;
    EV_XMLDOMNode root;
    if (document.GetRootNode(root) != S_OK) return TNE_FILE_NOT_OPENED;
    const std::vector<EV_XMLDOMNode> children = root.Children();
    for (auto it = children.rbegin(); it != children.rend(); ++it) {
        EV_XMLDOMNode node = *it;
        if (node.Name() != kRootName) continue;
        std::string version;
        node.GetAttribute("Version", version);
        if (version == "0") {
            ReadVersion0();
        } else if (version == "1") {
            ReadTimes(node);
        } else {
            return TNE_FILE_NOT_PARSED;
        }
    }
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleMeasuringPoint::ReadTimes(CEV_XMLDOMNode& node) {
    for (EV_XMLDOMNode& child : node.Children()) {
        int seconds = 0;
        if (child.Name() != "TimeStamp" || !ScanAttribute(child, "StartTime", seconds)) continue;
        CTarnovelleParameterSet set = CTarnovelleParameterSet::CreateParameterSet();
        ReadParameter(child, set, SChannelID(0u));
        ReadChannel(child, set);
        InsertParameterSet(set, AtSeconds(static_cast<uint32_t>(seconds)));
    }
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleMeasuringPoint::ReadChannel(CEV_XMLDOMNode& node, CTarnovelleParameterSet& set) {
    for (EV_XMLDOMNode& child : node.Children()) {
        int channel = 0;
        if (child.Name() != "Channel" || !ScanAttribute(child, "ChannelID", channel)) continue;
        ReadParameter(child, set, SChannelID(static_cast<uint32_t>(channel)));
    }
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleMeasuringPoint::ReadParameter(CEV_XMLDOMNode& node, CTarnovelleParameterSet& set,
                                                           const SChannelID& channel) {
    for (EV_XMLDOMNode& child : node.Children()) {
        std::string parameter;
        if (child.Name() != "Parameter" || child.GetAttribute("ParameterId", parameter) != S_OK ||
            parameter.empty())
            continue;
        // One child per value, named by its type tag; the last one counts.
        for (EV_XMLDOMNode& value : child.Children()) {
            const std::string tag = value.Name();
            std::string text;
            value.GetText(text);
            set.SetParameterInternal(channel, parameter, "<" + tag + ">" + text + "</" + tag + ">");
        }
    }
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleMeasuringPoint::ReadVersion2(CTarnovelleFile& file) {
    // The rest of the file in one read; the size the open saw bounds it.
    const uint64_t length = file.GetLengthAtOpen();
    const uint64_t at = file.GetPosition();
    std::vector<char> bytes(static_cast<size_t>(length > at ? length - at : 0));
    if (!bytes.empty()) bytes.resize(file.Read(bytes.data(), static_cast<uint32_t>(bytes.size())));
    SReader reader{bytes.data(), bytes.size(), 0};

    int32_t count = 0;
    if (!Take(reader, count)) return TNE_FILE_NOT_PARSED;
    // Each entry takes at least eight bytes, so a count beyond the file ends
    // with the file.
    for (int32_t i = 0; i < count; ++i) {
        uint32_t seconds = 0;
        int32_t channels = 0;
        if (!Take(reader, seconds) || !Take(reader, channels)) return TNE_FILE_NOT_PARSED;
        if (channels <= 0) continue;
        auto map = std::make_unique<ChannelMap>();
        const ETarnovelleErrors result = ReadVersion2(reader, channels, *map);
        // An entry cut off by the end of the file is not entered.
        if (result != TNE_OK) return result;
        TimeStamps.push_back(seconds);
        ChannelMaps.push_back(map.get());
        map.release();
    }
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleMeasuringPoint::ReadVersion2(SReader& reader, int32_t count, ChannelMap& map) {
    for (int32_t i = 0; i < count; ++i) {
        uint32_t channel = 0;
        int32_t values = 0;
        if (!Take(reader, channel) || !Take(reader, values)) return TNE_FILE_NOT_PARSED;
        if (values <= 0) continue;
        auto strings = std::make_unique<ChannelMap::StringMap>();
        const ETarnovelleErrors result = ReadVersion2(reader, values, *strings);
        if (result != TNE_OK) return result;
        map.SetAt(channel, strings.release());
    }
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleMeasuringPoint::ReadVersion2(SReader& reader, int32_t count,
                                                          ChannelMap::StringMap& map) {
    for (int32_t i = 0; i < count; ++i) {
        int32_t length = 0;
        std::string name;
        std::string value;
        if (!Take(reader, length) || ReadString(reader, length, name) != TNE_OK) return TNE_FILE_NOT_PARSED;
        if (!Take(reader, length) || ReadString(reader, length, value) != TNE_OK) return TNE_FILE_NOT_PARSED;
        map[name] = value;
    }
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleMeasuringPoint::ReadString(SReader& reader, int32_t length, std::string& text) {
    // A length is a claim: one the file can't hold is damage.
    if (length < 0 || static_cast<uint64_t>(length) > reader.size - reader.at) return TNE_FILE_NOT_PARSED;
    const char* begin = reader.data + reader.at;
    text.assign(begin, ::strnlen(begin, static_cast<size_t>(length)));
    reader.at += static_cast<size_t>(length);
    return TNE_OK;
}

// ---------------------------------------------------------------- saving

ETarnovelleErrors CTarnovelleMeasuringPoint::Save() {
    STNFileStatus status;
    const bool exists = CTarnovelleFile::GetStatus(FilePath.c_str(), status) != 0;
    // An existing file is written over from its start, never truncated.
    const uint32_t flags = exists ? CTarnovelleFile::modeReadWrite
                                  : (CTarnovelleFile::modeCreate | CTarnovelleFile::modeReadWrite);
    CTarnovelleFile file;
    if (!file.Open(FilePath.c_str(), flags)) return TNE_FILE_NOT_WRITTEN;
    try {
        SaveVersion2(file);
    } catch (...) {
        CloseQuietly(file);
        throw;
    }
    file.Close();
    CTarnovelleFile::GetStatus(FilePath.c_str(), FileStatus);
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleMeasuringPoint::SaveVersion2(CTarnovelleFile& file) {
    std::string out(kVersion2Head, sizeof(kVersion2Head) - 1);
    // The newest entry goes when it says what the one before it says: once
    // per save, in memory too.
    const size_t entries = TimeStamps.size();
    if (entries > 1) {
        ChannelMap* last = ChannelMaps[entries - 1];
        ChannelMap* before = ChannelMaps[entries - 2];
        if (last && before && last->GetCount() == before->GetCount() && IsEqual(*last, *before)) {
            delete last;
            ChannelMaps.pop_back();
            TimeStamps.pop_back();
        }
    }
    Put(out, static_cast<uint32_t>(TimeStamps.size()));
    for (size_t i = 0; i < TimeStamps.size(); ++i) {
        Put(out, TimeStamps[i]);
        if (!ChannelMaps[i]) {
            Put(out, 0);
            continue;
        }
        Put(out, static_cast<uint32_t>(ChannelMaps[i]->GetCount()));
        SaveVersion2(out, *ChannelMaps[i]);
    }
    out += kEndOfFile;
    file.Write(out.data(), static_cast<uint32_t>(out.size()));
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleMeasuringPoint::SaveVersion2(std::string& out, ChannelMap& map) {
    for (const auto& [channel, values] : map) {
        Put(out, channel);
        Put(out, values ? static_cast<uint32_t>(values->size()) : 0u);
        if (values) SaveVersion2(out, *values);
    }
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleMeasuringPoint::SaveVersion2(std::string& out, ChannelMap::StringMap& map) {
    for (const auto& [name, value] : map) {
        PutText(out, name);
        PutText(out, value);
    }
    return TNE_OK;
}
