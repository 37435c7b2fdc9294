#include <memory>
#include <set>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libical/ical.h>

#include "Sync/Foundation/Text.h"
#include "Sync/Host/Publishing/PublishedCalendarReader.h"
#include "Sync/Host/Site/CalendarFile.h"
#include "tests/Sync/Host/Publishing/PublishingFixture.h"
#include "tests/support/PlatformScope.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

struct IcalFree {
    void operator()(icalcomponent* component) const { icalcomponent_free(component); }
};
using Component = std::unique_ptr<icalcomponent, IcalFree>;

class CalendarFiles : public testing::Test {
protected:
    std::string file()
    {
        const auto session = server.open();
        return calendarFile(PublishedCalendarReader(*session).calendar("C1").value());
    }
    /// As another library reads it; an error of its own is a failure.
    Component parsed()
    {
        Component component(icalcomponent_new_from_string(file().c_str()));
        EXPECT_NE(component, nullptr);
        EXPECT_EQ(icalcomponent_count_errors(component.get()), 0) << file();
        return component;
    }
    /// Names of all properties in the file.
    std::set<std::string> names()
    {
        std::set<std::string> names;
        const std::string text = file();
        for (const std::string_view line : componentsSeparatedByString(text, "\r\n")) {
            if (!line.empty() && line.front() != ' ')
                names.emplace(line.substr(0, line.find_first_of(":;")));
        }
        return names;
    }

    void fill()
    {
        Dictionary event = eventRecord("Zahnarzt\\, groß", "20071224T100000", "20071224T110000");
        event.set("Location", "Praxis Weiß");
        event.set("Notes", "Weisheitszahn\\nNüchtern!");
        event.set("URL", "https://zahn.example/a;b");
        event.set("Sequence", "4");
        event.set("Attendees", Array{Dictionary{{"Name", "Dr. \"Zahn\""},
                                                {"Address", "mailto:zahn@praxis.example"},
                                                {"Status", "PARTSTAT=ACCEPTED"}}});
        event.set("Alarms",
                  Array{Dictionary{{"Action", "DISPLAY"}, {"RelativeTrigger", "-PT15M"}}});
        event.set("Attachments", Array{Dictionary{{"Data", "ical://attachments/A/roentgen.png"}}});
        event.set("AppleSpecialFields", Dictionary{{"X-WR-SECRET", "geheim"}});
        Dictionary series = eventRecord("Kurs", "20070604T180000", "20070604T193000");
        series.set("RecurrenceRule", ruleRecord("WEEKLY"));
        series.set("ExceptionDates", Array{recordDate("20070611T180000"), recordDate("20070618")});
        Dictionary moved = eventRecord("Kurs im Park", "20070626T180000", "20070626T193000");
        moved.set("RecurrenceId", recordDate("20070625T180000"));
        moved.set("RecurrenceParentRecordKey", "key-E2");
        Dictionary days = eventRecord("Urlaub", "20070801", "20070811");
        days.set("TRANSP", "TRANSPARENT");
        Dictionary task = taskRecord("Steuer");
        task.set("DueDate", recordDate("20080531"));
        task.set("CompletedDate", recordDate("20080530T120000"));
        task.set("Completed", true);
        task.set("Priority", "1");
        Dictionary open = taskRecord("Garten");
        open.set("DueDate", recordDate("20080601T180000"));
        server.putAll({{"ical-event", "key-E1", event},
                       {"ical-event", "key-E2", series},
                       {"ical-event", "key-E3", moved},
                       {"ical-event", "key-E4", days},
                       {"ical-task", "key-T1", task},
                       {"ical-task", "key-T2", open}});
    }

    PlatformScope platform;
    FilledServer server;
};

TEST_F(CalendarFiles, HoldWhatTheCalendarHolds)
{
    fill();
    server.share("EVENTS TASKS ");
    const std::string text = file();
    EXPECT_TRUE(text.starts_with("BEGIN:VCALENDAR\r\nVERSION:2.0\r\n"));
    EXPECT_TRUE(text.ends_with("END:VCALENDAR\r\n"));
    for (const char* line :
         {"X-WR-CALNAME:Verein\r\n", "SUMMARY:Zahnarzt\\, groß\r\n", "LOCATION:Praxis Weiß\r\n",
          "DESCRIPTION:Weisheitszahn\\nNüchtern!\r\n", "URL:https://zahn.example/a;b\r\n",
          "DTSTART;TZID=Europe/Berlin:20071224T100000\r\n",
          "DTEND;TZID=Europe/Berlin:20071224T110000\r\n", "RRULE:FREQ=WEEKLY\r\n",
          "EXDATE;TZID=Europe/Berlin:20070611T180000\r\n",
          "EXDATE;TZID=Europe/Berlin:20070618T180000\r\n",
          "RECURRENCE-ID;TZID=Europe/Berlin:20070625T180000\r\n",
          "DTSTART;VALUE=DATE:20070801\r\nDTEND;VALUE=DATE:20070811\r\nTRANSP:TRANSPARENT\r\n",
          "ATTENDEE;CN=\"Dr. Zahn\":mailto:zahn@praxis.example\r\n",
          "DUE;VALUE=DATE:20080531\r\nSTATUS:COMPLETED\r\nCOMPLETED:20080530T100000Z\r\n"
          "PRIORITY:1\r\n",
          "TZID:Europe/Berlin\r\n"})
        EXPECT_THAT(text, HasSubstr(line));
    for (const char* absent : {"VALARM", "ATTACH:", "X-WR-SECRET", "geheim", "roentgen"})
        EXPECT_THAT(text, Not(HasSubstr(absent)));
}

