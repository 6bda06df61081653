#include "tarnovelle/values/CTarnovelleTextManager.h"

#include <atomic>
#include <cstdio>

namespace {

// Null: the library's own table. Read on every text, so an atomic rather
// than a lock.
std::atomic<const STNStringTable*> g_languageModule{nullptr};

}  // namespace

CTarnovelleTextManager::~CTarnovelleTextManager() = default;

const STNStringTable* CTarnovelleTextManager::GetLanguageModule() {
    return g_languageModule.load(std::memory_order_acquire);
}

void CTarnovelleTextManager::SetLanguageModule(const STNStringTable* module) {
    g_languageModule.store(module, std::memory_order_release);
}

const STNStringTable& CTarnovelleTextManager::CurrentTable() {
    const STNStringTable* module = GetLanguageModule();
    return module ? *module : STNStringTable::German();
}

std::string CTarnovelleTextManager::LoadString(uint16_t id) {
    const char* text = CurrentTable().Find(id);
    return text ? std::string(text) : std::string();
}

namespace {

// Ids of the enum titles, shown for a value without a text.
constexpr uint16_t kTitleCharacteristicType = 1;
constexpr uint16_t kTitlePhase = 26;
constexpr uint16_t kTitleMeasurementValueType = 40;
constexpr uint16_t kTitleFormatId = 53;
constexpr uint16_t kTitleArchiveMode = 92;
constexpr uint16_t kTitleNetworkType = 111;
constexpr uint16_t kTitleMessages = 133;
constexpr uint16_t kHarmonicVoltageOrder = 23;  // "...%02d"
constexpr uint16_t kHarmonicCurrentOrder = 25;  // "...%02d"
constexpr int32_t kNoText = -1;

// Renders a printf-style text with one integer. The texts are the library's
// own compiled-in tables, each checked for its placeholders.
std::string FormatNumber(const std::string& format, int number) {
    char buffer[256];
    const int length = std::snprintf(buffer, sizeof buffer, format.c_str(), number);
    if (length < 0) return std::string();
    return std::string(buffer, static_cast<size_t>(length) < sizeof buffer ? static_cast<size_t>(length)
                                                                            : sizeof buffer - 1);
}

int32_t CharacteristicTypeTextId(int32_t value) {
    if (value >= 0 && value <= 19) return 2 + value;
    if (value >= 20 && value <= 33) return 138 + (value - 20);
    switch (value) {
        case CT_HARMONIC_VOLTAGE_ALL: return 22;
        case CT_HARMONIC_CURRENT_ALL: return 24;
        case CT_MESSAGE: return 50;
        case CT_SET_DEVICE_TIME: return 51;
        case CT_READ_DEVICE_DATA: return 52;
        default: return kNoText;
    }
}

int32_t PhaseTextId(int32_t value) {
    if (value >= 0 && value <= 11) return 27 + value;
    switch (value) {
        case PH_LN: return 116;
        case PH_L: return 117;
        case PH_UNDEFINED: return 39;
        default: return kNoText;
    }
}

int32_t FormatIdTextId(int32_t value) {
    switch (value) {
        case FORMAT_DIGIT: return 54;
        case FORMAT_EVENT: return 55;
        case FORMAT_BINARY_BYTE: return 57;
        case FORMAT_FLOAT: return 56;
        case FORMAT_BINARY_WORD: return 58;
        case FORMAT_BINARY_DWORD: return 59;
        case FORMAT_MESSAGE: return 60;
        default: return kNoText;
    }
}

int32_t NetworkTypeTextId(int32_t value) {
    switch (value) {
        case NET_UNKNOWN: return 112;
        case NET_SINGLE_PHASE: return 113;
        case NET_THREE_WIRE: return 114;
        case NET_FOUR_WIRE: return 115;
        default: return kNoText;
    }
}

}  // namespace

std::string CTarnovelleTextManager::Fallback(uint16_t titleId, int32_t value) {
    char number[16];
    std::snprintf(number, sizeof number, "%08X", static_cast<unsigned>(static_cast<uint32_t>(value)));
    return LoadString(titleId) + " [ " + number + " ]";
}

std::string CTarnovelleTextManager::TextOrFallback(int32_t textId, uint16_t titleId, int32_t value) {
    return textId == kNoText ? Fallback(titleId, value) : LoadString(static_cast<uint16_t>(textId));
}

std::string CTarnovelleTextManager::GetText(ECharacteristicType value) {
    const int32_t v = value;
    std::string text;
    if (v >= CT_HARMONIC_VOLTAGE_BASE && v < CT_HARMONIC_VOLTAGE_ALL)
        text = FormatNumber(LoadString(kHarmonicVoltageOrder), v & 0xFF);
    else if (v >= CT_HARMONIC_CURRENT_BASE && v < CT_HARMONIC_CURRENT_ALL)
        text = FormatNumber(LoadString(kHarmonicCurrentOrder), v & 0xFF);
    else if (const int32_t id = CharacteristicTypeTextId(v); id != kNoText)
        text = LoadString(static_cast<uint16_t>(id));
    // Here an empty text, also one missing from the table, falls back too.
    return text.empty() ? Fallback(kTitleCharacteristicType, v) : text;
}

std::string CTarnovelleTextManager::GetText(EPhase value) {
    return TextOrFallback(PhaseTextId(value), kTitlePhase, value);
}

std::string CTarnovelleTextManager::GetText(EMeasurementValueType value) {
    const int32_t v = value;
    return TextOrFallback(v >= 0 && v <= 8 ? 41 + v : kNoText, kTitleMeasurementValueType, v);
}

std::string CTarnovelleTextManager::GetText(EFormatId value) {
    return TextOrFallback(FormatIdTextId(value), kTitleFormatId, value);
}

std::string CTarnovelleTextManager::GetText(ENetworkType value) {
    return TextOrFallback(NetworkTypeTextId(value), kTitleNetworkType, value);
}

std::string CTarnovelleTextManager::GetText(ETarnovelleMessages value) {
    const int32_t v = value;
    return TextOrFallback(v == TNMSG_NONE ? 134 : v == TNMSG_ARCHIVING_STOPPED ? 135 : kNoText, kTitleMessages, v);
}

std::string CTarnovelleTextManager::GetText(TNARCHIVE_MODE value) {
    const int32_t v = value;
    return TextOrFallback(v == TNARCHIVE_MODE_REMAINING ? 93 : v == TNARCHIVE_MODE_MAXIMAL ? 94 : kNoText,
                          kTitleArchiveMode, v);
}

std::string CTarnovelleTextManager::GetText(SChannelID id) {
    return "[ " + GetText(id.GetCharacteristicType()) + " / " + GetText(id.GetPhase()) + " / " +
           GetText(id.GetMeasurementValueType()) + " ]";
}
