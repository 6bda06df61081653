#include "tarnovelle/measuring/CTarnovelleParameterSet.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

// Exposes the protected parts for the tests.
class TestSet : public CTarnovelleParameterSet {
public:
    TestSet() = default;
    using CTarnovelleParameterSet::CTarnovelleParameterSet;
    using CTarnovelleParameterSet::Clear;
    using CTarnovelleParameterSet::CreateParameterMap;
    using CTarnovelleParameterSet::FindParameterMap;
    using CTarnovelleParameterSet::GetParameterInternal;
    using CTarnovelleParameterSet::Init;
    using CTarnovelleParameterSet::SetParameterInternal;
    bool Owns() const { return OwnsChannelMap; }
    ::ChannelMap* Map() const { return ChannelMap; }
    CTNParameterHistory* History() const { return MeasuringPoint; }

    static std::string Wrapped(CTarnovelleParameterSet& set, const SChannelID& channel, const std::string& name) {
        std::string wrapped;
        return static_cast<TestSet&>(set).GetParameterInternal(channel, name, wrapped) == TNE_OK ? wrapped
                                                                                                 : "<missing>";
    }
    // The raw stored text, without any fall-back.
    static std::string Stored(const CTarnovelleParameterSet& set, uint32_t channel, const std::string& name) {
        const ::ChannelMap* map = set.GetChannelMap();
        const ChannelMap::StringMap* values = map ? map->Lookup(channel) : nullptr;
        if (!values) return "<none>";
        const auto it = values->find(name);
        return it == values->end() ? "<none>" : it->second;
    }
};

// A stand-in history: entries of (time, map), answered the way a measuring
// point answers, the newest entry at or before the asked second, as a view
// with the entry's own time.
class StandInHistory : public CTNParameterHistory {
public:
    ::ChannelMap* Add(uint32_t seconds) {
        entries.emplace_back(seconds, std::make_unique<::ChannelMap>());
        return entries.back().second.get();
    }
    CTarnovelleParameterSet GetParameterSet(const CTNUTCTimeStamp& time) override {
        asked.push_back(time.GetSecondsSince1970());
        for (auto it = entries.rbegin(); it != entries.rend(); ++it)
            if (it->first <= time.GetSecondsSince1970())
                return CTarnovelleParameterSet(it->second.get(), this, CTNUTCTimeStamp::CreateUTCTimeStamp1970() +
                                                                           CTNMSecTimeSpan(it->first, 0));
        return CTarnovelleParameterSet::GetInvalidHandle();
    }
    CTarnovelleParameterSet ViewAt(size_t index) {
        return CTarnovelleParameterSet(entries[index].second.get(), this, At(entries[index].first));
    }
    static CTNUTCTimeStamp At(uint32_t seconds) {
        return CTNUTCTimeStamp::CreateUTCTimeStamp1970() + CTNMSecTimeSpan(seconds, 0);
    }

    std::vector<std::pair<uint32_t, std::unique_ptr<::ChannelMap>>> entries;
    std::vector<uint32_t> asked;
};

void Put(::ChannelMap* map, uint32_t channel, const std::string& name, const std::string& wrapped) {
    ChannelMap::StringMap* values = map->Lookup(channel);
    if (!values) {
        values = new ChannelMap::StringMap;
        map->SetAt(channel, values);
    }
    (*values)[name] = wrapped;
}

const SChannelID kChannel(0x01020304u);

}  // namespace

// --- ChannelMap ----------------------------------------------------------------

TEST(ChannelMap, OwnsItsStringMapsAndTreatsANullEntryAsMissing) {
    ::ChannelMap map;
    map.SetAt(5, nullptr);
    EXPECT_EQ(map.GetCount(), 1u);
    EXPECT_EQ(map.Lookup(5), nullptr);
    EXPECT_EQ(map.Lookup(6), nullptr);
    auto* values = new ChannelMap::StringMap{{"a", "b"}};
    map.SetAt(5, values);
    EXPECT_EQ(map.Lookup(5), values);
    map.SetAt(5, new ChannelMap::StringMap);  // the earlier map is deleted (checked by the sanitizer build)
    EXPECT_TRUE(map.Lookup(5)->empty());
    EXPECT_TRUE(map.RemoveKey(5));
    EXPECT_FALSE(map.RemoveKey(5));
    EXPECT_TRUE(map.IsEmpty());
}

