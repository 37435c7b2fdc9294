#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Host/Publishing/PublishedCalendarReader.h"
#include "tests/Sync/Host/Publishing/PublishingFixture.h"
#include "tests/support/PlatformScope.h"

namespace kt::test {
namespace {

using testing::IsEmpty;
using testing::SizeIs;

class PublishedCalendars : public testing::Test {
protected:
    std::vector<PublishedHead> heads()
    {
        const auto session = server.open();
        return PublishedCalendarReader(*session).heads();
    }
    std::optional<PublishedCalendar> calendar(const std::string& key = "C1")
    {
        const auto session = server.open();
        return PublishedCalendarReader(*session).calendar(key);
    }
    std::optional<std::string> state()
    {
        const auto session = server.open();
        return PublishedCalendarReader(*session).state("C1");
    }

    PlatformScope platform;
    FilledServer server;
};

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

class AnonymousCalendars : public PublishedCalendars {
protected:
    AnonymousCalendars()
    {
        Dictionary record = eventRecord("Zahnarzt", "20071224T100000", "20071224T110000");
        record.set("StartDate", recordDate("20071224T100000", "Asia/Tokyo"));
        record.set("EndDate", recordDate("20071224T110000", "Asia/Tokyo"));
        record.set("Location", "Praxis");
        record.set("Notes", "Weisheitszahn");
        record.set("URL", "https://zahn.example");
        record.set("Sequence", "4");
        record.set("DateStamp", recordDate("20071201T120000", "Etc/UTC"));
        record.set("Attendees", Array{Dictionary{{"Name", "Dr. Zahn"}}});
        server.put("ical-event", "E1", record);
    }
};

TEST_F(AnonymousCalendars, HoldTimesAndNothingElse)
{
    server.share("EVENTS TASKS ANON");
    const PublishedEvent event = calendar()->events.at(0);
    EXPECT_TRUE(event.isAnonymous);
    EXPECT_EQ(event.title + event.location + event.notes + event.url, "");
    EXPECT_EQ(event.sequence, std::nullopt);
    EXPECT_THAT(event.attendees, IsEmpty());
    EXPECT_EQ(event.stamp, "20071201T080000Z");  // when it was made public
    EXPECT_EQ(event.start.text(), "20071224T010000Z");
    EXPECT_EQ(event.end->text(), "20071224T020000Z");
    EXPECT_EQ(calendar()->head.notes, "");
}

TEST_F(AnonymousCalendars, GiveEventsNamesThatStayAndCannotBeGuessed)
{
    server.share("EVENTS  ANON");
    const std::string uid = calendar()->events.at(0).uid;
    EXPECT_EQ(uid.find("E1"), std::string::npos);
    EXPECT_EQ(calendar()->events.at(0).uid, uid);
    server.unshare();
    server.share("EVENTS  ANON", "C1", "another secret");
    EXPECT_NE(calendar()->events.at(0).uid, uid);
}

TEST_F(AnonymousCalendars, KeepTheZoneOfASeriesWhichNeedsIt)
{
    Dictionary series = eventRecord("Kurs", "20071201T100000");
    series.set("RecurrenceRule", ruleRecord("WEEKLY"));
    server.put("ical-event", "E2", series);
    server.share("EVENTS  ANON");
    EXPECT_EQ(calendar()->events.at(0).start.zone, kBerlin);
}

TEST_F(AnonymousCalendars, HideEveryZoneButThatOfASeries)
{
    const auto there = [](const std::string& text) { return recordDate(text, "Asia/Tokyo"); };
    Dictionary single = eventRecord("Zahnarzt", "20071224T100000", "20071224T110000");
    single.set("ExceptionDates", Array{there("20071224T100000")});
    Dictionary series = eventRecord("Kurs", "20071201T100000");
    series.set("EndDate", there("20071201T200000"));
    series.set("RecurrenceRule", ruleRecord("WEEKLY"));
    series.set("ExceptionDates", Array{there("20071208T180000")});
    Dictionary moved = eventRecord("Kurs", "20071216T100000");
    moved.set("StartDate", there("20071216T100000"));
    moved.set("RecurrenceId", there("20071215T180000"));
    moved.set("RecurrenceParentRecordKey", "E3");
    Dictionary lost = moved;
    lost.set("RecurrenceParentRecordKey", "gone");
    server.putAll({{"ical-event", "E2", single},
                   {"ical-event", "E3", series},
                   {"ical-event", "E4", moved},
                   {"ical-event", "E5", lost}});
    server.share("EVENTS  ANON");
    const PublishedCalendar shown = calendar().value();
    for (const PublishedEvent& event : shown.events) {
        std::vector<PublishedDate> dates = event.exceptions;
        dates.push_back(event.start);
        if (event.end)
            dates.push_back(*event.end);
        if (event.recurrenceId)
            dates.push_back(*event.recurrenceId);
        for (const PublishedDate& date : dates)
            EXPECT_NE(date.zone, "Asia/Tokyo");
        EXPECT_EQ(event.exceptions.empty(), !event.rule.has_value());
        if (event.rule) {
            EXPECT_EQ(event.exceptions.at(0).text(), "20071208T100000");
            EXPECT_EQ(event.end->text(), "20071201T120000");
        }
        if (event.recurrenceId) {
            EXPECT_EQ(event.recurrenceId->text(), "20071215T100000");
        }
    }
}

// The keys of records are digests of titles, and their order would tell something of them.
TEST_F(AnonymousCalendars, StandInTheOrderOfTheirTimes)
{
    std::vector<FilledServer::Item> items;
    for (int index = 0; index < 9; ++index)
        items.push_back({"ical-event", "K" + std::to_string(index),
                         eventRecord("a", "2007123" + std::to_string(index % 2) + "T100000")});
    server.putAll(items);
    server.share("EVENTS  ANON");
    const auto events = calendar()->events;
    ASSERT_THAT(events, SizeIs(10));
    for (std::size_t at = 1; at < events.size(); ++at)
        EXPECT_LT(std::pair(events[at - 1].start.instant(), events[at - 1].uid),
                  std::pair(events[at].start.instant(), events[at].uid));
}

TEST_F(AnonymousCalendars, ShowOnlyOpenTasksWithADate)
{
    Dictionary dated = taskRecord("Steuer");
    dated.set("DueDate", recordDate("20080531"));
    Dictionary done = dated;
    done.set("Completed", true);
    server.putAll({{"ical-task", "T1", taskRecord("Irgendwann")},
                   {"ical-task", "T2", dated},
                   {"ical-task", "T3", done}});
    server.share(" TASKS ANON");
    ASSERT_THAT(calendar()->tasks, SizeIs(1));
    EXPECT_EQ(calendar()->tasks[0].title, "");
    EXPECT_EQ(calendar()->tasks[0].due->text(), "20080531");
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
