// What a file holds and the reader passes over or cuts short.

#include "tests/Sync/PlugIns/iCal/Calendar/LoadFixture.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class KTSyncCalendarLoadCut : public LoadFixture {};

struct BehindRow {
    std::string_view text;
    bool isLost;
};
class KTSyncCalendarBehindTheEnd : public KTSyncCalendarLoadCut,
                                   public testing::WithParamInterface<BehindRow> {};
INSTANTIATE_TEST_SUITE_P(Rows, KTSyncCalendarBehindTheEnd,
                         testing::Values(BehindRow{"", false}, BehindRow{" \n\t\n\n", false},
                                         BehindRow{"x", true},
                                         BehindRow{"BEGIN:VEVENT\nSUMMARY:b\nEND:VEVENT\n", true}));
TEST_P(KTSyncCalendarBehindTheEnd, TextIsToldAsALoss)
{
    writeLines("a.ics", "BEGIN:VCALENDAR\n" + eventLines("SUMMARY:a") + "\nEND:VCALENDAR\n" +
                            std::string(GetParam().text));
    EXPECT_THAT(titles(*loaded()), ElementsAre("a"));
    EXPECT_EQ(lossReasons(), GetParam().isLost
                                 ? std::vector<std::string>{"Was hinter dem letzten END:VCALENDAR "
                                                            "steht, wird nicht gelesen"}
                                 : std::vector<std::string>{});
}

struct HiddenRow {
    std::string_view lines;  // with a bare line feed as \v
    std::string_view hidden;
};
class KTSyncCalendarHiddenComponent : public KTSyncCalendarLoadCut,
                                      public testing::WithParamInterface<HiddenRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, KTSyncCalendarHiddenComponent,
    testing::Values(
        HiddenRow{"begin:vevent\nSUMMARY:b\nend:vevent", "begin:vevent"},
        HiddenRow{"Begin:VTODO\nSUMMARY:b\nEnd:VTODO", "Begin:VTODO"},
        HiddenRow{"X-A:1\vBEGIN:VEVENT\vSUMMARY:b\vEND:VEVENT", "BEGIN:VEVENT"},
        HiddenRow{"BEGIN:VEVENT\nSUMMARY:b\vEND:VEVENT\vBEGIN:VEVENT\nSUMMARY:c\nEND:VEVENT",
                  "BEGIN:VEVENT"},
        HiddenRow{"BEGIN:VEVENT\nSUMMARY:b\nDESCRIPTION:x\vBegin: 10 Uhr\nEND:VEVENT", ""},
        HiddenRow{"BEGIN:VEVENT\nDESCRIPTION:x\n begin:vevent\nSUMMARY:b\nEND:VEVENT", ""}));
TEST_P(KTSyncCalendarHiddenComponent, IsToldAsALoss)
{
    std::string text = "BEGIN:VCALENDAR\n" + std::string(GetParam().lines) + "\n" +
                       eventLines("SUMMARY:a") + "\nEND:VCALENDAR\n";
    std::string bytes;
    for (const char character : text)
        bytes += character == '\n' ? "\r\n" : std::string(1, character == '\v' ? '\n' : character);
    home.write(kFolder + "/a.ics", bytes);
    loaded();
    const std::string reason =
        "'" + std::string(GetParam().hidden) + "' wird nicht als Anfang einer Komponente gelesen";
    if (GetParam().hidden.empty())
        EXPECT_THAT(lossReasons(), IsEmpty());
    else
        EXPECT_THAT(lossesIn("a.ics"), testing::Contains(loss("a.ics", reason)));
}

TEST_F(KTSyncCalendarLoadCut, AnUnclosedPartOfATimeZoneInAnEventIsToldWithWhatItHides)
{
    for (const std::string part : {"STANDARD", "DAYLIGHT"}) {
        classes.lossReport().clear();
        write("a.ics", eventLines("SUMMARY:a\nBEGIN:" + part + "\nUID:x"));
        EXPECT_TRUE(loaded()->events()->front()->uid().isNil());
        EXPECT_THAT(lossReasons(),
                    ElementsAre("Komponente '" + part + "' ohne END: was folgt, bleibt ungelesen"));
    }
}

// Keys that are folded.

const std::string kOwnUID = "0123456789abcdef0123456789abcdef01234567";
const std::string kCutAttendee =
    "ATTENDEE in 'a': die Parameter werden am Zeilenende abgeschnitten";

struct CutRow {
    std::string uid;
    std::size_t firstLineLength;
    bool isTold;
};
class KTSyncCalendarCutKey : public KTSyncCalendarLoadCut,
                             public testing::WithParamInterface<CutRow> {};
INSTANTIATE_TEST_SUITE_P(Rows, KTSyncCalendarCutKey,
                         testing::Values(CutRow{"7A1F-iCal", 75, true}, CutRow{kOwnUID, 75, false},
                                         CutRow{kOwnUID + "-2", 75, false},
                                         CutRow{kOwnUID + "0", 75, true}, CutRow{kOwnUID, 74, true},
                                         CutRow{kOwnUID, 60, true}));