// --- construction and handles --------------------------------------------------

TEST(CTarnovelleParameterSet, ANewSetIsEmptyValidOwningAndHasNoTime) {
    CTarnovelleParameterSet set = CTarnovelleParameterSet::CreateParameterSet();
    EXPECT_TRUE(set.IsValid());
    EXPECT_TRUE(set.GetTimeOfValidity().IsInvalidTS());
    ASSERT_NE(set.GetChannelMap(), nullptr);
    EXPECT_TRUE(set.GetChannelMap()->IsEmpty());
    TestSet probe;
    EXPECT_TRUE(probe.Owns());
    EXPECT_EQ(probe.History(), nullptr);
}

TEST(CTarnovelleParameterSet, TheInvalidHandleHasNothing) {
    CTarnovelleParameterSet set = CTarnovelleParameterSet::GetInvalidHandle();
    EXPECT_FALSE(set.IsValid());
    EXPECT_EQ(set.GetChannelMap(), nullptr);
    EXPECT_TRUE(set.GetTimeOfValidity().IsInvalidTS());
    uint32_t value = 77;
    EXPECT_EQ(set.GetParameter("x", value), TNE_NO_OBJECT);
    EXPECT_EQ(value, 77u);
}

TEST(CTarnovelleParameterSet, SettingOnAnInvalidSetFailsWithoutHarm) {
    CTarnovelleParameterSet set = CTarnovelleParameterSet::GetInvalidHandle();
    EXPECT_EQ(set.SetParameter("x", 1u), TNE_FAILED);
    EXPECT_EQ(set.SetParameter(kChannel, "x", std::string("t")), TNE_FAILED);
    EXPECT_FALSE(set.IsValid());
}

TEST(CTarnovelleParameterSet, AViewWithANullMapIsAnInvalidHandle) {
    CTarnovelleParameterSet set(nullptr, nullptr, StandInHistory::At(5));
    EXPECT_FALSE(set.IsValid());
}

// --- values ---------------------------------------------------------------------

TEST(CTarnovelleParameterSet, TheLargestDwordIsStoredAsMinusOneAndReadBack) {
    CTarnovelleParameterSet set = CTarnovelleParameterSet::CreateParameterSet();
    EXPECT_EQ(set.SetParameter("max", 4294967295u), TNE_OK);
    EXPECT_EQ(TestSet::Stored(set, 0, "max"), "<DWORD>-1</DWORD>");
    uint32_t value = 0;
    EXPECT_EQ(set.GetParameter("max", value), TNE_OK);
    EXPECT_EQ(value, 4294967295u);
}

TEST(CTarnovelleParameterSet, ADoubleKeepsSixDecimals) {
    CTarnovelleParameterSet set = CTarnovelleParameterSet::CreateParameterSet();
    EXPECT_EQ(set.SetParameter("d", 0.1234567), TNE_OK);
    EXPECT_EQ(TestSet::Stored(set, 0, "d"), "<DOUBLE>0.123457</DOUBLE>");
    double value = 0;
    EXPECT_EQ(set.GetParameter("d", value), TNE_OK);
    EXPECT_EQ(value, 0.123457);
}

