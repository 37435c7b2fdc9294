#include <algorithm>
#include <fstream>
#include <regex>
#include <string>

#include <SQLiteCpp/SQLiteCpp.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Host/Site/Site.h"
#include "tests/Sync/Host/Publishing/PublishingFixture.h"
#include "tests/support/PlatformScope.h"

namespace kt::test {
namespace {

using testing::HasSubstr;
using testing::Not;

class Sites : public testing::Test {
protected:
    Sites()
    {
        platform.setNow(dateWithISO8601("2007-12-24T09:00:00Z").value());
        server.put("ical-event", "E1",
                   eventRecord("<script>alert(1)</script>", "20071224T100000", "20071224T113000"));
    }

    SiteAnswer get(const std::string& target, const std::string& ifNoneMatch = "",
                   const std::string& method = "GET")
    {
        return site.answer({method, target, ifNoneMatch});
    }
    static std::string header(const SiteAnswer& answer, const std::string& name)
    {
        for (const auto& [key, value] : answer.headers)
            if (key == name)
                return value;
        return "";
    }

    PlatformScope platform;
    FilledServer server;
    Site site{std::make_unique<SqliteServer>(server.path(), std::chrono::milliseconds(50))};
};

TEST_F(Sites, ListWhatIsPublic)
{
    EXPECT_THAT(get("/vl/calendar").bytes(), HasSubstr("Zurzeit ist kein Kalender öffentlich."));
    server.share("EVENTS  ");
    const SiteAnswer listing = get("/vl/calendar");
    EXPECT_EQ(listing.status, 200);
    EXPECT_EQ(listing.contentType, "text/html; charset=utf-8");
    EXPECT_THAT(listing.bytes(), HasSubstr("<a href=\"/vl/calendar/C1\">Verein</a>"));
    EXPECT_THAT(listing.bytes(), HasSubstr("href=\"/vl/calendar/C1.ics\""));
}

TEST_F(Sites, ShowTheMonthThatIsNow)
{
    server.share("EVENTS  ");
    const SiteAnswer page = get("/vl/calendar/C1");
    EXPECT_EQ(page.status, 200);
    EXPECT_THAT(page.bytes(), HasSubstr("Dezember 2007"));
    EXPECT_THAT(page.bytes(), HasSubstr("<td class=\"today\"><a href=\"#tag-2007-12-24\" "
                                        "aria-label=\"Montag, 24. Dezember 2007, 1 Eintrag\">"));
    EXPECT_THAT(page.bytes(), HasSubstr("10:00–11:30"));
    EXPECT_THAT(page.bytes(), HasSubstr("&lt;script&gt;alert(1)&lt;/script&gt;"));
    EXPECT_THAT(page.bytes(), Not(HasSubstr("<script")));
}

TEST_F(Sites, ShowTheMonthAndZoneThatTheViewerWants)
{
    server.share("EVENTS  ");
    const std::string there(get("/vl/calendar/C1?zone=Asia%2FTokyo&month=2007-12").bytes());
    EXPECT_THAT(there, HasSubstr("18:00–19:30"));
    EXPECT_THAT(there, HasSubstr("<option value=\"Asia/Tokyo\" selected=\"\">"));
    EXPECT_THAT(there, HasSubstr("?month=2008-01&amp;zone=Asia%2FTokyo"));
    EXPECT_THAT(get("/vl/calendar/C1?month=2008-01").bytes(),
                HasSubstr("In diesem Monat gibt es keine Termine."));
}

TEST_F(Sites, RefuseMonthsAndZonesThatThereAreNot)
{
    server.share("EVENTS  ");
    for (const char* query :
         {"month=", "month=2007", "month=2007-13", "month=2007-00", "month=1899-12",
          "month=2200-01", "month=2007-12-01", "month=%3Cb%3E", "zone=", "zone=Mars",
          "zone=..%2F..%2Fetc%2Fpasswd", "zone=Europe%2F%2FBerlin", "zone=%2Fetc%2Flocaltime"})
        EXPECT_EQ(get(std::string("/vl/calendar/C1?") + query).status, 400) << query;
    EXPECT_EQ(get("/vl/calendar/C1?month=1900-01").status, 200);
    EXPECT_EQ(get("/vl/calendar/C1?month=2199-12").status, 200);
}

TEST_F(Sites, ServeTheFile)
{
    server.share("EVENTS  ");
    const SiteAnswer file = get("/vl/calendar/C1.ics");
    EXPECT_EQ(file.status, 200);
    EXPECT_EQ(file.contentType, "text/calendar; charset=utf-8");
    EXPECT_TRUE(file.bytes().starts_with("BEGIN:VCALENDAR\r\n"));
}

TEST_F(Sites, HoldAFileOnceForAllWhoReadIt)
{
    server.share("EVENTS  ");
    const SiteAnswer first = get("/vl/calendar/C1.ics");
    EXPECT_EQ(get("/vl/calendar/C1.ics").body, first.body);
}

TEST_F(Sites, SendNothingAgainThatTheClientHas)
{
    server.share("EVENTS  ");
    for (const char* target : {"/vl/calendar", "/vl/calendar/C1", "/vl/calendar/C1.ics"}) {
        const std::string tag = header(get(target), "ETag");
        ASSERT_FALSE(tag.empty());
        for (const std::string& known : {tag, "\"x\", W/" + tag, std::string("*")}) {
            const SiteAnswer again = get(target, known);
            EXPECT_EQ(again.status, 304) << target << ' ' << known;
            EXPECT_EQ(again.bytes(), "");
            EXPECT_EQ(header(again, "ETag"), tag);
        }
        EXPECT_EQ(get(target, "\"x\"").status, 200);
        EXPECT_EQ(header(get(target), "Cache-Control"), "no-cache");
    }
    const std::string before = header(get("/vl/calendar/C1.ics"), "ETag");
    server.put("ical-event", "E2", eventRecord("Neu", "20071225T100000"));
    EXPECT_EQ(get("/vl/calendar/C1.ics", before).status, 200);
}

TEST_F(Sites, ForgetAtOnceWhatIsNoLongerPublic)
{
    server.share("EVENTS  ");
    const std::string tag = header(get("/vl/calendar/C1.ics"), "ETag");
    EXPECT_EQ(get("/vl/calendar/C1").status, 200);
    server.unshare();
    EXPECT_EQ(get("/vl/calendar/C1").status, 404);
    EXPECT_EQ(get("/vl/calendar/C1.ics").status, 404);
    EXPECT_EQ(get("/vl/calendar/C1.ics", tag).status, 404);
    EXPECT_THAT(get("/vl/calendar").bytes(), Not(HasSubstr("Verein")));
}

TEST_F(Sites, ChangeAtOnceToAnonymous)
{
    server.share("EVENTS  ");
    EXPECT_THAT(get("/vl/calendar/C1.ics").bytes(), HasSubstr("alert"));
    server.share("EVENTS  ANON");
    EXPECT_THAT(get("/vl/calendar/C1.ics").bytes(), Not(HasSubstr("alert")));
    const std::string page(get("/vl/calendar/C1").bytes());
    EXPECT_THAT(page, Not(HasSubstr("alert")));
    EXPECT_THAT(page, HasSubstr("Belegt"));
}

TEST_F(Sites, AnswerHeadAsGet)
{
    server.share("EVENTS  ");
    const SiteAnswer head = get("/vl/calendar/C1.ics", "", "HEAD");
    EXPECT_EQ(head.status, 200);
    EXPECT_EQ(header(head, "ETag"), header(get("/vl/calendar/C1.ics"), "ETag"));
}

TEST_F(Sites, OnlyLetThemselvesBeRead)
{
    for (const char* method : {"POST", "PUT", "DELETE", "OPTIONS", "PATCH", "TRACE", "CONNECT"}) {
        const SiteAnswer answer = get("/vl/calendar", "", method);
        EXPECT_EQ(answer.status, 405) << method;
        EXPECT_EQ(header(answer, "Allow"), "GET, HEAD");
    }
}

TEST_F(Sites, SayOfAMethodThatNobodyKnowsThatItIsNone)
{
    for (const char* method : {"PROPFIND", "get", "NONSENSE"})
        EXPECT_EQ(get("/vl/calendar", "", method).status, 501) << method;
}

TEST_F(Sites, SendTheirSafeguardsWithEveryAnswer)
{
    for (const char* target : {"/", "/vl/calendar", "/vl/calendar.css", "/nichts", "/%"}) {
        const SiteAnswer answer = get(target);
        EXPECT_THAT(header(answer, "Content-Security-Policy"),
                    HasSubstr("default-src 'none'; style-src 'self'"));
        EXPECT_THAT(header(answer, "Content-Security-Policy"), HasSubstr("frame-ancestors 'none'"));
        EXPECT_EQ(header(answer, "X-Content-Type-Options"), "nosniff");
        EXPECT_EQ(header(answer, "Referrer-Policy"), "no-referrer");
    }
}

TEST_F(Sites, LeadFromTheRootToTheList)
{
    for (const char* target : {"/", "/vl", "/vl/", "/vl/calendar/"}) {
        EXPECT_EQ(get(target).status, 302) << target;
        EXPECT_EQ(header(get(target), "Location"), "/vl/calendar");
    }
}

TEST_F(Sites, SayWhyThereIsNoPage)
{
    EXPECT_EQ(get("/nichts").status, 404);
    EXPECT_EQ(get("/vl/calendar/C2").status, 404);
    EXPECT_EQ(get("/vl/calendar/a%00b").status, 400);
    EXPECT_THAT(get("/nichts").bytes(), HasSubstr("<h1>Seite nicht gefunden</h1>"));
}

TEST_F(Sites, HaveNothingToShowForAnAccountThatIsSwitchedOff)
{
    server.share("EVENTS  ");
    SqliteServer(server.path()).setAccountEnabled("default", false);
    EXPECT_EQ(get("/vl/calendar/C1").status, 404);
    EXPECT_THAT(get("/vl/calendar").bytes(), Not(HasSubstr("Verein")));
}

TEST_F(Sites, AskForPatienceWhenTheServerFails)
{
    Site broken(std::make_unique<SqliteServer>("/nonexistent/folder/server.db"));
    const SiteAnswer answer = broken.answer({"GET", "/vl/calendar", ""});
    EXPECT_EQ(answer.status, 503);
    EXPECT_EQ(header(answer, "Retry-After"), "60");
    EXPECT_THAT(answer.bytes(), Not(HasSubstr("/nonexistent")));
}

TEST_F(Sites, AskForPatienceWhileTheFileIsOfAnotherVersionOrDamaged)
{
    server.share("EVENTS  ");
    const auto run = [&](const char* statements) {
        SQLite::Database(server.path(), SQLite::OPEN_READWRITE).exec(statements);
    };
    run("DROP TABLE sharings; DROP INDEX records_by_parent; PRAGMA user_version = 1");
    const std::string older = server.bytes();
    EXPECT_EQ(get("/vl/calendar").status, 503);
    EXPECT_EQ(get("/vl/calendar/C1").status, 503);
    EXPECT_EQ(server.bytes(), older);
    server.share("EVENTS  ");  // whoever writes brings it up to date
    EXPECT_EQ(get("/vl/calendar/C1").status, 200);
    run("PRAGMA user_version = 99");
    EXPECT_EQ(get("/vl/calendar/C1").status, 503);
    run("PRAGMA user_version = 2; PRAGMA application_id = 1");
    EXPECT_EQ(get("/vl/calendar/C1").status, 503);
    std::ofstream(server.path(), std::ios::binary)
        << older.substr(0, 2000) << std::string(9000, 'x');
    EXPECT_EQ(get("/vl/calendar/C1").status, 503);
    std::ofstream(server.path(), std::ios::binary) << "no database";
    EXPECT_EQ(get("/vl/calendar").status, 503);
}

TEST_F(Sites, AreReadWhileASyncIsUnderWay)
{
    server.share("EVENTS  ");
    const auto sync = server.open(ServerAccess::readWrite);
    EXPECT_EQ(get("/vl/calendar/C1").status, 200);
    // Far more than the database keeps in its cache.
    std::vector<ServerWrite> writes(5000);
    for (std::size_t index = 0; index < writes.size(); ++index) {
        writes[index].id = {"ical-event", "N" + std::to_string(index)};
        writes[index].hash = "h";
        writes[index].content.assign(4000, 'x');
    }
    sync->write(writes);
    EXPECT_EQ(get("/vl/calendar/C1").status, 200);
    EXPECT_EQ(get("/vl/calendar").status, 200);
    sync->commit();
    EXPECT_EQ(get("/vl/calendar/C1").status, 200);
}

TEST_F(Sites, LeaveTheServerAsItIs)
{
    server.share("EVENTS  ");
    const std::string before = server.bytes();
    get("/vl/calendar");
    get("/vl/calendar/C1");
    get("/vl/calendar/C1.ics");
    EXPECT_EQ(server.bytes(), before);
}

TEST_F(Sites, BuildPagesOfMatchingTagsOnly)
{
    Dictionary series = eventRecord("Chor", "20071203T180000", "20071203T193000");
    series.set("RecurrenceRule", ruleRecord("WEEKLY"));
    Dictionary event = eventRecord("Fest", "20071229", "20080103");
    event.set("Notes", "a\\nb & <c>");
    event.set("URL", "javascript:alert(1)");
    Dictionary task = taskRecord("Noten <kopieren>");
    task.set("DueDate", recordDate("20071231T120000"));
    server.putAll(
        {{"ical-event", "E2", series}, {"ical-event", "E3", event}, {"ical-task", "T1", task}});
    server.share("EVENTS TASKS ");
    const std::string page(get("/vl/calendar/C1?month=2007-12&zone=Europe%2FBerlin").bytes());
    EXPECT_THAT(page, Not(HasSubstr("javascript:")));
    std::vector<std::string> open;
    static const std::regex kTag("<(/?)([a-z0-9]+)[^>]*>");
    for (std::sregex_iterator tag(page.begin(), page.end(), kTag), end; tag != end; ++tag) {
        const std::string name = (*tag)[2];
        if (name == "meta" || name == "link" || name == "input" || name == "br")
            continue;
        if ((*tag)[1].length() == 0) {
            open.push_back(name);
            continue;
        }
        ASSERT_FALSE(open.empty());
        EXPECT_EQ(open.back(), name);
        open.pop_back();
    }
    EXPECT_TRUE(open.empty());
    for (const char* part :
         {"<html lang=\"de\">", "<th scope=\"col\">", "<th scope=\"row\">49</th>",
          "<main id=\"inhalt\">", "href=\"#inhalt\"", "<nav ", "<h1>", "<header "})
        EXPECT_THAT(page, HasSubstr(part));
}

TEST_F(Sites, SayThatWhatRepeatsByTheHourStandsWhereItBegins)
{
    const std::string note = "Was sich stündlich oder öfter wiederholt, steht hier nur an seinem";
    server.share("EVENTS  ");
    EXPECT_THAT(get("/vl/calendar/C1?month=2007-12").bytes(), Not(HasSubstr(note)));
    Dictionary pills = eventRecord("Tropfen", "20071227T080000");
    Dictionary rule = ruleRecord("HOURLY");
    rule.set("UntilDate", recordDate("20080115T080000"));
    pills.set("RecurrenceRule", rule);
    server.put("ical-event", "E2", pills);
    const SiteAnswer first = get("/vl/calendar/C1?month=2007-12&zone=Europe%2FBerlin");
    EXPECT_THAT(first.bytes(), HasSubstr(note));
    const std::string_view agenda = first.bytes().substr(first.bytes().find("id=\"agenda\""));
    EXPECT_EQ(agenda.find("Tropfen"), agenda.rfind("Tropfen"));
    EXPECT_THAT(get("/vl/calendar/C1?month=2008-01").bytes(), HasSubstr(note));
    EXPECT_THAT(get("/vl/calendar/C1?month=2008-03").bytes(), Not(HasSubstr(note)));
    EXPECT_THAT(get("/vl/calendar/C1?month=2007-10").bytes(), Not(HasSubstr(note)));
    EXPECT_THAT(get("/vl/calendar/C1.ics").bytes(), HasSubstr("RRULE:FREQ=HOURLY;UNTIL="));
}

TEST_F(Sites, SendPagesOfABoundedSize)
{
    const std::string much(30'000, '<');
    Array hours;
    for (int hour = 0; hour < 24; ++hour)
        hours.push_back(hour);
    const Dictionary everyHour = ruleRecord("DAILY", {{"ByHours", hours}});
    std::vector<FilledServer::Item> items;
    for (int index = 0; index < 12; ++index) {
        Dictionary series = eventRecord(much, "20071201T000000", "20080201T003000");
        series.set("Location", much);
        series.set("Notes", much);
        series.set("Attendees", Array(60, Value(Dictionary{{"Name", much.substr(0, 500)}})));
        series.set("RecurrenceRule", everyHour);
        items.push_back({"ical-event", "S" + std::to_string(index), series});
    }
    Dictionary record = calendarRecord(much);
    record.set("Notes", much);
    items.push_back({"ical-calendar", "C1", record});
    server.putAll(items);
    server.share("EVENTS  ");
    const SiteAnswer page = get("/vl/calendar/C1");
    EXPECT_EQ(page.status, 200);
    EXPECT_LT(page.bytes().size(), 10U * 1024 * 1024);
    EXPECT_THAT(page.bytes(),
                HasSubstr("Weitere Termine dieses Monats stehen in der Kalenderdatei."));
    EXPECT_LT(get("/vl/calendar").bytes().size(), 20'000U);
}

TEST_F(Sites, CutLongDaysShortInTheGridAndNotInTheAgenda)
{
    std::vector<FilledServer::Item> items;
    for (int index = 0; index < 9; ++index)
        items.push_back({"ical-event", "M" + std::to_string(index),
                         eventRecord("Termin" + std::to_string(index), "20071227T100000")});
    server.putAll(items);
    server.share("EVENTS  ");
    const std::string page(get("/vl/calendar/C1").bytes());
    EXPECT_THAT(page, HasSubstr("+ 6 weitere"));
    EXPECT_THAT(page.substr(page.find("id=\"agenda\"")), HasSubstr("Termin8"));
}

}  // namespace
}  // namespace kt::test
