#include "tarnovelle/values/CTarnovelleTextManager.h"

#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <vector>

namespace {

std::vector<std::string> Placeholders(const std::string& text) {
    static const std::regex placeholder(R"(%[0-9]+(![^!]*!)?|%[-+ #0]*[0-9]*(\.[0-9]+)?[a-zA-Z])");
    std::vector<std::string> found;
    for (auto it = std::sregex_iterator(text.begin(), text.end(), placeholder); it != std::sregex_iterator(); ++it)
        found.push_back(it->str());
    return found;
}

std::set<uint16_t> Ids(const STNStringTable& table) {
    std::set<uint16_t> ids;
    for (size_t i = 0; i < table.count; ++i) ids.insert(table.entries[i].id);
    return ids;
}

class GermanTexts : public ::testing::Test {
protected:
    void SetUp() override { SetTarnovelleLanguage("de"); }
};

}  // namespace

// ---- the tables --------------------------------------------------------------------

TEST(StringTable, GermanHasIdsOneTo152WithoutThreeAndTheArchiveId) {
    std::set<uint16_t> expected;
    for (uint16_t id = 1; id <= 152; ++id)
        if (id != 101 && id != 131 && id != 132) expected.insert(id);
    expected.insert(57344);
    EXPECT_EQ(expected, Ids(STNStringTable::German()));
    EXPECT_EQ(150u, STNStringTable::German().count);
}

TEST(StringTable, EnglishHasEveryIdWithTheSamePlaceholders) {
    const STNStringTable& german = STNStringTable::German();
    const STNStringTable& english = STNStringTable::English();
    EXPECT_EQ(Ids(german), Ids(english));
    for (size_t i = 0; i < german.count; ++i) {
        const uint16_t id = german.entries[i].id;
        const char* translated = english.Find(id);
        ASSERT_NE(nullptr, translated) << id;
        EXPECT_FALSE(std::string(translated).empty()) << id;
        EXPECT_EQ(Placeholders(german.entries[i].text), Placeholders(translated)) << "id " << id;
    }
}

TEST(StringTable, GermanTextsStandAsTheyAreMisspellingsIncluded) {
    const STNStringTable& german = STNStringTable::German();
    EXPECT_STREQ("Messwerttyp", german.Find(1));
    EXPECT_STREQ("Oberschwingungspannung%02d", german.Find(23));
    EXPECT_STREQ("Oberschwingungsspannung", german.Find(22));
    EXPECT_STREQ("Extremewertereignis", german.Find(49));
    EXPECT_STREQ("Teilarchiv wird vorrausichtlich voll am", german.Find(87));
    EXPECT_STREQ("Teilarchiv is leer.", german.Find(99));
    EXPECT_STREQ("Archiv (*.TNArch) |*.TNArch||", german.Find(105));
    EXPECT_STREQ("Es liegen keine Daten vor '%1' vor.", german.Find(103));
    EXPECT_STREQ("Kein Zugriff auf das Teilarchiv Nr.%1!d! \nVerzeichnisname: '%2'.\nPr\xC3\xBC"
                 "fen Sie bitte die Netzwerkverbindungen und ob sie \xC3\xBC"
                 "ber Schreib- und Leserechte verf\xC3\xBCgen.",
                 german.Find(76));
    EXPECT_NE(std::string::npos, std::string(german.Find(124)).find("berücksichtigt  werden."));
    EXPECT_STREQ("%d.%m.%Y %H:%M:%S", german.Find(81));
    EXPECT_STREQ("Archiv", german.Find(57344));
    EXPECT_EQ(nullptr, german.Find(101));
    EXPECT_EQ(nullptr, german.Find(131));
    EXPECT_EQ(nullptr, german.Find(0));
    EXPECT_EQ(nullptr, german.Find(153));
}

// ---- loading by id ---------------------------------------------------------------------

TEST_F(GermanTexts, LoadStringOfAMissingIdIsEmpty) {
    EXPECT_EQ("", CTarnovelleTextManager::LoadString(132));
    EXPECT_EQ("Archivstatistik", CTarnovelleTextManager::LoadString(77));
}

// ---- enum texts --------------------------------------------------------------------------