TEST_P(KTSyncCalendarCutKey, IsToldUnlessItIsOurOwnFold)
{
    const std::string attendee = "ATTENDEE;CN=\"" + std::string(80, 'x') + "\":mailto:max";
    write("a.ics", eventLines("SUMMARY:a\nUID:" + GetParam().uid + "\n" +
                              attendee.substr(0, GetParam().firstLineLength) + "\n " +
                              attendee.substr(GetParam().firstLineLength)));
    EXPECT_THAT(titles(*loaded()), ElementsAre("a"));
    EXPECT_EQ(lossReasons(), GetParam().isTold ? std::vector<std::string>{kCutAttendee}
                                               : std::vector<std::string>{});
}

TEST_F(KTSyncCalendarLoadCut, AFoldedValueIsNoLoss)
{
    write("a.ics", eventLines("SUMMARY:a\nDESCRIPTION:b\n c\nATTENDEE;CN=\"A:B\":mailto:\n max"));
    loaded();
    EXPECT_THAT(lossReasons(), IsEmpty());
}

TEST_F(KTSyncCalendarLoadCut, AZoneInQuotesThatEndsAtAColonIsToldForEachProperty)
{
    write("a.ics", eventLines("SUMMARY:a\nDTSTART;TZID=\"(GMT+01:00) Berlin\":20071224T100000\n"
                              "EXDATE;TZID=\"(GMT+01:00) Berlin\":20071225T100000\n"
                              "DTEND;TZID=\"Berlin\":20071224T110000"));
    EXPECT_EQ(loaded()->events()->front()->startDate()->timezone(), "\"(GMT+01");
    const std::string rest =
        " in 'a': die Zeitzone '(GMT+01:00) Berlin' wird am Doppelpunkt abgeschnitten";
    EXPECT_THAT(lossReasons(), ElementsAre("DTSTART" + rest, "EXDATE" + rest));
}

TEST_F(KTSyncCalendarLoadCut, AZoneInQuotesThatEndsAtASemicolonIsTold)
{
    write("a.ics", eventLines("SUMMARY:a\nDTSTART;TZID=\"Berlin; Wien\":20071224T100000"));
    EXPECT_EQ(loaded()->events()->front()->startDate()->timezone(), "\"Berlin");
    EXPECT_THAT(lossReasons(), ElementsAre("DTSTART in 'a': die Zeitzone 'Berlin; Wien' wird am "
                                           "Semikolon abgeschnitten"));
}

TEST_F(KTSyncCalendarLoadCut, ThousandsOfCutKeysInAnItemAreToldAtTheCostOfTheirLines)
{
    constexpr std::size_t kCount = 20000;
    std::string lines;
    for (std::size_t index = 0; index < kCount; ++index)
        lines += "ATTENDEE;CN=\"" + std::to_string(index) + "\n x\":mailto:max\n";
    write("a.ics", eventLines(lines + "UID:x\nSUMMARY:a"));
    loaded();
    EXPECT_THAT(lossReasons(), ElementsAre(kCutAttendee));  // equal ones are kept once
}

// Properties that stand under several keys.

struct SeveralKeysRow {
    std::string lines;
    std::string told;  // the name; empty when nothing is
};
class KTSyncCalendarSeveralKeys : public KTSyncCalendarLoadCut,
                                  public testing::WithParamInterface<SeveralKeysRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, KTSyncCalendarSeveralKeys,
    testing::Values(
        SeveralKeysRow{"EXDATE;TZID=Europe/Berlin:20071225T100000\nEXDATE:20071226T090000Z",
                       "EXDATE"},
        SeveralKeysRow{"EXDATE:20071225T100000Z\nEXDATE:20071226T090000Z", ""},
        SeveralKeysRow{"DESCRIPTION:x\nDESCRIPTION;LANGUAGE=en:y", "DESCRIPTION"},
        SeveralKeysRow{"LOCATION:x\nLOCATION;LANGUAGE=en:y", "LOCATION"},
        SeveralKeysRow{"URL:http://x\nURL;VALUE=URI:http://y", "URL"},
        SeveralKeysRow{"X-A;B=1:x\nX-A;B=2:y", ""},
        SeveralKeysRow{"LOCATION:x\nLOCATION;LANGUAGE=en:x", ""},
        SeveralKeysRow{"BEGIN:VALARM\nDESCRIPTION:x\nDESCRIPTION;LANGUAGE=en:y\nEND:VALARM", ""},
        SeveralKeysRow{"COMMENT:x\nCOMMENT;LANGUAGE=en:y", ""},
        SeveralKeysRow{"ATTENDEE:mailto:x\nATTENDEE;CN=Max:mailto:y", ""}));
TEST_P(KTSyncCalendarSeveralKeys, AreToldWhereOneOfThemIsAllThatStays)
{
    const std::vector<std::string> told{
        GetParam().told +
        " in 'a' steht mit verschiedenen Parametern: nur die letzte Angabe wird "
        "gelesen"};
    write("a.ics", eventLines("SUMMARY:a\nUID:7A1F-iCal\n" + GetParam().lines));
    loaded();
    EXPECT_EQ(lossReasons(), GetParam().told.empty() ? std::vector<std::string>{} : told);
}

