// Every text the system shows, by string id from the language module in use,
// and the display texts of the enums.
//
// The language module is one of the compiled-in string tables
// (STNStringTable), chosen by SetTarnovelleLanguage; before that the library's
// own German table is used. A missing id loads as the empty text.
//
// GetText of an enum value without a text gives the enum's title through
// "%s [ %08X ]", e.g. "Phase [ 00000063 ]". For a characteristic type that is
// also the case when the loaded text is empty.
#pragma once

#include <cstdint>
#include <string>

#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/values/ECharacteristicType.h"
#include "tarnovelle/values/EFormatId.h"
#include "tarnovelle/values/EMeasurementValueType.h"
#include "tarnovelle/values/ENetworkType.h"
#include "tarnovelle/values/EPhase.h"
#include "tarnovelle/values/ETarnovelleMessages.h"
#include "tarnovelle/values/SChannelID.h"
#include "tarnovelle/values/STNStringTable.h"
#include "tarnovelle/values/TNARCHIVE_MODE.h"
#include "tarnovelle/values/SetTarnovelleLanguage.h"

class TNVL_EXPORT CTarnovelleTextManager {
public:
    virtual ~CTarnovelleTextManager();

    static std::string GetText(ECharacteristicType value);
    static std::string GetText(EPhase value);
    static std::string GetText(EMeasurementValueType value);
    static std::string GetText(EFormatId value);
    static std::string GetText(ENetworkType value);
    static std::string GetText(ETarnovelleMessages value);
    static std::string GetText(TNARCHIVE_MODE value);
    // "[ characteristic / phase / value type ]", e.g. "[ Spannung / L1-N / Mittel ]".
    static std::string GetText(SChannelID id);

    // The text of a string id in the current language; empty when missing.
    static std::string LoadString(uint16_t id);

    // The language module in use: null while the library's own table serves.
    static const STNStringTable* GetLanguageModule();

private:
    friend void SetTarnovelleLanguage(const std::string& language);
    static void SetLanguageModule(const STNStringTable* module);
    static const STNStringTable& CurrentTable();
    static std::string Fallback(uint16_t titleId, int32_t value);
    static std::string TextOrFallback(int32_t textId, uint16_t titleId, int32_t value);
};
