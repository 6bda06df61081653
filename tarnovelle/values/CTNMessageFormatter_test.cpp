#include "tarnovelle/values/CTNMessageFormatter.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <regex>

#include "tarnovelle/values/STNStringTable.h"

namespace {

std::string German(uint16_t id) {
    const char* text = STNStringTable::German().Find(id);
    return text ? text : "<missing>";
}

bool IsPositional(const char* text) { return std::regex_search(text, std::regex("%[1-9]")); }

}  // namespace

TEST(CTNMessageFormatter, PlainAndFormattedPlaceholders) {
    EXPECT_EQ("a b", CTNMessageFormatter::Format("%1 %2", {"a", "b"}));
    EXPECT_EQ("b a b", CTNMessageFormatter::Format("%2 %1 %2", {"a", "b"}));
    EXPECT_EQ("7,042", CTNMessageFormatter::Format("%1!d!,%2!03d!", {7, 42}));
    EXPECT_EQ("x=text", CTNMessageFormatter::Format("x=%1!s!", {std::string("text")}));
    EXPECT_EQ("4294967295 -1", CTNMessageFormatter::Format("%1!u! %1!d!", {-1}));
    EXPECT_EQ("ff FF 0x1f", CTNMessageFormatter::Format("%1!x! %1!X! %2!#x!", {255u, 31u}));
    EXPECT_EQ("5000000000", CTNMessageFormatter::Format("%1!d!", {int64_t{5000000000}}));
    EXPECT_EQ("18446744073709551615", CTNMessageFormatter::Format("%1!u!", {UINT64_MAX}));
    EXPECT_EQ("[  ab]", CTNMessageFormatter::Format("[%1!4s!]", {"ab"}));
    EXPECT_EQ("Z", CTNMessageFormatter::Format("%1!c!", {90}));
    EXPECT_EQ("12", CTNMessageFormatter::Format("%1!ld!", {12}));
}

TEST(CTNMessageFormatter, ArgumentTenAndAboveNeedTwoDigits) {
    EXPECT_EQ("j", CTNMessageFormatter::Format("%10", {"a", "b", "c", "d", "e", "f", "g", "h", "i", "j"}));
    EXPECT_EQ("%10", CTNMessageFormatter::Format("%10", {"a", "b", "c", "d", "e", "f", "g", "h", "i"}));
    EXPECT_EQ("k5", CTNMessageFormatter::Format("%115", {"a", "b", "c", "d", "e", "f", "g", "h", "i", "j", "k"}));
}

TEST(CTNMessageFormatter, MismatchedArgumentKindsRenderWithoutHarm) {
    EXPECT_EQ("12", CTNMessageFormatter::Format("%1", {12}));
    EXPECT_EQ("-3", CTNMessageFormatter::Format("%1!s!", {-3}));
    EXPECT_EQ("  abc", CTNMessageFormatter::Format("%1!5d!", {"abc"}));
    EXPECT_EQ("?", CTNMessageFormatter::Format("%1?", {static_cast<const char*>(nullptr)}));
}

TEST(CTNMessageFormatter, Escapes) {
    EXPECT_EQ("100% sure!", CTNMessageFormatter::Format("100%% sure%!", {}));
    EXPECT_EQ("a\nb\tc d.", CTNMessageFormatter::Format("a%nb%tc%bd%.", {}));
    EXPECT_EQ("cut", CTNMessageFormatter::Format("cut%0 here", {}));
    EXPECT_EQ("trailing %", CTNMessageFormatter::Format("trailing %", {}));
    EXPECT_EQ("%q stays", CTNMessageFormatter::Format("%q stays", {}));
}

TEST(CTNMessageFormatter, TextThatDoesNotFitItsArgumentsShowsItself) {
    EXPECT_EQ("a %2 %3!d!", CTNMessageFormatter::Format("%1 %2 %3!d!", {"a"}));
    EXPECT_EQ("%1!n! %1!*d! %1!99999d!", CTNMessageFormatter::Format("%1!n! %1!*d! %1!99999d!", {5}));
    EXPECT_EQ("%1!d", CTNMessageFormatter::Format("%1!d", {5}));
    EXPECT_EQ("", CTNMessageFormatter::Format("", {1}));
}