TEST(CTarnovelleParameterSet, AllFiveTypesRoundTripUnderTheirTags) {
    CTarnovelleParameterSet set = CTarnovelleParameterSet::CreateParameterSet();
    const CTNUTCTimeStamp stamp = CTNUTCTimeStamp::CreateUTCTimeStamp(2021, 3, 4, 5, 6, 7, 89);
    const CTNMSecTimeSpan span = CTNMSecTimeSpan::Create(2, 3, 4, 5, 6);
    ASSERT_EQ(set.SetParameter(kChannel, "dword", 12345u), TNE_OK);
    ASSERT_EQ(set.SetParameter(kChannel, "double", -2.5), TNE_OK);
    ASSERT_EQ(set.SetParameter(kChannel, "string", std::string("hello world")), TNE_OK);
    ASSERT_EQ(set.SetParameter(kChannel, "stamp", stamp), TNE_OK);
    ASSERT_EQ(set.SetParameter(kChannel, "span", span), TNE_OK);

    const uint32_t channel = kChannel.GetDWORD();
    EXPECT_EQ(TestSet::Stored(set, channel, "dword"), "<DWORD>12345</DWORD>");
    EXPECT_EQ(TestSet::Stored(set, channel, "double"), "<DOUBLE>-2.500000</DOUBLE>");
    EXPECT_EQ(TestSet::Stored(set, channel, "string"), "<STRING>hello world</STRING>");
    EXPECT_EQ(TestSet::Stored(set, channel, "stamp"), "<TIMESTAMP>" + stamp.Format() + "</TIMESTAMP>");
    EXPECT_EQ(TestSet::Stored(set, channel, "span"), "<TIMESPAN>" + span.Format() + "</TIMESPAN>");

    uint32_t dword = 0;
    double real = 0;
    std::string text;
    CTNUTCTimeStamp readStamp = CTNUTCTimeStamp::InvalidTS();
    CTNMSecTimeSpan readSpan;
    EXPECT_EQ(set.GetParameter(kChannel, "dword", dword), TNE_OK);
    EXPECT_EQ(set.GetParameter(kChannel, "double", real), TNE_OK);
    EXPECT_EQ(set.GetParameter(kChannel, "string", text), TNE_OK);
    EXPECT_EQ(set.GetParameter(kChannel, "stamp", readStamp), TNE_OK);
    EXPECT_EQ(set.GetParameter(kChannel, "span", readSpan), TNE_OK);
    EXPECT_EQ(dword, 12345u);
    EXPECT_EQ(real, -2.5);
    EXPECT_EQ(text, "hello world");
    EXPECT_EQ(readStamp, stamp);
    EXPECT_EQ(readSpan, span);
}

TEST(CTarnovelleParameterSet, AValueReadThroughAnotherTypeIsMissingAndTheArgumentStays) {
    CTarnovelleParameterSet set = CTarnovelleParameterSet::CreateParameterSet();
    set.SetParameter("dword", 7u);
    set.SetParameter("double", 1.5);
    set.SetParameter("string", std::string("12"));
    set.SetParameter("stamp", CTNUTCTimeStamp::CreateUTCTimeStamp2000());
    set.SetParameter("span", CTNMSecTimeSpan(3, 4));

    uint32_t dword = 99;
    double real = 9.5;
    std::string text = "keep";
    CTNUTCTimeStamp stamp = CTNUTCTimeStamp::CreateUTCTimeStamp1999();
    CTNMSecTimeSpan span(8, 9);
    for (const char* name : {"double", "string", "stamp", "span"}) EXPECT_EQ(set.GetParameter(name, dword), TNE_NO_OBJECT) << name;
    for (const char* name : {"dword", "string", "stamp", "span"}) EXPECT_EQ(set.GetParameter(name, real), TNE_NO_OBJECT) << name;
    for (const char* name : {"dword", "double", "stamp", "span"}) EXPECT_EQ(set.GetParameter(name, text), TNE_NO_OBJECT) << name;
    for (const char* name : {"dword", "double", "string", "span"}) EXPECT_EQ(set.GetParameter(name, stamp), TNE_NO_OBJECT) << name;
    for (const char* name : {"dword", "double", "string", "stamp"}) EXPECT_EQ(set.GetParameter(name, span), TNE_NO_OBJECT) << name;
    EXPECT_EQ(dword, 99u);
    EXPECT_EQ(real, 9.5);
    EXPECT_EQ(text, "keep");
    EXPECT_EQ(stamp, CTNUTCTimeStamp::CreateUTCTimeStamp1999());
    EXPECT_EQ(span, CTNMSecTimeSpan(8, 9));
}