TEST_F(GermanTexts, EveryCharacteristicTypeHasItsText) {
    const std::vector<std::pair<int32_t, std::string>> expected = {
        {0, "Undefiniert"}, {1, "Spannung"}, {2, "Strom"}, {3, "Frequenz"}, {4, "Klirrfaktor Spannung"},
        {5, "Wirkleistung"}, {6, "Blindleistung"}, {7, "Scheinleistung"}, {8, "Leistungsfaktor"},
        {9, "Kurzzeitflicker (Pst)"}, {10, "Langzeitflicker (Plt)"}, {11, "Unsymmetrie Strom"},
        {12, "Unsymmetrie Spannung"}, {13, "Wirkarbeit"}, {14, "Wirkarbeit Bezug"}, {15, "Wirkarbeit Abgabe"},
        {16, "Blindarbeit"}, {17, "Blindarbeit induktiv"}, {18, "Blindarbeit kapazitiv"}, {19, "Scheinarbeit"},
        {20, "Kurzzeitflicker (Ast)"}, {21, "Langzeitflicker (Alt)"}, {22, "Klirrfaktor Strom"},
        {23, "Wirkleistung (erw.)"}, {24, "Blindleistung (erw.)"}, {25, "Scheinleistung (erw.)"},
        {26, "Leistungsfaktor (erw.)"}, {27, "Wirkarbeit (erw.)"}, {28, "Wirkarbeit Bezug (erw.)"},
        {29, "Wirkarbeit Abgabe (erw.)"}, {30, "Blindarbeit (erw.)"}, {31, "Blindarbeit induktiv (erw.)"},
        {32, "Blindarbeit kapazitiv (erw.)"}, {33, "Scheinarbeit (erw.)"},
        {511, "Oberschwingungsspannung"}, {767, "Oberschwingungsstrom"}, {32768, "Meldung"},
        {32769, "Setzen der Gerätezeit"}, {32770, "Auslesen der Gerätedaten"},
    };
    for (const auto& [value, text] : expected)
        EXPECT_EQ(text, CTarnovelleTextManager::GetText(static_cast<ECharacteristicType>(value))) << value;
}

TEST_F(GermanTexts, HarmonicOrdersRenderFromTheLowEightBits) {
    EXPECT_EQ("Oberschwingungspannung00", CTarnovelleTextManager::GetText(CT_HARMONIC_VOLTAGE_BASE));
    EXPECT_EQ("Oberschwingungspannung05",
              CTarnovelleTextManager::GetText(static_cast<ECharacteristicType>(CT_HARMONIC_VOLTAGE_BASE + 5)));
    EXPECT_EQ("Oberschwingungspannung254", CTarnovelleTextManager::GetText(static_cast<ECharacteristicType>(510)));
    EXPECT_EQ("Oberschwingungsstrom00", CTarnovelleTextManager::GetText(CT_HARMONIC_CURRENT_BASE));
    EXPECT_EQ("Oberschwingungsstrom05",
              CTarnovelleTextManager::GetText(static_cast<ECharacteristicType>(CT_HARMONIC_CURRENT_BASE + 5)));
    EXPECT_EQ("Oberschwingungsstrom254", CTarnovelleTextManager::GetText(static_cast<ECharacteristicType>(766)));
}

TEST_F(GermanTexts, UnknownCharacteristicTypesFallBackToTheTitle) {
    EXPECT_EQ("Messwerttyp [ 00000022 ]", CTarnovelleTextManager::GetText(static_cast<ECharacteristicType>(34)));
    EXPECT_EQ("Messwerttyp [ 000000FF ]", CTarnovelleTextManager::GetText(static_cast<ECharacteristicType>(255)));
    EXPECT_EQ("Messwerttyp [ 00000300 ]", CTarnovelleTextManager::GetText(static_cast<ECharacteristicType>(768)));
    EXPECT_EQ("Messwerttyp [ 00008003 ]", CTarnovelleTextManager::GetText(static_cast<ECharacteristicType>(0x8003)));
    EXPECT_EQ("Messwerttyp [ FFFFFFFF ]", CTarnovelleTextManager::GetText(static_cast<ECharacteristicType>(-1)));
}

TEST_F(GermanTexts, EveryPhaseHasItsText) {
    const std::vector<std::pair<int32_t, std::string>> expected = {
        {0, "Keine"}, {1, "L1-N"}, {2, "L2-N"}, {3, "L3-N"}, {4, "Summe"}, {5, "L1-L2"}, {6, "L2-L3"},
        {7, "L3-L1"}, {8, "N"}, {9, "L1"}, {10, "L2"}, {11, "L3"}, {12, "L-N"}, {13, "L"}, {255, "Undefiniert"},
    };
    for (const auto& [value, text] : expected)
        EXPECT_EQ(text, CTarnovelleTextManager::GetText(static_cast<EPhase>(value))) << value;
    EXPECT_EQ("Phase [ 00000063 ]", CTarnovelleTextManager::GetText(static_cast<EPhase>(99)));
    EXPECT_EQ("Phase [ 00000100 ]", CTarnovelleTextManager::GetText(static_cast<EPhase>(256)));
    EXPECT_EQ("Phase [ 0000000E ]", CTarnovelleTextManager::GetText(static_cast<EPhase>(14)));
}

TEST_F(GermanTexts, EveryMeasurementValueTypeHasItsText) {
    const std::vector<std::string> expected = {"Undefiniert", "Binär",     "Analog",
                                               "Mittel",      "Minimum",   "Maximum",
                                               "Mittelwertereignis", "Intervall", "Extremewertereignis"};
    for (int32_t value = 0; value < 9; ++value)
        EXPECT_EQ(expected[value], CTarnovelleTextManager::GetText(static_cast<EMeasurementValueType>(value)));
    EXPECT_EQ("Erfassungsart [ 00000009 ]", CTarnovelleTextManager::GetText(static_cast<EMeasurementValueType>(9)));
}

