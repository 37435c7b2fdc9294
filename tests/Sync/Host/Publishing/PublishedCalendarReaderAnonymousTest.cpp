#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/Sync/Host/Publishing/PublishedCalendarsFixture.h"

namespace kt::test {
namespace {

using testing::IsEmpty;
using testing::SizeIs;

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

}  // namespace
}  // namespace kt::test
