#include "tests/Sync/PlugIns/iCal/Calendar/LoadFixture.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class KTSyncCalendarLoadLosses : public LoadFixture {};

struct LeftRow {
    std::string_view lines;
    std::vector<std::string> reasons;
};
class KTSyncCalendarLeftComponents : public KTSyncCalendarLoadLosses,
                                     public testing::WithParamInterface<LeftRow> {};
const std::string kJournal = "Komponente 'VJOURNAL' wird nicht übernommen";
const std::string kSecondCalendar =
    "Zweiter VCALENDAR: seine Eigenschaften werden nicht übernommen";
INSTANTIATE_TEST_SUITE_P(
    Rows, KTSyncCalendarLeftComponents,
    testing::Values(
        LeftRow{"BEGIN:VTIMEZONE\nTZID:a\nBEGIN:STANDARD\nEND:STANDARD\nBEGIN:DAYLIGHT\n"
                "END:DAYLIGHT\nEND:VTIMEZONE",
                {}},
        LeftRow{"BEGIN:VJOURNAL\nSUMMARY:j\nEND:VJOURNAL", {kJournal}},
        LeftRow{"BEGIN:VJOURNAL\nBEGIN:VALARM\nEND:VALARM\nEND:VJOURNAL", {kJournal}},
        LeftRow{"BEGIN:VJOURNAL\nBEGIN:VJOURNAL\nEND:VJOURNAL\nEND:VJOURNAL\nBEGIN:VFREEBUSY\n"
                "END:VFREEBUSY",
                {kJournal, "Komponente 'VFREEBUSY' wird nicht übernommen"}},
        LeftRow{"BEGIN:VTIMEZONE\nBEGIN:STANDARD\nEND:STANDARD\nBEGIN:VJOURNAL\nEND:VJOURNAL",
                {kJournal}},
        LeftRow{"END:VCALENDAR\nBEGIN:VCALENDAR\nVERSION:2.0", {kSecondCalendar}},
        LeftRow{"END:VCALENDAR\nBEGIN:VCALENDAR\nBEGIN:VJOURNAL\nEND:VJOURNAL",
                {kSecondCalendar, kJournal}}));
TEST_P(KTSyncCalendarLeftComponents, AreToldByTheirNames)
{
    write("a.ics", eventLines("SUMMARY:a") + "\n" + std::string(GetParam().lines) + "\n" +
                       eventLines("SUMMARY:b"));
    EXPECT_THAT(titles(*loaded()), ElementsAre("a", "b"));
    EXPECT_EQ(lossReasons(), GetParam().reasons);
    EXPECT_THAT(helper.messages(), IsEmpty());
}

TEST_F(KTSyncCalendarLoadLosses, AComponentInsideAnEventThatNobodyTakesIsTold)
{
    write("a.ics", eventLines("SUMMARY:a\nBEGIN:PARTICIPANT\nUID:x\nEND:PARTICIPANT"));
    const auto made = loaded();
    EXPECT_TRUE(made->events()->front()->uid().isNil());
    EXPECT_THAT(lossReasons(), ElementsAre("Komponente 'PARTICIPANT' wird nicht übernommen"));
}

TEST_F(KTSyncCalendarLoadLosses, AnEventThatAnotherBeginsInIsToldWithItsLines)
{
    write("a.ics",
          eventLines("SUMMARY:a") + "\nBEGIN:VEVENT\nSUMMARY:b\nUID:1\n" + eventLines("SUMMARY:c"));
    EXPECT_THAT(titles(*loaded()), ElementsAre("a", "c"));
    EXPECT_THAT(lossReasons(), ElementsAre("Komponente 'VEVENT' ohne END, 2 Zeilen verworfen"));
}

TEST_F(KTSyncCalendarLoadLosses, ATaskThatDoesNotEndIsToldWithoutTheLinesOfEvents)
{
    write("a.ics", "BEGIN:VTODO\nSUMMARY:t\n" + eventLines("SUMMARY:a") + "\nUID:1\nURL:2\n" +
                       eventLines("SUMMARY:b") + "\nPRIORITY:3");
    EXPECT_THAT(titles(*loaded()), ElementsAre("a", "b"));
    EXPECT_THAT(lossReasons(), ElementsAre("Komponente 'VTODO' ohne END, 4 Zeilen verworfen"));
}

TEST_F(KTSyncCalendarLoadLosses, WhatStandsBehindAStrayEndIsToldByItsName)
{
    write("a.ics", eventLines("SUMMARY:a") + "\nEND:VEVENT\n" + eventLines("SUMMARY:b"));
    EXPECT_THAT(titles(*loaded()), ElementsAre("a"));
    EXPECT_THAT(lossReasons(), ElementsAre("END ohne BEGIN: alles ab 'END:VEVENT' bleibt ungelesen",
                                           "Komponente 'VEVENT' wird nicht übernommen"));
    EXPECT_THAT(helper.fileLog(),
                ElementsAre(StartsWith("[KTSyncCalendarTools findAndRemoveComponents] 'VEVENT':")));
}

struct StrayEndRow {
    std::string_view lines;  // of an event, behind its title
    std::vector<std::string> reasons;
};
class KTSyncCalendarStrayEnd : public KTSyncCalendarLoadLosses,
                               public testing::WithParamInterface<StrayEndRow> {};
const std::string kStrayEnd = "Ende ohne Anfang: END:X, was folgt, bleibt ungelesen";
INSTANTIATE_TEST_SUITE_P(
    Rows, KTSyncCalendarStrayEnd,
    testing::Values(StrayEndRow{"END:X\nUID:x", {kStrayEnd}},
                    StrayEndRow{"END:X\nUID:x\nEND:Y\nEND:X\nURL:y", {kStrayEnd}},
                    StrayEndRow{"BEGIN:P\nEND:P\nEND:X\nUID:x",
                                {"Komponente 'P' wird nicht übernommen", kStrayEnd}},
                    StrayEndRow{"BEGIN:STANDARD\nEND:STANDARD\nEND:STANDARD\nUID:x",
                                {"Ende ohne Anfang: END:STANDARD, was folgt, bleibt ungelesen"}},
                    // Nothing is hidden by the very last line.
                    StrayEndRow{"END:X", {}}));
TEST_P(KTSyncCalendarStrayEnd, InAnEventIsToldOnceWithWhatItHides)
{
    write("a.ics", eventLines("SUMMARY:a\n" + std::string(GetParam().lines)) + "\n" +
                       eventLines("SUMMARY:b"));
    const auto made = loaded();
    EXPECT_THAT(titles(*made), ElementsAre("a", "b"));
    EXPECT_TRUE(made->events()->front()->uid().isNil());
    EXPECT_EQ(lossReasons(), GetParam().reasons);
}

TEST_F(KTSyncCalendarLoadLosses, AStrayEndBesideTheItemsIsALossOnlyWhenItHidesThem)
{
    write("a.ics", "END:X\n" + eventLines("SUMMARY:a"));
    EXPECT_THAT(titles(*loaded()), ElementsAre("a"));
    EXPECT_THAT(lossReasons(), IsEmpty());
}

TEST_F(KTSyncCalendarLoadLosses, LossesOfTheTextLayerNameCalendarAndFile)
{
    write("a.ics", eventLines("SUMMARY:a\nDTSTART:20071399T100000"));
    loaded();
    ASSERT_EQ(lossesIn("a.ics").size(), 1u);
    EXPECT_EQ(lossesIn("a.ics").front().calendar, "Privat");
}

}  // namespace
}  // namespace kt::test