TEST(CTarnovelleParameterSet, EmptyTextsAreReportedMissing) {
    TestSet set;
    EXPECT_EQ(set.SetParameter("s", std::string()), TNE_OK);
    EXPECT_EQ(TestSet::Stored(set, 0, "s"), "<STRING></STRING>");
    set.SetParameter("stamp", CTNUTCTimeStamp::InvalidTS());  // formats as the empty text
    EXPECT_EQ(TestSet::Stored(set, 0, "stamp"), "<TIMESTAMP></TIMESTAMP>");
    set.SetParameter("span", CTNMSecTimeSpan::InvalidTS());
    EXPECT_EQ(TestSet::Stored(set, 0, "span"), "<TIMESPAN></TIMESPAN>");
    set.SetParameterInternal(SChannelID(0u), "raw", "");

    std::string text = "keep";
    CTNUTCTimeStamp stamp = CTNUTCTimeStamp::CreateUTCTimeStamp2000();
    CTNMSecTimeSpan span(1, 2);
    EXPECT_EQ(set.GetParameter("s", text), TNE_NO_OBJECT);
    EXPECT_EQ(set.GetParameter("stamp", stamp), TNE_NO_OBJECT);
    EXPECT_EQ(set.GetParameter("span", span), TNE_NO_OBJECT);
    EXPECT_EQ(set.GetParameter("raw", text), TNE_NO_OBJECT);
    EXPECT_EQ(text, "keep");
}

TEST(CTarnovelleParameterSet, TextsAreNotEscapedAndACloseTagInsideCutsTheText) {
    CTarnovelleParameterSet set = CTarnovelleParameterSet::CreateParameterSet();
    set.SetParameter("s", std::string("a</STRING>b"));
    std::string text;
    EXPECT_EQ(set.GetParameter("s", text), TNE_OK);
    EXPECT_EQ(text, "a");
}

TEST(CTarnovelleParameterSet, ADwordWithoutItsClosingTagStillReads) {
    TestSet set;
    set.SetParameterInternal(SChannelID(0u), "d", "<DWORD>12");
    set.SetParameterInternal(SChannelID(0u), "x", "<DWORD>abc</DWORD>");
    set.SetParameterInternal(SChannelID(0u), "s", "<STRING>open");
    set.SetParameterInternal(SChannelID(0u), "late", " <STRING>x</STRING>");
    uint32_t value = 0;
    EXPECT_EQ(set.GetParameter("d", value), TNE_OK);
    EXPECT_EQ(value, 12u);
    EXPECT_EQ(set.GetParameter("x", value), TNE_NO_OBJECT);
    std::string text;
    EXPECT_EQ(set.GetParameter("s", text), TNE_NO_OBJECT);
    EXPECT_EQ(set.GetParameter("late", text), TNE_NO_OBJECT);  // the tag must stand at the start
}

TEST(CTarnovelleParameterSet, NamesAreCaseSensitiveAndALaterValueReplacesTheEarlier) {
    CTarnovelleParameterSet set = CTarnovelleParameterSet::CreateParameterSet();
    set.SetParameter("Name", 1u);
    set.SetParameter("Name", 2u);
    uint32_t value = 0;
    EXPECT_EQ(set.GetParameter("name", value), TNE_NO_OBJECT);
    EXPECT_EQ(set.GetParameter("Name", value), TNE_OK);
    EXPECT_EQ(value, 2u);
}

TEST(CTarnovelleParameterSet, TheFormsWithoutAChannelUseChannelZero) {
    CTarnovelleParameterSet set = CTarnovelleParameterSet::CreateParameterSet();
    set.SetParameter("own", 5u);
    uint32_t value = 0;
    EXPECT_EQ(set.GetParameter(SChannelID(0u), "own", value), TNE_OK);
    EXPECT_EQ(value, 5u);
    EXPECT_EQ(set.GetParameter(kChannel, "own", value), TNE_NO_OBJECT);
    set.SetParameter(SChannelID(0u), "other", 6u);
    EXPECT_EQ(set.GetParameter("other", value), TNE_OK);
    EXPECT_EQ(value, 6u);
    // The default identifier is not channel 0.
    EXPECT_EQ(set.GetParameter(SChannelID(), "own", value), TNE_NO_OBJECT);
}

TEST(CTarnovelleParameterSet, AChannelEntryHoldingNullIsReplacedOnSet) {
    TestSet set;
    set.Map()->SetAt(kChannel.GetDWORD(), nullptr);
    uint32_t value = 0;
    EXPECT_EQ(set.GetParameter(kChannel, "a", value), TNE_NO_OBJECT);
    EXPECT_EQ(set.SetParameter(kChannel, "a", 3u), TNE_OK);
    EXPECT_EQ(set.GetParameter(kChannel, "a", value), TNE_OK);
    EXPECT_EQ(value, 3u);
}