TEST_F(KTSyncCalendarLoadCut, SeveralKeysThatWeWroteOurselvesWereToldWhenTheyWereWritten)
{
    write("a.ics", eventLines("SUMMARY:a\nUID:" + kOwnUID +
                              "\nEXDATE;TZID=Europe/Berlin:20071225T100000\n"
                              "EXDATE:20071226T090000Z"));
    loaded();
    EXPECT_THAT(lossReasons(), IsEmpty());
}

TEST_F(KTSyncCalendarLoadCut, ARuleWithALineBreakLosesNothingByBeingRead)
{
    home.write(kFolder + "/a.ics",
               "BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nSUMMARY:a\r\n"
               "RRULE:FREQ=DAILY\nX\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n");
    EXPECT_THAT(titles(*loaded()), ElementsAre("a"));
    EXPECT_THAT(lossReasons(), IsEmpty());
}

TEST_F(KTSyncCalendarLoadCut, ManySmallEventsOfTheDigestOfALargeOneAreComparedAtTheirOwnCost)
{
    constexpr std::size_t kCount = 8000;
    std::string lines = "SUMMARY:a";
    for (std::size_t index = 0; index < kCount; ++index)
        lines += "\nBEGIN:VALARM\nACTION:DISPLAY\nTRIGGER:-PT1M\nEND:VALARM";
    std::string text = eventLines(lines);
    for (std::size_t index = 0; index < kCount; ++index)
        text += "\n" + eventLines("SUMMARY:a");
    write("a.ics", text);
    EXPECT_THAT(titles(*loaded()), ElementsAre("a"));
    EXPECT_THAT(lossReasons(),
                ElementsAre("Doppeltes Ereignis, das vom ersten abweicht, wird nicht übernommen"));
}

// Lines that stand twice.

class KTSyncCalendarTwice : public KTSyncCalendarLoadCut,
                            public testing::WithParamInterface<std::string_view> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, KTSyncCalendarTwice,
    testing::Values(
        "ALLDAY:1", "LOCATION:x", "TRANSP:OPAQUE", "DESCRIPTION:x", "URL:http://x", "UID:x",
        "SEQUENCE:2", "PRIORITY:1", "STATUS:COMPLETED", "CLASS:PUBLIC", "TZID:x", "X-A:1",
        "DTSTART:20071224T100000", "DTEND:20071224T100000", "DUE:20071224T100000",
        "COMPLETED:20071224T100000Z", "DTSTAMP:20071224T100000Z", "RECURRENCE-ID:20071224T100000",
        "EXDATE:20071224T100000", "ATTENDEE:mailto:x", "ORGANIZER:mailto:x", "ATTACH:http://x",
        "BEGIN:VALARM\nACTION:DISPLAY\nACTION:AUDIO\nTRIGGER:-PT1M\nTRIGGER:-PT2M\nEND:VALARM"));
TEST_P(KTSyncCalendarTwice, InAnItemCostsNoOtherItem)
{
    const std::string twice = "\n" + std::string(GetParam()) + "\n" + std::string(GetParam());
    write("a.ics", eventLines("SUMMARY:a" + twice) + "\n" + eventLines("SUMMARY:b") + "\n" +
                       taskLines("SUMMARY:c" + twice) + "\n" + taskLines("SUMMARY:d"));
    const auto made = loaded();
    EXPECT_THAT(titles(*made), ElementsAre("a", "b", "Aufgabe c", "Aufgabe d"));
    // They can be turned into records and written again, on lines of their own.
    const auto expectWhole = [](KTSyncCalendarItem& item) {
        item.syncRecord();
        if (GetParam().starts_with("X-"))
            return;  // written as an array describes itself
        const std::string lines = item.iCalLines();
        for (std::size_t at = lines.find('\n'); at != std::string::npos;
             at = lines.find('\n', at + 1))
            EXPECT_EQ(lines[at - 1], '\r') << lines;
    };
    for (const auto& each : *made->events())
        expectWhole(*each);
    for (const auto& each : *made->tasks())
        expectWhole(*each);
}

TEST_F(KTSyncCalendarLoadCut, AFlagOrAStatusThatStandsTwiceIsALoss)
{
    write("a.ics", eventLines("SUMMARY:a\nALLDAY:1\nALLDAY:1") + "\n" +
                       taskLines("SUMMARY:b\nSTATUS:COMPLETED\nSTATUS:COMPLETED"));
    const auto made = loaded();
    EXPECT_FALSE(made->events()->front()->isAllDay());
    EXPECT_FALSE(made->tasks()->front()->isCompleted());
    EXPECT_THAT(lossReasons(), ElementsAre("ALLDAY steht mehrmals und wird nicht gelesen",
                                           "STATUS steht mehrmals und wird nicht gelesen"));
}

}  // namespace
}  // namespace kt::test
