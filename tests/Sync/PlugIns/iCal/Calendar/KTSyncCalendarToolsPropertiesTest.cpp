#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/PlugIns/iCal/Calendar/KTSyncAttendee.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"
#include "tests/Sync/PlugIns/iCal/Calendar/CalendarTextScope.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Tools = KTSyncCalendarTools;

Dictionary properties(LineList lines)
{
    return Tools::findAndRemovePropertiesFromLines(lines, nullptr);
}

TEST(FindAndRemoveProperties, UnfoldsAtASingleBlankAndNotAtATab)
{
    EXPECT_EQ(properties({"DESCRIPTION:a", " b", "\tc"}),
              (Dictionary{{"DESCRIPTION", "ab"}, {"\tc", ""}}));
}

TEST(FindAndRemoveProperties, KeepsTheBlanksBehindTheFirst)
{
    EXPECT_EQ(properties({"A:b", "  c", " "}), (Dictionary{{"A", "b c"}}));
}

TEST(FindAndRemoveProperties, EndsUnfoldingAtAnEmptyLine)
{
    EXPECT_EQ(properties({"A:b", "", " c"}), (Dictionary{{"A", "b"}, {"", "c"}}));
}

TEST(FindAndRemoveProperties, FindsTheColonOutsideQuotes)
{
    EXPECT_EQ(properties({"ATTENDEE;CN=\"A:B\":mailto:max"}),
              (Dictionary{{"ATTENDEE;CN=\"A:B\"", "mailto:max"}}));
}

TEST(FindAndRemoveProperties, TakesALineWithoutColonAsAKey)
{
    EXPECT_EQ(properties({"NOTHING"}), (Dictionary{{"NOTHING", ""}}));
}

struct KeyRow {
    std::string_view line;
    std::string_view key;
    std::string_view value;
};
class PropertyKeys : public testing::TestWithParam<KeyRow> {};
INSTANTIATE_TEST_SUITE_P(Rows, PropertyKeys,
                         testing::Values(KeyRow{"A:", "A", ""}, KeyRow{":a", "", "a"},
                                         KeyRow{"A;B=\\:::c", "A;B=\\::", "c"},
                                         KeyRow{"A\\\"::b", "A\\\":", "b"},
                                         KeyRow{"A\\xy\"\\\"z:\":b", "A\\xy\"\\\"z:\"", "b"},
                                         KeyRow{"A\\", "A\\", ""}, KeyRow{"A\\:", "A\\:", ""},
                                         KeyRow{"A\\ä::b", "A\\ä:", "b"},
                                         KeyRow{"A\\\U0001F384:b", "A\\\U0001F384", "b"},
                                         KeyRow{"A\"b:c", "A\"b:c", ""}));
TEST_P(PropertyKeys, EndAtTheFirstUnquotedColonPastEscapes)
{
    EXPECT_EQ(properties({GetParam().line}),
              (Dictionary{{std::string(GetParam().key), GetParam().value}}));
}

TEST(FindAndRemoveProperties, MakesOneArrayOfEqualKeys)
{
    EXPECT_EQ(properties({"EXDATE:1", "EXDATE:2", "EXDATE;A=B:3", "EXDATE:4"}),
              (Dictionary{{"EXDATE", Array{"1", "2", "4"}}, {"EXDATE;A=B", "3"}}));
}

TEST(FindAndRemoveProperties, KeepsTheLastSummaryAsAText)
{
    EXPECT_EQ(properties({"SUMMARY:a", "SUMMARY:b", "SUMMARY:c"}), (Dictionary{{"SUMMARY", "c"}}));
}

TEST(FindAndRemoveProperties, MakesAnArrayOfSummariesWithEqualParameters)
{
    EXPECT_EQ(properties({"SUMMARY;A=B:a", "SUMMARY;A=B:b"}),
              (Dictionary{{"SUMMARY;A=B", Array{"a", "b"}}}));
}

TEST(FindAndRemoveProperties, LeavesEscapesAndCaseAsWritten)
{
    EXPECT_EQ(properties({"Summary:a\\nb\\, c"}), (Dictionary{{"Summary", "a\\nb\\, c"}}));
}