TEST(CTarnovelleParameterSet, FindAndCreateParameterMapOnANullMap) {
    EXPECT_EQ(TestSet::FindParameterMap(nullptr, kChannel), nullptr);
    EXPECT_EQ(TestSet::CreateParameterMap(nullptr, kChannel), nullptr);
    ::ChannelMap map;
    EXPECT_EQ(TestSet::FindParameterMap(&map, kChannel), nullptr);
    ChannelMap::StringMap* made = TestSet::CreateParameterMap(&map, kChannel);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(TestSet::CreateParameterMap(&map, kChannel), made);
    EXPECT_EQ(TestSet::FindParameterMap(&map, kChannel), made);
}

// --- the fall-back along the history ---------------------------------------------

TEST(CTarnovelleParameterSet, AMissingValueIsTakenFromTheSetValidOneSecondBefore) {
    StandInHistory history;
    Put(history.Add(100), 0, "old", "<DWORD>1</DWORD>");
    Put(history.Add(200), 0, "mid", "<DWORD>2</DWORD>");
    Put(history.Add(300), 0, "new", "<DWORD>3</DWORD>");
    CTarnovelleParameterSet latest = history.ViewAt(2);
    uint32_t value = 0;
    EXPECT_EQ(latest.GetParameter("old", value), TNE_OK);
    EXPECT_EQ(value, 1u);
    EXPECT_EQ(history.asked, (std::vector<uint32_t>{299, 199}));
    EXPECT_EQ(latest.GetParameter("mid", value), TNE_OK);
    EXPECT_EQ(value, 2u);
    history.asked.clear();
    EXPECT_EQ(latest.GetParameter("never", value), TNE_NO_OBJECT);
    EXPECT_EQ(history.asked, (std::vector<uint32_t>{299, 199, 99}));
    EXPECT_EQ(value, 2u);
}

TEST(CTarnovelleParameterSet, AnEmptyStoredValueFallsBackToTheEarlierSet) {
    StandInHistory history;
    Put(history.Add(100), 0, "s", "<STRING>before</STRING>");
    Put(history.Add(200), 0, "s", "");
    CTarnovelleParameterSet latest = history.ViewAt(1);
    std::string text;
    EXPECT_EQ(latest.GetParameter("s", text), TNE_OK);
    EXPECT_EQ(text, "before");
}

TEST(CTarnovelleParameterSet, ASetWithoutAValidTimeDoesNotFallBack) {
    StandInHistory history;
    Put(history.Add(100), 0, "old", "<DWORD>1</DWORD>");
    CTarnovelleParameterSet set(history.Add(200), &history, CTNUTCTimeStamp::InvalidTS());
    uint32_t value = 0;
    EXPECT_EQ(set.GetParameter("old", value), TNE_NO_OBJECT);
    EXPECT_TRUE(history.asked.empty());
}

TEST(CTarnovelleParameterSet, ASetWithoutAHistoryDoesNotFallBack) {
    CTarnovelleParameterSet set = CTarnovelleParameterSet::CreateParameterSet();
    set.SetTimeOfValidity(StandInHistory::At(500));
    EXPECT_EQ(set.GetTimeOfValidity(), StandInHistory::At(500));
    uint32_t value = 0;
    EXPECT_EQ(set.GetParameter("x", value), TNE_NO_OBJECT);
}

TEST(CTarnovelleParameterSet, TheWalkEndsBeforeTheFirstSetAndWithinTheFirstSecond) {
    StandInHistory history;
    Put(history.Add(0), 0, "a", "<DWORD>1</DWORD>");
    CTarnovelleParameterSet first = history.ViewAt(0);
    uint32_t value = 0;
    EXPECT_EQ(first.GetParameter("a", value), TNE_OK);
    // Asking for a name nobody has: the set at second 0 is asked for second
    // 0 again and the walk stops there instead of going round forever.
    EXPECT_EQ(first.GetParameter("b", value), TNE_NO_OBJECT);
    EXPECT_EQ(history.asked, (std::vector<uint32_t>{0}));
}