TEST_F(GermanTexts, EveryFormatIdHasItsTextWithTwoAndThreeSwapped) {
    EXPECT_EQ("Digit", CTarnovelleTextManager::GetText(FORMAT_DIGIT));
    EXPECT_EQ("Event", CTarnovelleTextManager::GetText(FORMAT_EVENT));
    EXPECT_EQ("Binary Byte", CTarnovelleTextManager::GetText(FORMAT_BINARY_BYTE));
    EXPECT_EQ("Float", CTarnovelleTextManager::GetText(FORMAT_FLOAT));
    EXPECT_EQ("Binary Word", CTarnovelleTextManager::GetText(FORMAT_BINARY_WORD));
    EXPECT_EQ("Binary DWord", CTarnovelleTextManager::GetText(FORMAT_BINARY_DWORD));
    EXPECT_EQ("Message", CTarnovelleTextManager::GetText(FORMAT_MESSAGE));
    EXPECT_EQ("FormatID [ 00000007 ]", CTarnovelleTextManager::GetText(static_cast<EFormatId>(7)));
}

TEST_F(GermanTexts, NetworkTypeTwoFallsBackThoughItsNeighboursHaveTexts) {
    EXPECT_EQ("unbekannte Netzart", CTarnovelleTextManager::GetText(NET_UNKNOWN));
    EXPECT_EQ("Einphasennetz", CTarnovelleTextManager::GetText(NET_SINGLE_PHASE));
    EXPECT_EQ("Netzart [ 00000002 ]", CTarnovelleTextManager::GetText(static_cast<ENetworkType>(2)));
    EXPECT_EQ("Dreileiternetz", CTarnovelleTextManager::GetText(NET_THREE_WIRE));
    EXPECT_EQ("Vierleiternetz", CTarnovelleTextManager::GetText(NET_FOUR_WIRE));
    EXPECT_EQ("Netzart [ 00000005 ]", CTarnovelleTextManager::GetText(static_cast<ENetworkType>(5)));
}

TEST_F(GermanTexts, MessagesAndArchiveModes) {
    EXPECT_EQ("keine Meldung", CTarnovelleTextManager::GetText(TNMSG_NONE));
    EXPECT_EQ("Archivierung gestoppt", CTarnovelleTextManager::GetText(TNMSG_ARCHIVING_STOPPED));
    EXPECT_EQ("Meldung [ 00000002 ]", CTarnovelleTextManager::GetText(static_cast<ETarnovelleMessages>(2)));
    EXPECT_EQ("Archiv füllen bis zu einem Restspeicherplatz [MB]:",
              CTarnovelleTextManager::GetText(TNARCHIVE_MODE_REMAINING));
    EXPECT_EQ("Archiv füllen bis zu einer Größe [MB]:", CTarnovelleTextManager::GetText(TNARCHIVE_MODE_MAXIMAL));
    EXPECT_EQ("Archivmodus [ 00000002 ]", CTarnovelleTextManager::GetText(static_cast<TNARCHIVE_MODE>(2)));
}

TEST_F(GermanTexts, ChannelIdentifierJoinsItsThreeTexts) {
    EXPECT_EQ("[ Spannung / L1-N / Mittel ]", CTarnovelleTextManager::GetText(SChannelID(CT_VOLTAGE, PH_L1N, MVT_MEAN)));
    EXPECT_EQ("[ Undefiniert / Undefiniert / Undefiniert ]", CTarnovelleTextManager::GetText(SChannelID()));
    EXPECT_EQ("[ Meldung / Keine / Binär ]", CTarnovelleTextManager::GetText(SChannelID(0x01008000u)));
    EXPECT_EQ("[ Oberschwingungspannung05 / L2-N / Maximum ]",
              CTarnovelleTextManager::GetText(SChannelID(0x05020105u)));
    EXPECT_EQ("[ Messwerttyp [ 00000022 ] / Phase [ 00000063 ] / Erfassungsart [ 00000009 ] ]",
              CTarnovelleTextManager::GetText(SChannelID(0x09630022u)));
}

TEST(EnglishTexts, EnumTextsFollowTheLanguage) {
    SetTarnovelleLanguage("en-GB");
    EXPECT_EQ("Voltage", CTarnovelleTextManager::GetText(CT_VOLTAGE));
    EXPECT_EQ("Harmonic voltage 05", CTarnovelleTextManager::GetText(static_cast<ECharacteristicType>(261)));
    EXPECT_EQ("Phase [ 00000063 ]", CTarnovelleTextManager::GetText(static_cast<EPhase>(99)));
    EXPECT_EQ("Network type [ 00000002 ]", CTarnovelleTextManager::GetText(static_cast<ENetworkType>(2)));
    EXPECT_EQ("[ Voltage / L1-N / Mean ]", CTarnovelleTextManager::GetText(SChannelID(CT_VOLTAGE, PH_L1N, MVT_MEAN)));
    SetTarnovelleLanguage("de");
    EXPECT_EQ("Spannung", CTarnovelleTextManager::GetText(CT_VOLTAGE));
}