TEST(FindAndRemoveProperties, LeavesNestedComponentsInTheList)
{
    LineList lines{"A:1",   "BEGIN:VALARM", "ACTION:AUDIO", "BEGIN:X",
                   "END:X", " continued",   "END:VALARM",   "B:2"};
    EXPECT_EQ(Tools::findAndRemovePropertiesFromLines(lines, nullptr),
              (Dictionary{{"A", "1"}, {"B", "2"}}));
    EXPECT_THAT(lines, ElementsAre("BEGIN:VALARM", "ACTION:AUDIO", "BEGIN:X", "END:X", " continued",
                                   "END:VALARM"));
}

TEST(FindAndRemoveProperties, LeavesEverythingBehindAnEndTooMany)
{
    LineList lines{"A:1", "END:X", "B:2"};
    EXPECT_EQ(Tools::findAndRemovePropertiesFromLines(lines, nullptr), (Dictionary{{"A", "1"}}));
    EXPECT_THAT(lines, ElementsAre("END:X", "B:2"));
}

TEST(FindAndRemoveProperties, TakesAContinuationWithoutAPropertyAsAProperty)
{
    EXPECT_EQ(properties({" a:b", " c"}), (Dictionary{{" a", "bc"}}));
    EXPECT_EQ(properties({"A:1", "BEGIN:X", "END:X", " b:c"}),
              (Dictionary{{"A", "1"}, {" b", "c"}}));
}

TEST(FindAndRemoveProperties, JoinsACharacterThatAFoldHasCut)
{
    EXPECT_EQ(properties({"A:x\xED\xA0\xBC", " \xED\xBE\x84y"}),
              (Dictionary{{"A", "x\U0001F384y"}}));
}

TEST(FindAndRemoveProperties, KeepsTheOrderWritten)
{
    std::string keys;
    for (const auto& [key, value] : properties({"C:1", "A:2", "B:3", "A:4"}))
        keys += key;
    EXPECT_EQ(keys, "CAB");
}