TEST(CTarnovelleParameterSet, CreateNewParameterSetWithOnlyChangedValuesReadsThroughTheHistory) {
    StandInHistory history;
    Put(history.Add(100), 0, "a", "<DWORD>1</DWORD>");
    Put(history.Add(200), 0, "b", "<DWORD>2</DWORD>");
    CTarnovelleParameterSet previous = history.ViewAt(1);
    CTarnovelleParameterSet next = CTarnovelleParameterSet::CreateParameterSet();
    next.SetTimeOfValidity(StandInHistory::At(300));
    next.SetParameter("a", 1u);   // same as the older set: not stored
    next.SetParameter("b", 3u);   // changed
    next.SetParameter(kChannel, "c", std::string("x"));  // new
    std::unique_ptr<CTarnovelleParameterSet> changed(
        CTarnovelleParameterSet::CreateNewParameterSetWithOnlyChangedValues(previous, next));
    ASSERT_TRUE(changed->IsValid());
    EXPECT_EQ(changed->GetTimeOfValidity(), StandInHistory::At(300));
    EXPECT_EQ(TestSet::Stored(*changed, 0, "a"), "<none>");
    EXPECT_EQ(TestSet::Stored(*changed, 0, "b"), "<DWORD>3</DWORD>");
    EXPECT_EQ(TestSet::Stored(*changed, kChannel.GetDWORD(), "c"), "<STRING>x</STRING>");
    EXPECT_EQ(static_cast<const CTarnovelleParameterSet&>(*changed).GetChannelMap()->GetCount(), 2u);
}

TEST(CTarnovelleParameterSet, ChangedValuesAreToldByTextNotByType) {
    CTarnovelleParameterSet previous = CTarnovelleParameterSet::CreateParameterSet();
    CTarnovelleParameterSet next = CTarnovelleParameterSet::CreateParameterSet();
    previous.SetParameter("v", 1u);
    next.SetParameter("v", 1.0);
    std::unique_ptr<CTarnovelleParameterSet> changed(
        CTarnovelleParameterSet::CreateNewParameterSetWithOnlyChangedValues(previous, next));
    EXPECT_EQ(TestSet::Stored(*changed, 0, "v"), "<DOUBLE>1.000000</DOUBLE>");

    CTarnovelleParameterSet target = CTarnovelleParameterSet::CreateParameterSet();
    target.SetParameter("v", 1u);
    CTarnovelleParameterSet::Merge(target, next);
    EXPECT_EQ(TestSet::Stored(target, 0, "v"), "<DOUBLE>1.000000</DOUBLE>");
}

TEST(CTarnovelleParameterSet, CreateNewParameterSetWithOnlyChangedValuesWithInvalidSets) {
    CTarnovelleParameterSet invalid = CTarnovelleParameterSet::GetInvalidHandle();
    CTarnovelleParameterSet valid = CTarnovelleParameterSet::CreateParameterSet();
    valid.SetParameter("a", 1u);
    valid.SetTimeOfValidity(StandInHistory::At(9));

    std::unique_ptr<CTarnovelleParameterSet> both(
        CTarnovelleParameterSet::CreateNewParameterSetWithOnlyChangedValues(invalid, invalid));
    EXPECT_FALSE(both->IsValid());
    std::unique_ptr<CTarnovelleParameterSet> nextOnly(
        CTarnovelleParameterSet::CreateNewParameterSetWithOnlyChangedValues(invalid, valid));
    ASSERT_TRUE(nextOnly->IsValid());
    EXPECT_EQ(TestSet::Stored(*nextOnly, 0, "a"), "<DWORD>1</DWORD>");
    EXPECT_EQ(nextOnly->GetTimeOfValidity(), StandInHistory::At(9));
    EXPECT_NE(nextOnly->GetChannelMap(), valid.GetChannelMap());  // a copy of an owning set is its own
    std::unique_ptr<CTarnovelleParameterSet> previousOnly(
        CTarnovelleParameterSet::CreateNewParameterSetWithOnlyChangedValues(valid, invalid));
    EXPECT_FALSE(previousOnly->IsValid());

    // With a view as next, the copy is a second view of the same map.
    ::ChannelMap map;
    CTarnovelleParameterSet view(&map, nullptr, StandInHistory::At(3));
    std::unique_ptr<CTarnovelleParameterSet> ofView(
        CTarnovelleParameterSet::CreateNewParameterSetWithOnlyChangedValues(invalid, view));
    EXPECT_EQ(ofView->GetChannelMap(), &map);
}