TEST(CTNMessageFormatter, EveryGermanPositionalText) {
    using F = CTNMessageFormatter;
    EXPECT_EQ("Aktuell verfügbarer Speicherplatz: 3000000000 MB", F::Format(German(62), {3000000000u}));
    EXPECT_EQ("Ist Teilarchiv Nr.2 voll ?", F::Format(German(63), {2}));
    EXPECT_EQ("Teilarchiv Nr.2 ist voll.", F::Format(German(64), {2}));
    EXPECT_EQ("Umschalten auf Teilarchiv Nr.3.", F::Format(German(65), {3}));
    EXPECT_EQ("Teilarchiv Nr.4 ist noch nicht voll.", F::Format(German(69), {4}));
    EXPECT_EQ("Die Daten im Teilarchiv Nr.5 konnten nicht gelöscht werden.", F::Format(German(70), {5}));
    EXPECT_EQ("Daten im Teilarchiv Nr.6 wurden gelöscht.", F::Format(German(71), {6}));
    EXPECT_EQ("Im Teilarchiv Nr.7 ist kein Speicher mehr verfügbar.", F::Format(German(72), {7}));
    EXPECT_EQ("Kein Zugriff auf das Teilarchiv Nr.1 \nVerzeichnisname: '/mnt/a'.\nPrüfen Sie bitte die "
              "Netzwerkverbindungen und ob sie über Schreib- und Leserechte verfügen.",
              F::Format(German(76), {1, "/mnt/a"}));
    EXPECT_EQ("Wollen Sie wirklich alle Daten im Teilarchiv Nr.8 löschen ?", F::Format(German(83), {8}));
    EXPECT_EQ("Das ausgewählte Verzeichnis wird schon vom Teilarchiv Nr.9 verwendet.", F::Format(German(89), {9}));
    EXPECT_EQ("Der Festplattenspeicher für Teilarchiv Nr.10 ist zu klein.", F::Format(German(95), {10}));
    EXPECT_EQ("Es liegen keine Daten vor '01.01.2000' vor.", F::Format(German(103), {"01.01.2000"}));
    EXPECT_EQ("Es liegen keine Daten nach '02.01.2000' vor.", F::Format(German(104), {"02.01.2000"}));
    EXPECT_EQ("Neues Teilarchiv Nr.3 erzeugt. URI='/data/p3'.", F::Format(German(109), {3, "/data/p3"}));
    EXPECT_EQ("Das Verzeichnis '/x' ist nicht leer.\nUm fortzufahren muss der gesamte Inhalt gelöscht werden.\n"
              "Soll der Inhalt gelöscht werden?",
              F::Format(German(118), {"/x"}));
    EXPECT_EQ("Der Inhalt des Verzeichnisses '/x' konnte nicht vollständig entfernt werden.",
              F::Format(German(119), {"/x"}));
    EXPECT_EQ("Zugriff auf das Verzeichnis '/x' wurde verweigert.", F::Format(German(120), {"/x"}));
    EXPECT_EQ("Der Inhalt des Verzeichnisses konnte nicht verschoben werden. Prüfen sie im Explorer die "
              "Verzeichnisse '/a' und '/b'.",
              F::Format(German(122), {"/a", "/b"}));
    EXPECT_EQ("Das Verzeichnis '/a' bietet nicht genügend Speicherplatz.\nVerfügbarer Speicher 12 MB\n"
              "Benötigter Speicher 300 MB.",
              F::Format(German(123), {"/a", 12, 300}));
    EXPECT_EQ("Die Daten für den Messkanal [ Spannung / L1-N / Mittel ] wurden mit einer Mittelungszeit von "
              "10,005 sec aufgezeichnet.\nZur Auswertung wird eine Mittelungszeit von 600,000 sec "
              "vorrausgesetzt.\nDie Daten können nicht berücksichtigt  werden.",
              F::Format(German(124), {"[ Spannung / L1-N / Mittel ]", 10, 5, 600, 0}));
    EXPECT_EQ("Teilarchiv Nr.2 verschoben. Von URI='/a' nach URI='/b'.", F::Format(German(126), {2, "/a", "/b"}));
    EXPECT_EQ("Zwei Teilarchive auf einem Laufwerk dürfen nicht die Option 'Archiv füllen bis zu einem "
              "Restspeicherplatz' haben.\nDies wäre bzgl. dem Teilarchiv Nr.4 (/mnt/d) der Fall.",
              F::Format(German(130), {4, "/mnt/d"}));
    EXPECT_EQ("Das gewählte Laufwerk hat nicht genügend freien Speicherplatz für ein Teilarchiv.\nDerzeit "
              "verfügbar sind 50 MB, benötigt werden mindestens 100 MB.",
              F::Format(German(136), {50, 100}));
}

TEST(CTNMessageFormatter, EveryPositionalTextRendersCompletelyInBothLanguages) {
    int positional = 0;
    for (const STNStringTable* table : {&STNStringTable::German(), &STNStringTable::English()}) {
        for (size_t i = 0; i < table->count; ++i) {
            const char* text = table->entries[i].text;
            if (!IsPositional(text)) continue;
            ++positional;
            const std::string rendered = CTNMessageFormatter::Format(text, {1, 2, 3, 4, 5});
            EXPECT_FALSE(std::regex_search(rendered, std::regex("%[0-9]")))
                << table->language << " " << table->entries[i].id << ": " << rendered;
            EXPECT_EQ(std::string::npos, rendered.find('!')) << table->language << " " << table->entries[i].id;
        }
    }
    EXPECT_EQ(2 * 24, positional) << "24 positional texts in each language";
}