TEST(FindAndRemoveProperties, CostsOneStepALine)
{
    std::vector<std::string> different;
    for (int count = 0; count < 300'000; ++count)
        different.push_back("X-" + std::to_string(count) + ":y");
    std::vector<std::string_view> all(different.begin(), different.end());
    all.insert(all.end(), 400'000, "EXDATE:20071224");
    all.push_back("NOTES:");
    all.insert(all.end(), 300'000, " a");
    LineList lines(std::move(all));
    const Dictionary found = Tools::findAndRemovePropertiesFromLines(lines, nullptr);
    EXPECT_EQ(found.size(), 300'002U);
    EXPECT_EQ(found["EXDATE"].array().size(), 400'000U);
    EXPECT_EQ(found["NOTES"].string().size(), 300'000U);
    EXPECT_THAT(lines, IsEmpty());
}

TEST(PropertyNameInKey, EndsAtTheFirstSemicolon)
{
    EXPECT_EQ(Tools::propertyNameInKey("DTSTART;TZID=Europe/Berlin;X=Y"), "DTSTART");
    EXPECT_EQ(Tools::propertyNameInKey("DTSTART"), "DTSTART");
    EXPECT_EQ(Tools::propertyNameInKey(";A"), "");
    EXPECT_EQ(Tools::propertyNameInKey(""), "");
}

struct SplitRow {
    std::string_view key;
    std::vector<std::string_view> parameters;
};
class SplitProperties : public testing::TestWithParam<SplitRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, SplitProperties,
    testing::Values(SplitRow{"ATTENDEE;ROLE=CHAIR;", {"ATTENDEE", "ROLE=CHAIR"}},
                    SplitRow{"ATTENDEE", {"ATTENDEE"}}, SplitRow{"", {""}},
                    SplitRow{"A;;B", {"A", "", "B"}},
                    SplitRow{"A;CN=\"Doe; Jane\";B", {"A", "CN=\"Doe; Jane\"", "B"}},
                    SplitRow{"A;B\\;;;C", {"A", "B\\;;", "C"}},
                    SplitRow{"A;B\\\";C;D", {"A", "B\\\";C", "D"}}, SplitRow{"A;B\\", {"A", "B\\"}},
                    SplitRow{"A;B\\;", {"A", "B\\;"}}, SplitRow{"A;CN=\"x;y", {"A", "CN=\"x;y"}}));
TEST_P(SplitProperties, CutsAtEveryUnquotedSemicolon)
{
    EXPECT_EQ(Tools::splitProperties(GetParam().key, nullptr), GetParam().parameters);
}

TEST(SplitProperties, GivesNothingForNil)
{
    EXPECT_THAT(Tools::splitProperties(std::nullopt, nullptr), IsEmpty());
}

std::vector<Dictionary> attendees(std::optional<std::string_view> key, const Value& value)
{
    Array list;
    Tools::addCNAndValueToList(list, key, value, nullptr);
    std::vector<Dictionary> records;
    for (const Value& attendee : list)
        records.push_back(attendee.objectOfClass<KTSyncAttendee>()->syncRecord());
    return records;
}

struct NameRow {
    std::string_view key;
    Value name;
    std::string_view status;
};
class AttendeeKeys : public testing::TestWithParam<NameRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, AttendeeKeys,
    testing::Values(NameRow{"ATTENDEE;CN=Max;PARTSTAT=ACCEPTED;RSVP=TRUE", "Max",
                            "PARTSTAT=ACCEPTED;RSVP=TRUE"},
                    NameRow{"ATTENDEE;RSVP=TRUE;CN=\"Max; Moritz\"", "Max; Moritz", "RSVP=TRUE"},
                    NameRow{"ATTENDEE;CN=A;CN=B", "B", ""}, NameRow{"ATTENDEE", nullptr, ""},
                    NameRow{"ATTENDEE;CN=", "", ""}, NameRow{"ATTENDEE;CN=\"\"", "", ""},
                    NameRow{"ATTENDEE;CN=\"", nullptr, ""}, NameRow{"ATTENDEE;CN=\"Max", "Ma", ""},
                    NameRow{"ATTENDEE;CN=a\"b\"c", "\"b\"", ""},
                    NameRow{"ATTENDEE;;A;;B", nullptr, "A;;B"},
                    NameRow{"ATTENDEE;cn=Max", nullptr, "cn=Max"},
                    NameRow{"ATTENDEE;CN=\"Jürgen\"", "Jürgen", ""}));
TEST_P(AttendeeKeys, GiveCommonNameAndStatus)
{
    Dictionary record{{"Address", "mailto:max"}, {"Status", GetParam().status}};
    record.setIfPresent("Name", GetParam().name);
    EXPECT_THAT(attendees(GetParam().key, "mailto:max"), ElementsAre(record));
}

TEST(AddCNAndValueToList, MakesOneAttendeeOfEachElement)
{
    EXPECT_THAT(
        attendees("ATTENDEE;CN=Max;A=B", Array{"mailto:a", "mailto:b"}),
        ElementsAre(Dictionary{{"Name", "Max"}, {"Address", "mailto:a"}, {"Status", "A=B"}},
                    Dictionary{{"Name", "Max"}, {"Address", "mailto:b"}, {"Status", "A=B"}}));
}

TEST(AddCNAndValueToList, DoesNothingForNil)
{
    EXPECT_THAT(attendees(std::nullopt, "mailto:a"), IsEmpty());
    EXPECT_THAT(attendees("ATTENDEE", nullptr), IsEmpty());
}

TEST(AddCNAndValueToList, AppendsToWhatTheListHolds)
{
    Array list;
    Tools::addCNAndValueToList(list, "ATTENDEE", "a", nullptr);
    Tools::addCNAndValueToList(list, "ATTENDEE", "b", nullptr);
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[1].objectOfClass<KTSyncAttendee>()->address(), Value("b"));
}

}  // namespace
}  // namespace kt::test