TEST(CTarnovelleParameterSet, MergeOverwritesSameNamesKeepsOthersAndKeepsTheTime) {
    CTarnovelleParameterSet target = CTarnovelleParameterSet::CreateParameterSet();
    target.SetTimeOfValidity(StandInHistory::At(10));
    target.SetParameter("keep", 1u);
    target.SetParameter("over", 2u);
    CTarnovelleParameterSet source = CTarnovelleParameterSet::CreateParameterSet();
    source.SetTimeOfValidity(StandInHistory::At(20));
    source.SetParameter("over", 3u);
    source.SetParameter(kChannel, "new", std::string("n"));
    CTarnovelleParameterSet::Merge(target, source);
    EXPECT_EQ(TestSet::Stored(target, 0, "keep"), "<DWORD>1</DWORD>");
    EXPECT_EQ(TestSet::Stored(target, 0, "over"), "<DWORD>3</DWORD>");
    EXPECT_EQ(TestSet::Stored(target, kChannel.GetDWORD(), "new"), "<STRING>n</STRING>");
    EXPECT_EQ(target.GetTimeOfValidity(), StandInHistory::At(10));
}

TEST(CTarnovelleParameterSet, MergeWithAnInvalidSetDoesNothing) {
    CTarnovelleParameterSet target = CTarnovelleParameterSet::CreateParameterSet();
    target.SetParameter("a", 1u);
    CTarnovelleParameterSet invalid = CTarnovelleParameterSet::GetInvalidHandle();
    CTarnovelleParameterSet::Merge(target, invalid);
    CTarnovelleParameterSet::Merge(invalid, target);
    EXPECT_FALSE(invalid.IsValid());
    EXPECT_EQ(target.GetChannelMap()->GetCount(), 1u);
    EXPECT_EQ(TestSet::Stored(target, 0, "a"), "<DWORD>1</DWORD>");
}

// --- copies -----------------------------------------------------------------------

TEST(CTarnovelleParameterSet, ACopyOfAnOwningSetIsIndependent) {
    CTarnovelleParameterSet original = CTarnovelleParameterSet::CreateParameterSet();
    original.SetParameter("a", 1u);
    original.SetTimeOfValidity(StandInHistory::At(4));
    CTarnovelleParameterSet copy(original);
    EXPECT_NE(copy.GetChannelMap(), original.GetChannelMap());
    EXPECT_EQ(copy.GetTimeOfValidity(), StandInHistory::At(4));
    copy.SetParameter("a", 2u);
    original.SetParameter("b", 3u);
    EXPECT_EQ(TestSet::Stored(original, 0, "a"), "<DWORD>1</DWORD>");
    EXPECT_EQ(TestSet::Stored(copy, 0, "a"), "<DWORD>2</DWORD>");
    EXPECT_EQ(TestSet::Stored(copy, 0, "b"), "<none>");
}

TEST(CTarnovelleParameterSet, ACopyOfAViewWritesThroughButAnAssignedViewDoesNot) {
    StandInHistory history;
    ::ChannelMap* map = history.Add(100);
    CTarnovelleParameterSet view = history.ViewAt(0);

    CTarnovelleParameterSet copied(view);
    EXPECT_EQ(copied.GetChannelMap(), map);
    copied.SetParameter("through", 1u);
    EXPECT_EQ(TestSet::Stored(view, 0, "through"), "<DWORD>1</DWORD>");

    CTarnovelleParameterSet assigned = CTarnovelleParameterSet::GetInvalidHandle();
    assigned = view;
    EXPECT_TRUE(assigned.IsValid());
    EXPECT_NE(assigned.GetChannelMap(), map);
    EXPECT_EQ(assigned.GetTimeOfValidity(), StandInHistory::At(100));
    EXPECT_EQ(TestSet::Stored(assigned, 0, "through"), "<DWORD>1</DWORD>");
    assigned.SetParameter("not through", 2u);
    EXPECT_EQ(TestSet::Stored(view, 0, "not through"), "<none>");
    // The assigned set keeps the history: its fall-back still works.
    Put(history.Add(50), 0, "older", "<DWORD>9</DWORD>");
    std::swap(history.entries[0], history.entries[1]);  // keep the history sorted by time
    uint32_t value = 0;
    EXPECT_EQ(assigned.GetParameter("older", value), TNE_OK);
    EXPECT_EQ(value, 9u);
}

