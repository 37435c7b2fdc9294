#include <gtest/gtest.h>

#include "Sync/PlugIns/iCal/Calendar/ItemFileEdit.h"

namespace kt {
namespace {

constexpr std::string_view kZone = "BEGIN:VTIMEZONE\r\nTZID:X\r\nEND:VTIMEZONE\r\n";
constexpr std::string_view kFirst = "BEGIN:VEVENT\r\nUID:1\r\nEND:VEVENT\r\n";
constexpr std::string_view kSecond = "BEGIN:VTODO\r\nUID:2\r\nEND:VTODO\r\n";

std::string calendar(std::initializer_list<std::string_view> components)
{
    std::string text = "BEGIN:VCALENDAR\r\nX-A;B=c:d\r\n";
    for (const std::string_view component : components)
        text += component;
    return text + "END:VCALENDAR\r\n";
}

TextPlace placeOf(std::string_view component, std::string_view text)
{
    return {0, text.find(component), component.size()};
}

TEST(ItemFileEdit, LeavesEveryByteOutsideThePlaceAsItIs)
{
    const std::string text = calendar({kZone, kFirst, kSecond});
    ItemFileEdit edit(text);
    edit.replace(placeOf(kFirst, text), "BEGIN:VEVENT\r\nUID:3\r\nEND:VEVENT\r\n");
    EXPECT_EQ(edit.result(), calendar({kZone, "BEGIN:VEVENT\r\nUID:3\r\nEND:VEVENT\r\n", kSecond}));
}

TEST(ItemFileEdit, TakesComponentsOutAndAddsOthersBehindThem)
{
    const std::string text = calendar({kZone, kFirst});
    ItemFileEdit edit(text);
    edit.replace(placeOf(kFirst, text), "");
    edit.append(kSecond);
    EXPECT_EQ(edit.result(), calendar({kZone, kSecond}));
}

TEST(ItemFileEdit, KeepsWhatStandsBehindTheLastEnd)
{
    const std::string text = calendar({kFirst}) + "\r\nBegleittext";
    ItemFileEdit edit(text);
    edit.append(kSecond);
    EXPECT_EQ(edit.result(), calendar({kFirst, kSecond}) + "\r\nBegleittext");
}

TEST(ItemFileEdit, KnowsPlacesBehindLineEndsThatAFoldHasCut)
{
    const std::string cut = "BEGIN:VEVENT\r\nSUMMARY:a\r\r\n \nEND:VEVENT\r\n";
    const std::string read = "BEGIN:VEVENT\r\nSUMMARY:a\r\nEND:VEVENT\r\n";
    ItemFileEdit edit(calendar({cut, kFirst, cut}));
    const std::string text = calendar({read, kFirst, read});
    edit.replace(placeOf(kFirst, text), std::string(kSecond));
    EXPECT_EQ(edit.result(), calendar({cut, kSecond, cut}));
    EXPECT_EQ(edit.textAt(placeOf(read, text)), read);
}

TEST(ItemFileEdit, WritesWhatWasToStandInsideAnotherPlaceAtTheEnd)
{
    const std::string outer = "BEGIN:VTODO\r\n" + std::string(kFirst) + "END:VTODO\r\n";
    const std::string text = calendar({outer});
    ItemFileEdit edit(text);
    edit.replace(placeOf(outer, text), std::string(kSecond));
    edit.replace(placeOf(kFirst, text), std::string(kFirst));
    EXPECT_EQ(edit.result(), calendar({kSecond, kFirst}));
}

TEST(ItemFileEdit, IsWholeOnlyWhenTheCalendarOpensAndCloses)
{
    EXPECT_TRUE(ItemFileEdit(calendar({})).isWhole());
    EXPECT_FALSE(ItemFileEdit("BEGIN:VCALENDAR\r\n").isWhole());
    EXPECT_FALSE(ItemFileEdit("END:VCALENDAR\r\n").isWhole());
    EXPECT_FALSE(ItemFileEdit(calendar({"X:\xFF\r\n"})).isWhole());
    EXPECT_FALSE(ItemFileEdit("").isWhole());
}

constexpr std::string_view kJournal = "BEGIN:VJOURNAL\r\nUID:j\r\nEND:VJOURNAL\r\n";

/// What stays of a file of which the first event was read.
std::string givenUp(const std::string& text)
{
    ItemFileEdit edit(text);
    edit.giveUpUnread({placeOf(kFirst, text)});
    return edit.result();
}

TEST(ItemFileEdit, GivesUpItemsThatHaveNoPlaceAndNothingElse)
{
    EXPECT_EQ(givenUp(calendar({kZone, "BEGIN:VEVENT\r\nX:1\r\n", kFirst, kJournal})),
              calendar({kZone, kFirst, kJournal}));
    EXPECT_EQ(givenUp(calendar({kFirst, "END:VEVENT\r\n", kSecond, kJournal})),
              calendar({kFirst, kJournal}));
    EXPECT_EQ(givenUp(calendar({kFirst, "begin:vevent\nx:1\nend:vevent\n", kZone})),
              calendar({kFirst, kZone}));
    EXPECT_EQ(givenUp(calendar({kFirst}) + "Begleittext"), calendar({kFirst}));
}

TEST(ItemFileEdit, GivesUpAnItemWithoutItsEndAndKeepsWhatItRunsOver)
{
    constexpr std::string_view kAlarm = "BEGIN:VALARM\r\nEND:VALARM\r\n";
    EXPECT_EQ(givenUp(
                  calendar({kFirst, "BEGIN:VEVENT\r\nX:1\r\n", kAlarm, kJournal, kSecond, kZone})),
              calendar({kFirst, kJournal, kZone}));
}

TEST(ItemFileEdit, GivesUpAFileWithoutAnEnvelopeAndKeepsWhatItCan)
{
    ItemFileEdit open("BEGIN:VCALENDAR\r\nX-A:b\r\n" + std::string(kZone) + std::string(kFirst) +
                      "BEGIN:VEVENT\r\nUID");
    open.giveUpUnread({});
    EXPECT_EQ(open.result(),
              "BEGIN:VCALENDAR\r\nX-A:b\r\n" + std::string(kZone) + "END:VCALENDAR\r\n");
    ItemFileEdit other("kein Kalender");
    other.giveUpUnread({});
    other.append(kSecond);
    EXPECT_TRUE(other.isWhole());
    EXPECT_EQ(other.result().find("kein Kalender"), std::string::npos);
    EXPECT_NE(other.result().find(kSecond), std::string::npos);
}

TEST(HoldsMoreThanFrame, IsTrueForAnythingButPropertiesAndTimeZones)
{
    EXPECT_FALSE(holdsMoreThanFrame(calendar({})));
    EXPECT_FALSE(holdsMoreThanFrame(calendar({kZone})));
    EXPECT_TRUE(holdsMoreThanFrame(calendar({kZone, kSecond})));
    EXPECT_TRUE(holdsMoreThanFrame(calendar({"BEGIN:VJOURNAL\r\nEND:VJOURNAL\r\n"})));
    EXPECT_TRUE(holdsMoreThanFrame(calendar({"begin:vevent\r\nend:vevent\r\n"})));
    EXPECT_TRUE(holdsMoreThanFrame(calendar({}) + "Begleittext"));
    EXPECT_TRUE(holdsMoreThanFrame("kein Kalender"));
}

}  // namespace
}  // namespace kt
