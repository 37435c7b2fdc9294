#include "tests/Sync/PlugIns/iCal/Calendar/LoadFixture.h"

namespace kt::test {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class KTSyncCalendarLoadItems : public LoadFixture {};

TEST_F(KTSyncCalendarLoadItems, ACopyInAnotherFileIsDroppedAndLoggedOnce)
{
    const std::string common =
        "SUMMARY:a\nDESCRIPTION:n\nURL:u\nLOCATION:l\nDTSTART:20071224T100000Z\n"
        "DTEND:20071224T110000Z\nRRULE:FREQ=DAILY";
    write("a.ics", eventLines(common + "\nUID:1"));
    write("b.ics", eventLines(common + "\nUID:2"));
    EXPECT_THAT(titles(*loaded()), ElementsAre("a"));
    ASSERT_EQ(helper.messages().size(), 1u);
    EXPECT_THAT(helper.messages().front(),
                AllOf(StartsWith("Doppeltes Ereignis:\n(\n    SUMMARY:a,\n"), HasSubstr("UID:2")));
    EXPECT_THAT(classes.losses(), IsEmpty());
}

TEST_F(KTSyncCalendarLoadItems, TheFirstCopyWins)
{
    write("a.ics",
          eventLines("SUMMARY:a\nSEQUENCE:1") + "\n" + eventLines("SUMMARY:a\nSEQUENCE:2"));
    const auto made = loaded();
    ASSERT_EQ(made->events()->size(), 1u);
    EXPECT_EQ(made->events()->front()->sequence(), Value("1"));
    EXPECT_EQ(helper.messages().size(), 1u);
}

struct CopyRow {
    std::string_view more;
    bool isLoss;
};
class KTSyncCalendarCopy : public KTSyncCalendarLoadItems,
                           public testing::WithParamInterface<CopyRow> {};
INSTANTIATE_TEST_SUITE_P(Rows, KTSyncCalendarCopy,
                         testing::Values(CopyRow{"UID:2", false}, CopyRow{"SEQUENCE:5", false},
                                         CopyRow{"DTSTAMP:20071224T100000Z", false},
                                         CopyRow{"BEGIN:VALARM\nACTION:DISPLAY\nEND:VALARM", true},
                                         CopyRow{"TRANSP:OPAQUE", true}, CopyRow{"X-A:b", true},
                                         CopyRow{"RECURRENCE-ID:20071224T100000Z", true},
                                         CopyRow{"EXDATE:20071224T100000Z", true},
                                         CopyRow{"BEGIN:VALARM\nTRIGGER:-PT15M\nEND:VALARM",
                                                 true}));
TEST_P(KTSyncCalendarCopy, IsALossOnlyWhenSomethingGoesWithIt)
{
    write("a.ics", eventLines("SUMMARY:a\nUID:1"));
    write("b.ics", eventLines("SUMMARY:a\n" + std::string(GetParam().more)));
    EXPECT_THAT(titles(*loaded()), ElementsAre("a"));
    EXPECT_EQ(helper.messages().size(), 1u);
    if (GetParam().isLoss)
        EXPECT_THAT(lossesIn("b.ics"), ElementsAre(loss("b.ics",
                                                        "Doppeltes Ereignis, das vom ersten "
                                                        "abweicht, wird nicht übernommen")));
    else
        EXPECT_THAT(classes.losses(), IsEmpty());
}

TEST_F(KTSyncCalendarLoadItems, ACopyOfALinkedOccurrenceIsNoLoss)
{
    const std::string lines = eventLines("SUMMARY:a\nUID:1\nRRULE:FREQ=DAILY") + "\n" +
                              eventLines("SUMMARY:b\nUID:1\nRECURRENCE-ID:20071224T100000Z");
    write("a.ics", lines);
    write("b.ics", lines);
    EXPECT_THAT(titles(*loaded()), ElementsAre("a", "b"));
    EXPECT_EQ(helper.messages().size(), 2u);
    EXPECT_THAT(classes.losses(), IsEmpty());
}

TEST_F(KTSyncCalendarLoadItems, TasksTakeNoPartInTheSearchForCopies)
{
    write("a.ics", taskLines("SUMMARY:a") + "\n" + taskLines("SUMMARY:a"));
    EXPECT_THAT(titles(*loaded()), ElementsAre("Aufgabe a", "Aufgabe a"));
    EXPECT_THAT(helper.messages(), IsEmpty());
}

TEST_F(KTSyncCalendarLoadItems, AnOccurrenceIsLinkedToItsSeriesInTheSameFile)
{
    write("a.ics",
          eventLines("SUMMARY:Ausnahme\nUID:1\nRECURRENCE-ID;TZID=Europe/Berlin:20071225T100000") +
              "\n" + eventLines("SUMMARY:Serie\nUID:1\nRRULE:FREQ=DAILY"));
    const auto made = loaded();
    const auto& occurrence = *made->events()->at(0);
    const auto& series = *made->events()->at(1);
    EXPECT_EQ(occurrence.recurrenceParentRecordKey(), series.recordKey());
    EXPECT_EQ(series.recurrenceExceptionDates(), (Array{date("20071225T100000")}));
    EXPECT_FALSE(series.recurrenceParentRecordKey());
    EXPECT_FALSE(occurrence.recurrenceExceptionDates());
}

TEST_F(KTSyncCalendarLoadItems, AnOccurrenceInAnotherFileStaysUnlinked)
{
    write("a.ics", eventLines("SUMMARY:Serie\nUID:1\nRRULE:FREQ=DAILY"));
    write("b.ics", eventLines("SUMMARY:Ausnahme\nUID:1\nRECURRENCE-ID:20071225T100000Z"));
    const auto made = loaded();
    EXPECT_FALSE(made->events()->at(0)->recurrenceExceptionDates());
    EXPECT_FALSE(made->events()->at(1)->recurrenceParentRecordKey());
}

TEST_F(KTSyncCalendarLoadItems, OfTwoSeriesOfOneUIDTheLaterTakesTheOccurrences)
{
    write("a.ics", eventLines("SUMMARY:erste\nUID:1\nRRULE:FREQ=DAILY") + "\n" +
                       eventLines("SUMMARY:zweite\nUID:1\nRRULE:FREQ=WEEKLY") + "\n" +
                       eventLines("SUMMARY:Ausnahme\nUID:1\nRECURRENCE-ID:20071225T100000Z"));
    const auto made = loaded();
    EXPECT_FALSE(made->events()->at(0)->recurrenceExceptionDates());
    EXPECT_TRUE(made->events()->at(1)->recurrenceExceptionDates());
    EXPECT_EQ(made->events()->at(2)->recurrenceParentRecordKey(),
              made->events()->at(1)->recordKey());
}

TEST_F(KTSyncCalendarLoadItems, AnEventWithRuleAndRecurrenceIdIsASeries)
{
    write("a.ics",
          eventLines("SUMMARY:a\nUID:1\nRRULE:FREQ=DAILY\nRECURRENCE-ID:20071225T100000Z"));
    EXPECT_FALSE(loaded()->events()->front()->recurrenceParentRecordKey());
}

TEST_F(KTSyncCalendarLoadItems, OccurrencesWithoutUIDStayUnlinked)
{
    write("a.ics", eventLines("SUMMARY:Serie\nRRULE:FREQ=DAILY") + "\n" +
                       eventLines("SUMMARY:Ausnahme\nRECURRENCE-ID:20071225T100000Z"));
    EXPECT_FALSE(loaded()->events()->at(1)->recurrenceParentRecordKey());
}

TEST_F(KTSyncCalendarLoadItems, AnEmptyUIDLinksLikeAnyOther)
{
    write("a.ics", eventLines("SUMMARY:Reihe\nUID:\nRRULE:FREQ=DAILY") + "\n" +
                       eventLines("SUMMARY:einmal\nUID:\nRECURRENCE-ID:20071225T100000Z"));
    const auto made = loaded();
    ASSERT_EQ(made->events()->size(), 2u);
    EXPECT_EQ(made->events()->at(1)->recurrenceParentRecordKey(),
              made->events()->front()->recordKey());
}

TEST_F(KTSyncCalendarLoadItems, NoUIDIsNotAnEmptyOne)
{
    write("a.ics", eventLines("SUMMARY:ohne\nRRULE:FREQ=DAILY") + "\n" +
                       eventLines("SUMMARY:leer\nUID:\nRECURRENCE-ID:20071225T100000Z") + "\n" +
                       eventLines("SUMMARY:so heißt sie\nUID:(null)\nRRULE:FREQ=WEEKLY") + "\n" +
                       eventLines("SUMMARY:keine\nRECURRENCE-ID:20071225T100000Z"));
    const auto made = loaded();
    for (const auto& event : *made->events())
        EXPECT_EQ(event->recurrenceParentRecordKey(), std::nullopt) << event->title().string();
}

TEST_F(KTSyncCalendarLoadItems, AnUnlinkedOccurrenceKeepsNoOtherFromItsSeries)
{
    write("a.ics", eventLines("SUMMARY:fremd\nUID:2\nRECURRENCE-ID:20071225T100000Z") + "\n" +
                       eventLines("SUMMARY:einmal\nUID:1\nRECURRENCE-ID:20071225T100000Z") + "\n" +
                       eventLines("SUMMARY:Reihe\nUID:1\nRRULE:FREQ=DAILY"));
    const auto made = loaded();
    ASSERT_EQ(made->events()->size(), 3u);
    EXPECT_EQ(made->events()->at(0)->recurrenceParentRecordKey(), std::nullopt);
    EXPECT_EQ(made->events()->at(1)->recurrenceParentRecordKey(),
              made->events()->at(2)->recordKey());
}

TEST_F(KTSyncCalendarLoadItems, AUIDThatOccursTwiceLinksLikeAnyOther)
{
    write("a.ics", eventLines("SUMMARY:Serie\nUID:1\nUID:2\nRRULE:FREQ=DAILY") + "\n" +
                       eventLines("SUMMARY:x\nUID:1\nUID:2\nRECURRENCE-ID:20071225T100000Z") +
                       "\n" + eventLines("SUMMARY:y\nUID:1\nRECURRENCE-ID:20071226T100000Z") +
                       "\n" +
                       eventLines("SUMMARY:z\nUID:(\n    1,\n    2\n)\nRECURRENCE-ID:"
                                  "20071227T100000Z"));
    const auto made = loaded();
    ASSERT_EQ(made->events()->size(), 4u);
    EXPECT_EQ(made->events()->at(1)->recurrenceParentRecordKey(),
              made->events()->at(0)->recordKey());
    EXPECT_FALSE(made->events()->at(2)->recurrenceParentRecordKey());
    EXPECT_FALSE(made->events()->at(3)->recurrenceParentRecordKey());
}

TEST_F(KTSyncCalendarLoadItems, ABrokenEventEndsTheCalendar)
{
    write("a.ics", eventLines("SUMMARY:a") + "\n" + eventLines("SUMMARY:b\nDURATION:P"));
    write("b.ics", eventLines("SUMMARY:c"));
    const auto made = calendar();
    const std::string reason = reasonOfException([&] { made->events(); });
    EXPECT_NE(reason, "");
    EXPECT_THAT(helper.messages(),
                ElementsAre("[ICalCalendar loadEvents] fuer 'Privat': " + reason));
    EXPECT_EQ(helper.fileLog().back(),
              "[ICalCalendar loadEvents(event)]: '(\n    SUMMARY:b,\n"
              "    DURATION:P\n)'\n" +
                  reason);
    EXPECT_THAT(classes.losses(), Contains(loss("a.ics", "Kalender abgebrochen: " + reason)));
}

TEST_F(KTSyncCalendarLoadItems, ABrokenTaskEndsTheCalendar)
{
    write("a.ics", taskLines("SUMMARY:b\nDURATION:P"));
    const auto made = calendar();
    const std::string reason = reasonOfException([&] { made->tasks(); });
    EXPECT_THAT(helper.messages(),
                ElementsAre("[ICalCalendar loadEvents] fuer 'Privat': " + reason));
    EXPECT_EQ(helper.fileLog().back(),
              "[ICalCalendar loadEvents(task)]: '(\n    SUMMARY:b,\n"
              "    DURATION:P\n)'\n" +
                  reason);
}

TEST_F(KTSyncCalendarLoadItems, WhatABrokenCalendarGaveSoFarDoesNotPassForTheWhole)
{
    write("a.ics", eventLines("SUMMARY:a"));
    write("b.ics", eventLines("SUMMARY:b\nDURATION:P"));
    const auto made = calendar();
    EXPECT_THROW(made->events(), Exception);
    EXPECT_THROW(made->events(), Exception);
    write("b.ics", eventLines("SUMMARY:b"));
    EXPECT_THAT(titles(*made), ElementsAre("a", "b"));
}

TEST_F(KTSyncCalendarLoadItems, OtherExceptionsPassUntouched)
{
    write("a.ics", eventLines("X-A:b"));
    helper.script.before = [](std::string_view) { throw 5; };
    const auto made = calendar();
    EXPECT_THROW(made->events(), int);
    EXPECT_THAT(helper.messages(), ElementsAre(StartsWith("Ereignis ohne Beschreibung:")));
}

}  // namespace
}  // namespace kt::test
