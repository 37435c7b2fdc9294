#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/Sync/Host/Publishing/PlainServer.h"
#include "tests/Sync/Host/Publishing/PublishedCalendarsFixture.h"

namespace kt::test {
namespace {

using testing::IsEmpty;
using testing::SizeIs;

TEST_F(PublishedCalendars, AreOnlyThoseThatWereMadePublic)
{
    server.put("ical-calendar", "C2", calendarRecord("Privat"));
    EXPECT_THAT(heads(), IsEmpty());
    EXPECT_EQ(calendar(), std::nullopt);
    server.share("EVENTS  ");
    ASSERT_THAT(heads(), SizeIs(1));
    EXPECT_EQ(heads()[0].key, "C1");
    EXPECT_EQ(heads()[0].title, "Verein");
    EXPECT_EQ(heads()[0].notes, "Für alle");
    EXPECT_EQ(heads()[0].color, "#0E61B9");
    EXPECT_TRUE(calendar().has_value());
    EXPECT_EQ(calendar("C2"), std::nullopt);
    server.unshare();
    EXPECT_EQ(calendar(), std::nullopt);
}

TEST_F(PublishedCalendars, AreNoneOnAServerThatMakesNothingPublic)
{
    PlainServer::Session session;
    PublishedCalendarReader reader(session);
    EXPECT_THAT(reader.heads(), IsEmpty());
    EXPECT_EQ(reader.calendar("C1"), std::nullopt);
}

TEST_F(PublishedCalendars, AreGoneWhenTheyAreDeleted)
{
    server.share("EVENTS  ");
    server.erase("ical-calendar", "C1");
    EXPECT_THAT(heads(), IsEmpty());
    EXPECT_EQ(calendar(), std::nullopt);
}

TEST_F(PublishedCalendars, WaitForTheirRecord)
{
    server.share("EVENTS  ", "C9");
    EXPECT_THAT(heads(), IsEmpty());
    Dictionary record = calendarRecord("Neu");
    record.set("Order", 0);
    server.put("ical-calendar", "C9", record);
    EXPECT_THAT(heads(), SizeIs(1));
}

TEST_F(PublishedCalendars, StandInTheirOwnersOrder)
{
    for (const auto& [key, order] : {std::pair("C2", 0), std::pair("C3", 2)}) {
        Dictionary record = calendarRecord(key);
        record.set("Order", order);
        server.put("ical-calendar", key, record);
        server.share("EVENTS", key);
    }
    server.share("EVENTS");
    ASSERT_THAT(heads(), SizeIs(3));
    EXPECT_EQ(heads()[0].key, "C2");
    EXPECT_EQ(heads()[1].key, "C1");
}

TEST_F(PublishedCalendars, AreNeverGroups)
{
    Dictionary group = calendarRecord("Gruppe");
    group.set("Type", "CalendarGroup");
    server.put("ical-calendar", "G", group);
    server.share("EVENTS", "G");
    EXPECT_THAT(heads(), IsEmpty());
}

TEST_F(PublishedCalendars, HoldWhatWasChosen)
{
    server.put("ical-event", "E1", eventRecord("Chor", "20071224T100000"));
    server.put("ical-task", "T1", taskRecord("Noten"));
    server.share("EVENTS  ");
    EXPECT_THAT(calendar()->events, SizeIs(1));
    EXPECT_THAT(calendar()->tasks, IsEmpty());
    server.share(" TASKS ");
    EXPECT_THAT(calendar()->events, IsEmpty());
    EXPECT_THAT(calendar()->tasks, SizeIs(1));
}

TEST_F(PublishedCalendars, ShowNoItemOfAnotherCalendarAndNoDeletedOne)
{
    Dictionary foreign = eventRecord("Geheim", "20071224T100000");
    foreign.set("ParentRecordKey", "C2");
    server.put("ical-event", "E2", foreign);
    server.put("ical-event", "E1", eventRecord("Weg", "20071224T100000"));
    server.erase("ical-event", "E1");
    server.share("EVENTS  ");
    EXPECT_THAT(calendar()->events, IsEmpty());
}

TEST_F(PublishedCalendars, ReadAnEventWhole)
{
    Dictionary record = eventRecord("Chor\\, groß", "20071224T100000", "20071224T113000");
    record.set("Location", "Kirche");
    record.set("Notes", "Zeile 1\\nZeile 2");
    record.set("URL", "https://chor.example");
    record.set("Sequence", "4");
    record.set("TRANSP", "TRANSPARENT");
    record.set("DateStamp", recordDate("20071201T120000", "Etc/UTC"));
    record.set("Attendees", Array{Dictionary{{"Name", "Anna"}, {"Address", "mailto:a@x.example"}}});
    server.put("ical-event", "E1", record);
    server.share("EVENTS  ");
    const PublishedEvent event = calendar()->events.at(0);
    EXPECT_EQ(event.uid, "E1");
    EXPECT_EQ(event.title, "Chor, groß");
    EXPECT_EQ(event.location, "Kirche");
    EXPECT_EQ(event.notes, "Zeile 1\nZeile 2");
    EXPECT_EQ(event.url, "https://chor.example");
    EXPECT_EQ(event.sequence, 4);
    EXPECT_EQ(event.stamp, "20071201T120000Z");
    EXPECT_TRUE(event.isTransparent);
    EXPECT_EQ(event.start.text(), "20071224T100000");
    EXPECT_EQ(event.end->text(), "20071224T113000");
    EXPECT_EQ(event.attendees.at(0).name, "Anna");
}

TEST_F(PublishedCalendars, KnowEndsAndDurations)
{
    Dictionary withDuration = eventRecord("a", "20071224T100000");
    withDuration.set("Duration", Array{Value(0), Value(1), Value(2), Value(0), Value(5)});
    server.put("ical-event", "E1", withDuration);
    server.put("ical-event", "E2", eventRecord("b", "20071224T100000", "20071224T090000"));
    server.put("ical-event", "E3", eventRecord("c", "20071224", "20071226"));
    server.put("ical-event", "E4", eventRecord("d", "20071224", "20071225T120000"));
    server.share("EVENTS  ");
    const auto events = calendar()->events;
    ASSERT_THAT(events, SizeIs(4));
    EXPECT_EQ(events[0].end->text(), "20071225T120005");
    EXPECT_EQ(events[1].end, std::nullopt);
    EXPECT_EQ(events[2].end->text(), "20071226");
    EXPECT_EQ(events[3].end->text(), "20071226");
}

TEST_F(PublishedCalendars, TieADetachedOccurrenceToItsSeries)
{
    Dictionary series = eventRecord("Chor", "20071201T100000");
    series.set("RecurrenceRule", ruleRecord("WEEKLY"));
    Dictionary moved = eventRecord("Chor", "20071209T140000");
    moved.set("RecurrenceId", recordDate("20071208T100000"));
    moved.set("RecurrenceParentRecordKey", "E1");
    Dictionary orphan = moved;
    orphan.set("RecurrenceParentRecordKey", "gone");
    server.putAll(
        {{"ical-event", "E1", series}, {"ical-event", "E2", moved}, {"ical-event", "E3", orphan}});
    server.share("EVENTS  ");
    const auto events = calendar()->events;
    ASSERT_THAT(events, SizeIs(3));
    EXPECT_EQ(events[1].uid, "E1");
    EXPECT_EQ(events[1].recurrenceId->text(), "20071208T100000");
    EXPECT_EQ(events[2].uid, "E3");
    EXPECT_EQ(events[2].recurrenceId, std::nullopt);
}

TEST_F(PublishedCalendars, CountTimeThatPassesAndDaysByTheClock)
{
    struct Row {
        std::string start;
        Array duration;
        std::string end;
    };
    const Row rows[] = {
        {"20070325T013000", {Value(0), Value(0), Value(2), Value(0), Value(0)}, "20070325T043000"},
        {"20070324T013000", {Value(0), Value(1), Value(2), Value(0), Value(0)}, "20070325T043000"},
        {"20070324T013000", {Value(0), Value(1), Value(0), Value(0), Value(0)}, "20070325T013000"},
        {"20071028T013000", {Value(0), Value(0), Value(2), Value(0), Value(0)}, "20071028T023000"},
        {"20071024", {Value(1), Value(0), Value(5), Value(0), Value(0)}, "20071031"},
    };
    server.share("EVENTS  ");
    for (const Row& row : rows) {
        Dictionary record = eventRecord("a", row.start);
        record.set("Duration", row.duration);
        server.put("ical-event", "E1", record);
        ASSERT_TRUE(calendar()->events.at(0).end) << row.start;
        EXPECT_EQ(calendar()->events.at(0).end->text(), row.end) << row.start;
    }
    Dictionary record = eventRecord("a", "20071024T100000");
    record.set("Duration", Array{Value(2'147'483'647), Value(0), Value(2'147'483'647)});
    server.put("ical-event", "E1", record);
    EXPECT_TRUE(calendar()->events.at(0).end);
}

TEST_F(PublishedCalendars, NameStartsOfASeriesAsTheSeriesDoes)
{
    struct Row {
        Value seriesStart;
        Value replaced;
        std::string text;
    };
    const Row rows[] = {
        {recordDate("20071201T100000"), recordDate("20071208T100000"), "20071208T100000"},
        {recordDate("20071201T100000"), recordDate("20071208T090000", "Etc/UTC"),
         "20071208T100000"},
        {recordDate("20071201T100000"), recordDate("20071208T180000", "Asia/Tokyo"),
         "20071208T100000"},
        {recordDate("20071201T100000"), recordDate("20071208"), "20071208T100000"},
        {recordDate("20071201"), recordDate("20071208T100000"), "20071208"},
        {recordDate("20071201"), recordDate("20071208"), "20071208"},
    };
    server.share("EVENTS  ");
    for (const Row& row : rows) {
        Dictionary series{{"Title", "Chor"},
                          {"ParentRecordKey", "C1"},
                          {"StartDate", row.seriesStart},
                          {"RecurrenceRule", ruleRecord("WEEKLY")},
                          {"ExceptionDates", Array{row.replaced}}};
        Dictionary moved = eventRecord("Chor", "20071209T140000");
        moved.set("RecurrenceId", row.replaced);
        moved.set("RecurrenceParentRecordKey", "E2");
        server.putAll({{"ical-event", "E2", series}, {"ical-event", "E3", moved}});
        const auto events = calendar()->events;
        ASSERT_THAT(events, SizeIs(2));
        EXPECT_EQ(events[0].exceptions.at(0).text(), row.text);
        EXPECT_EQ(events[0].exceptions.at(0).zone, events[0].start.zone);
        EXPECT_EQ(events[1].recurrenceId->text(), row.text);
        EXPECT_EQ(events[1].recurrenceId->zone, events[0].start.zone);
    }
}

TEST_F(PublishedCalendars, GiveOneNameToOneEvent)
{
    Dictionary series = eventRecord("Chor", "20071201T100000");
    series.set("RecurrenceRule", ruleRecord("WEEKLY"));
    Dictionary endless = series;
    endless.remove("StartDate");
    Dictionary nameless = eventRecord("Chor", "20071209T140000");
    nameless.set("RecurrenceParentRecordKey", "E1");
    Dictionary left = nameless;
    left.set("RecurrenceId", recordDate("20071208T100000"));
    left.set("RecurrenceParentRecordKey", "E2");
    server.putAll({{"ical-event", "E1", series},
                   {"ical-event", "E2", endless},
                   {"ical-event", "E3", nameless},
                   {"ical-event", "E4", left}});
    server.share("EVENTS  ");
    std::vector<std::string> names;
    const PublishedCalendar shown = calendar().value();
    for (const PublishedEvent& event : shown.events) {
        names.push_back(event.uid);
        EXPECT_EQ(event.recurrenceId, std::nullopt);
    }
    EXPECT_THAT(names, testing::ElementsAre("E1", "E3", "E4"));
}

TEST_F(PublishedCalendars, TakeTextsThatAreNoFieldsOfAFileAsTheyStand)
{
    Dictionary record = calendarRecord("A\\B, C\nD");
    record.set("Notes", "C:\\neu");
    server.put("ical-calendar", "C1", record);
    Dictionary event = eventRecord("Chor", "20071201T100000");
    event.set("Attendees",
              Array{Dictionary{{"Name", "A\\B"}, {"Address", "mailto:a\\b@x.example"}}});
    server.put("ical-event", "E1", event);
    server.share("EVENTS  ");
    EXPECT_EQ(calendar()->head.title, "A\\B, C\nD");
    EXPECT_EQ(calendar()->head.notes, "C:\\neu");
    EXPECT_EQ(calendar()->events.at(0).attendees.at(0).name, "A\\B");
    EXPECT_EQ(calendar()->events.at(0).attendees.at(0).address, "mailto:a\\b@x.example");
}

TEST_F(PublishedCalendars, PassOverWhatCannotBeShown)
{
    Dictionary wrong = eventRecord("a", "20071224T100000");
    wrong.set("Duration", Array{Value(Dictionary{})});
    Dictionary endless{{"Title", "b"}, {"ParentRecordKey", "C1"}};
    server.putAll({{"ical-event", "E1", wrong},
                   {"ical-event", "E2", endless},
                   {"ical-event", "E3", eventRecord("c", "20071224T100000")}});
    server.share("EVENTS  ");
    ASSERT_THAT(calendar()->events, SizeIs(1));
    EXPECT_EQ(calendar()->events[0].title, "c");
}

TEST_F(PublishedCalendars, ChangeTheirStateWithWhateverTheyShow)
{
    EXPECT_EQ(state(), std::nullopt);
    server.share("EVENTS  ");
    const auto first = state();
    EXPECT_EQ(state(), first);
    server.share("EVENTS TASKS ");
    const auto second = state();
    EXPECT_NE(second, first);
    server.put("ical-event", "E1", eventRecord("a", "20071224"));
    EXPECT_NE(state(), second);
}

}  // namespace
}  // namespace kt::test