TEST_F(CalendarFiles, AreNeverWithoutAnyComponent)
{
    server.share("EVENTS  ANON");
    EXPECT_THAT(file(), HasSubstr("BEGIN:VTIMEZONE\r\nTZID:Etc/UTC\r\nBEGIN:STANDARD\r\n"));
    EXPECT_NE(parsed(), nullptr);
    server.put("ical-event", "E1", eventRecord("a", "20071224"));
    EXPECT_THAT(file(), Not(HasSubstr("VTIMEZONE")));
}

TEST_F(CalendarFiles, AreReadByAnotherLibrary)
{
    fill();
    server.share("EVENTS TASKS ");
    const Component calendar = parsed();
    EXPECT_EQ(icalcomponent_count_components(calendar.get(), ICAL_VEVENT_COMPONENT), 4);
    EXPECT_EQ(icalcomponent_count_components(calendar.get(), ICAL_VTODO_COMPONENT), 2);
    EXPECT_EQ(icalcomponent_count_components(calendar.get(), ICAL_VTIMEZONE_COMPONENT), 1);
    icalcomponent* event = icalcomponent_get_first_component(calendar.get(), ICAL_VEVENT_COMPONENT);
    EXPECT_STREQ(icalcomponent_get_summary(event), "Zahnarzt, groß");
    EXPECT_STREQ(icalcomponent_get_description(event), "Weisheitszahn\nNüchtern!");
    EXPECT_STREQ(icaltime_as_ical_string(icaltime_convert_to_zone(icalcomponent_get_dtstart(event),
                                                                  icaltimezone_get_utc_timezone())),
                 "20071224T090000Z");
    icalcomponent_strip_errors(calendar.get());
    EXPECT_EQ(icalrestriction_check(calendar.get()), 1);
}

TEST_F(CalendarFiles, TellNothingButTimesOfAnAnonymousCalendar)
{
    fill();
    server.share("EVENTS TASKS ANON");
    const std::string text = file();
    for (const char* secret : {"Zahn", "Praxis", "Weis", "mailto", "Kurs", "Park", "Urlaub",
                               "Steuer", "Garten", "zahn", "geheim", "key-", "Für alle", "\r\nX-"})
        EXPECT_THAT(text, Not(HasSubstr(secret)));
    EXPECT_THAT(names(), ElementsAre("BEGIN", "CALSCALE", "DTEND", "DTSTAMP", "DTSTART", "DUE",
                                     "END", "EXDATE", "NAME", "PRODID", "RECURRENCE-ID",
                                     "REFRESH-INTERVAL", "RRULE", "SUMMARY", "TRANSP", "TZID",
                                     "TZNAME", "TZOFFSETFROM", "TZOFFSETTO", "UID", "VERSION"));
    EXPECT_THAT(text, HasSubstr("SUMMARY:Belegt\r\nDTSTART:20071224T090000Z\r\n"));
    EXPECT_EQ(icalcomponent_count_components(parsed().get(), ICAL_VEVENT_COMPONENT), 4);
    EXPECT_EQ(icalcomponent_count_components(parsed().get(), ICAL_VTODO_COMPONENT), 1);
}

TEST_F(CalendarFiles, CannotBeBrokenByWhatARecordHolds)
{
    Dictionary event = eventRecord("a\r\nATTENDEE:mailto:x\r\nEND:VEVENT", "20071224T100000");
    event.set("Location", std::string("b\0\x1B[0m\r", 7));
    event.set("URL", "https://x.example/\r\nATTACH:y");
    event.set("TRANSP", "OPAQUE\r\nX-A:1");
    event.set("Sequence", "1\r\nX-B:1");
    event.set("RecurrenceRule", ruleRecord("DAILY\r\nX-C:1"));
    event.set("Attendees", Array{Dictionary{{"Name", "c\"\r\nX-D:1"}, {"Address", "a\r\nX-E:1"}}});
    server.put("ical-event", "E\r\nX-F:1", event);
    server.share("EVENTS  ");
    const std::set<std::string> found = names();
    for (const char* name : {"ATTENDEE", "ATTACH", "X-A", "X-B", "X-C", "X-D", "X-E", "X-F", "URL"})
        EXPECT_FALSE(found.contains(name)) << name;
    EXPECT_EQ(icalcomponent_count_components(parsed().get(), ICAL_VEVENT_COMPONENT), 1);
}

}  // namespace
}  // namespace kt::test