TEST(CTarnovelleParameterSet, ACopyOfTheInvalidHandleIsInvalid) {
    CTarnovelleParameterSet invalid = CTarnovelleParameterSet::GetInvalidHandle();
    CTarnovelleParameterSet copy(invalid);
    EXPECT_FALSE(copy.IsValid());
    CTarnovelleParameterSet assigned = CTarnovelleParameterSet::CreateParameterSet();
    assigned.SetParameter("a", 1u);
    assigned = invalid;
    EXPECT_FALSE(assigned.IsValid());
    // An invalid set that is assigned a valid one owns a map again.
    CTarnovelleParameterSet valid = CTarnovelleParameterSet::CreateParameterSet();
    valid.SetParameter("b", 2u);
    assigned = valid;
    EXPECT_EQ(TestSet::Stored(assigned, 0, "b"), "<DWORD>2</DWORD>");
}

TEST(CTarnovelleParameterSet, SelfAssignmentAndSelfCopyKeepTheValues) {
    TestSet set;
    set.SetParameter("a", 1u);
    CTarnovelleParameterSet& alias = set;
    set = static_cast<TestSet&>(alias);
    set.CopyContents(alias);
    EXPECT_EQ(TestSet::Stored(set, 0, "a"), "<DWORD>1</DWORD>");
}

TEST(CTarnovelleParameterSet, CopyContentsLeavesTheFormerViewAloneAndKeepsHistoryAndTime) {
    StandInHistory history;
    ::ChannelMap* map = history.Add(100);
    Put(map, 0, "a", "<DWORD>1</DWORD>");
    TestSet view(map, &history, StandInHistory::At(100));
    CTarnovelleParameterSet other = CTarnovelleParameterSet::CreateParameterSet();
    other.SetParameter("b", 2u);
    other.SetTimeOfValidity(StandInHistory::At(7));
    view.CopyContents(other);
    EXPECT_TRUE(view.Owns());
    EXPECT_NE(view.Map(), map);
    EXPECT_EQ(view.History(), &history);
    EXPECT_EQ(view.GetTimeOfValidity(), StandInHistory::At(100));
    EXPECT_EQ(TestSet::Stored(view, 0, "b"), "<DWORD>2</DWORD>");
    EXPECT_EQ(TestSet::Stored(view, 0, "a"), "<none>");
    ASSERT_NE(map->Lookup(0), nullptr);
    EXPECT_EQ(map->Lookup(0)->size(), 1u);  // untouched

    CTarnovelleParameterSet invalid = CTarnovelleParameterSet::GetInvalidHandle();
    view.CopyContents(invalid);
    EXPECT_FALSE(view.IsValid());
    EXPECT_FALSE(view.Owns());
}

TEST(CTarnovelleParameterSet, InitDropsTheOwnedMapAndBecomesAView) {
    TestSet set;
    set.SetParameter("a", 1u);
    ::ChannelMap map;
    Put(&map, 0, "b", "<DWORD>2</DWORD>");
    set.Init(&map, nullptr, StandInHistory::At(5));
    EXPECT_FALSE(set.Owns());
    EXPECT_EQ(set.Map(), &map);
    EXPECT_EQ(set.GetTimeOfValidity(), StandInHistory::At(5));
    EXPECT_EQ(TestSet::Stored(set, 0, "b"), "<DWORD>2</DWORD>");
}

TEST(CTarnovelleParameterSet, ClearEmptiesTheMapButKeepsIt) {
    TestSet set;
    set.SetParameter("a", 1u);
    set.SetParameter(kChannel, "b", 2u);
    ::ChannelMap* map = set.Map();
    set.Clear();
    EXPECT_EQ(set.Map(), map);
    EXPECT_TRUE(map->IsEmpty());
    EXPECT_TRUE(set.IsValid());
}

TEST(CTarnovelleParameterSet, AViewLeavesTheMapAliveWhenItDies) {
    ::ChannelMap map;
    {
        CTarnovelleParameterSet view(&map, nullptr, StandInHistory::At(1));
        view.SetParameter("a", 1u);
    }
    ASSERT_NE(map.Lookup(0), nullptr);
    EXPECT_EQ(map.Lookup(0)->at("a"), "<DWORD>1</DWORD>");
}
