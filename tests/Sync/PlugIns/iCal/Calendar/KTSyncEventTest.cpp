#include "Sync/Foundation/Digest.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncEvent.h"
#include "tests/Sync/PlugIns/iCal/Calendar/ModelFixture.h"

namespace kt::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

class KTSyncEventTest : public ModelFixture {
protected:
    static Dictionary record()
    {
        return Dictionary{{"Title", "Fest"},
                          {"ParentRecordKey", kParentKey},
                          {"StartDate", date("20071224T100000")}};
    }
    std::string uniquenessKey(const std::string& lines) { return *event(lines)->uniquenessKey(); }
};

const std::string_view kFullEvent =
    "SUMMARY:Fest\n"
    "DTSTART;TZID=Europe/Berlin:20071224T100000\n"
    "LOCATION:Halle\n"
    "TRANSP:OPAQUE\n"
    "DTEND;TZID=Europe/Berlin:20071224T120000\n"
    "RRULE:FREQ=DAILY;COUNT=3\n"
    "DURATION:PT2H\n"
    "EXDATE;TZID=Europe/Berlin:20071225T100000,20071226T100000\n"
    "RECURRENCE-ID;TZID=Europe/Berlin:20071224T090000\n"
    "ATTENDEE;CN=\"Max\":mailto:max\n"
    "ATTENDEE;CN=\"Ute\";RSVP=TRUE:mailto:ute";

TEST_F(KTSyncEventTest, ReadsItsOwnProperties)
{
    const auto read = event(kFullEvent);
    EXPECT_EQ(read->location(), Value("Halle"));
    EXPECT_FALSE(read->isAllDay());
    EXPECT_EQ(read->endDate()->iCalDate(), "20071224T120000");
    EXPECT_EQ(read->recurrenceRule()->recurrenceRule(), "FREQ=DAILY;COUNT=3;INTERVAL=1");
    EXPECT_EQ(read->recurrenceId()->iCalDate(), "20071224T090000");
    EXPECT_EQ(read->attendees()->size(), 2u);
    EXPECT_FALSE(read->recurrenceParentRecordKey());
    EXPECT_FALSE(read->recurrenceExceptionDates());
}

TEST_F(KTSyncEventTest, RecordHoldsItsOwnKeysInTheirOrderBehindTheSharedOnes)
{
    const auto read = event(std::string(kFullEvent) + "\nDTSTART;VALUE=DATE:20071224");
    read->setRecurrenceParentRecordKey("series");
    read->addRecurrenceExceptionDate(date("20071227"));
    EXPECT_THAT(keysOf(read->syncRecord()),
                ElementsAre("Title", "Sequence", "StartDate", "ParentRecordKey", "Timezone",
                            "Location", "TRANSP", "EndDate", "AllDay", "RecurrenceRule",
                            "ExceptionDates", "Duration", "RecurrenceId",
                            "RecurrenceParentRecordKey", "RecurrenceExceptionDates", "Attendees"));
}

struct Row {
    std::string_view key;
    std::function<Value()> expected;
};
Value enhanced(std::string_view text)
{
    return KTSyncCalendarTools::parseICalDate(Value(text), "Europe/Berlin", nullptr);
}
class KTSyncEventRecord : public KTSyncEventTest, public testing::WithParamInterface<Row> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, KTSyncEventRecord,
    testing::Values(
        Row{"Location", [] { return "Halle"; }}, Row{"TRANSP", [] { return "OPAQUE"; }},
        Row{"EndDate", [] { return enhanced("20071224T120000"); }},
        Row{"RecurrenceRule",
            [] {
                return Dictionary{{"Frequency", "DAILY"}, {"Interval", 1}, {"Count", 3}};
            }},
        Row{"ExceptionDates",
            [] {
                return Array{enhanced("20071225T100000"), enhanced("20071226T100000")};
            }},
        Row{"Duration",
            [] {
                return Array{0, 0, 2, 0, 0};
            }},
        Row{"RecurrenceId", [] { return enhanced("20071224T090000"); }},
        Row{"RecurrenceParentRecordKey", [] { return "series"; }},
        Row{"RecurrenceExceptionDates", [] { return Array{enhanced("20071227")}; }},
        Row{"Attendees", [] {
                return Array{Dictionary{{"Name", "Max"}, {"Address", "mailto:max"}, {"Status", ""}},
                             Dictionary{{"Name", "Ute"},
                                        {"Address", "mailto:ute"},
                                        {"Status", "RSVP=TRUE"}}};
            }}));
TEST_P(KTSyncEventRecord, HoldsTheValue)
{
    const auto read = event(kFullEvent);
    read->setRecurrenceParentRecordKey("series");
    read->addRecurrenceExceptionDate(date("20071227"));
    const Value held = read->syncRecord()[GetParam().key];
    EXPECT_EQ(held, GetParam().expected()) << held.description();
}
TEST_P(KTSyncEventRecord, ComesBackFromARecord)
{
    Dictionary given = record();
    given.set(GetParam().key, GetParam().expected());
    EXPECT_EQ(eventOf(given)->syncRecord()[GetParam().key], GetParam().expected());
}
TEST_P(KTSyncEventRecord, IsLeftOutWhereThereIsNone)
{
    EXPECT_FALSE(event("SUMMARY:Fest")->syncRecord().contains(GetParam().key));
    EXPECT_FALSE(eventOf(record())->syncRecord().contains(GetParam().key));
}

TEST_F(KTSyncEventTest, LinesStandInOneFixedOrder)
{
    EXPECT_EQ(event(kFullEvent)->iCalLines(),
              "BEGIN:VEVENT\r\n"
              "LOCATION:Halle\r\n"
              "TRANSP:OPAQUE\r\n"
              "DTEND;TZID=Europe/Berlin:20071224T120000\r\n"
              "RRULE:FREQ=DAILY;COUNT=3;INTERVAL=1\r\n"
              "DURATION:PT2H\r\n"
              "EXDATE;TZID=Europe/Berlin:20071225T100000\r\n"
              "EXDATE;TZID=Europe/Berlin:20071226T100000\r\n"
              "RECURRENCE-ID;TZID=Europe/Berlin:20071224T090000\r\n"
              "ATTENDEE;CN=\"Max\":mailto:max\r\n"
              "ATTENDEE;CN=\"Ute\";RSVP=TRUE:mailto:ute\r\n"
              "SUMMARY:Fest\r\n"
              "SEQUENCE:1\r\n"
              "DTSTART;TZID=Europe/Berlin:20071224T100000\r\n"
              "UID:" +
                  *event(kFullEvent)->recordKey() +
                  "\r\n"
                  "END:VEVENT\r\n");
}

TEST_F(KTSyncEventTest, ATitleIsSuppliedAndItsLackLogged)
{
    const auto read = event("DTSTART;TZID=Europe/Berlin:20071224T100000\nX-A:b");
    EXPECT_EQ(read->title(), Value(""));
    ASSERT_EQ(helper.messages().size(), 1u);
    EXPECT_THAT(helper.messages().front(), StartsWith("Ereignis ohne Beschreibung:\n{\n"));
    EXPECT_THAT(helper.messages().front(), HasSubstr("X-A = b;"));
    EXPECT_EQ(read->recordKey(), sha1DigestHex("20071224T10:00:001parent"));
}

TEST_F(KTSyncEventTest, AnEmptyTitleIsOne)
{
    EXPECT_EQ(event("SUMMARY:")->title(), Value(""));
    EXPECT_THAT(helper.messages(), IsEmpty());
}

struct KeyRow {
    std::string_view lines;
    std::string_view digested;
};
class KTSyncEventRecordKey : public KTSyncEventTest, public testing::WithParamInterface<KeyRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, KTSyncEventRecordKey,
    testing::Values(
        KeyRow{"SUMMARY:Fest\nDTSTART;TZID=Europe/Berlin:20071224T100000\nSEQUENCE:7",
               "Fest20071224T10:00:007parent"},
        KeyRow{"SUMMARY:Fest\nDTSTART;VALUE=DATE:20071224", "Fest20071224T00:00:001parent"},
        KeyRow{"SUMMARY:Fest\nDTSTART:20071224T100000Z", "Fest20071224T10:00:001parent"},
        KeyRow{"SUMMARY:Fest", "Fest(null)1parent"},
        KeyRow{"SUMMARY:Fest\nSEQUENCE:1\nSEQUENCE:2", "Fest(null)(\n    1,\n    2\n)parent"}));
TEST_P(KTSyncEventRecordKey, IsTheDigestOfTitleStartSequenceAndCalendar)
{
    EXPECT_EQ(event(GetParam().lines)->recordKey(), sha1DigestHex(GetParam().digested));
}

TEST_F(KTSyncEventTest, RecordKeyWithoutCalendarKey)
{
    LineList lines{"SUMMARY:Fest"};
    EXPECT_EQ(KTSyncEvent::syncEventWithPluginHelper(&helper, std::nullopt, lines)->recordKey(),
              sha1DigestHex("Fest(null)1(null)"));
}

TEST_F(KTSyncEventTest, OnlyTheUIDChangedLeavesBothKeysAsTheyWere)
{
    const auto first = event("SUMMARY:Fest\nDTSTART:20071224T100000Z\nUID:a");
    const auto second = event("SUMMARY:Fest\nDTSTART:20071224T100000Z\nUID:b");
    EXPECT_EQ(first->uniquenessKey(), second->uniquenessKey());
    EXPECT_EQ(first->recordKey(), second->recordKey());
}

TEST_F(KTSyncEventTest, TheSequenceChangesTheRecordKeyAlone)
{
    const auto first = event("SUMMARY:Fest\nSEQUENCE:1");
    const auto second = event("SUMMARY:Fest\nSEQUENCE:2");
    EXPECT_EQ(first->uniquenessKey(), second->uniquenessKey());
    EXPECT_NE(first->recordKey(), second->recordKey());
}

TEST_F(KTSyncEventTest, UniquenessKeyIsTheDigestOfTheContentInItsOrder)
{
    const auto read = event(
        "SUMMARY:Titel\nDESCRIPTION:Notiz\nURL:http://u\nLOCATION:Ort\n"
        "ATTACH:http://a\nATTENDEE:mailto:max\n"
        "DTSTART;VALUE=DATE:20071224\nDTEND;VALUE=DATE:20071225\nDURATION:P1D\n"
        "RRULE:FREQ=DAILY");
    EXPECT_EQ(read->uniquenessKey(),
              sha1DigestHex("TitelNotizhttp://uOrt"
                            "(\n    \"ATTACH:http://a\\r\\n\"\n)"
                            "(\n    \"Name:'', Address:'mailto:max', Status:''\"\n)"
                            "2007122420071225"
                            "(\n    0,\n    1,\n    0,\n    0,\n    0\n)"
                            "RRULE:FREQ=DAILY;INTERVAL=1\r\n"
                            "ALLDAY"));
}

TEST_F(KTSyncEventTest, UniquenessKeyOfAnEventWithATitleAloneIsTheDigestOfTheTitle)
{
    EXPECT_EQ(uniquenessKey("SUMMARY:Titel"), sha1DigestHex("Titel"));
}

class KTSyncEventUniqueness : public KTSyncEventTest,
                              public testing::WithParamInterface<std::string_view> {};
class KTSyncEventSameUniqueness : public KTSyncEventUniqueness {};
INSTANTIATE_TEST_SUITE_P(Parts, KTSyncEventUniqueness,
                         testing::Values("SUMMARY:anders", "DESCRIPTION:x", "URL:x", "LOCATION:x",
                                         "ATTACH:x", "ATTENDEE:x", "DTSTART:20071224T100000Z",
                                         "DTSTART;VALUE=DATE:20071224", "DTEND:20071224T100000Z",
                                         "DURATION:PT1H", "RRULE:FREQ=DAILY"));
TEST_P(KTSyncEventUniqueness, DependsOn)
{
    EXPECT_NE(uniquenessKey("SUMMARY:Titel"),
              uniquenessKey("SUMMARY:Titel\n" + std::string(GetParam())));
}
INSTANTIATE_TEST_SUITE_P(Parts, KTSyncEventSameUniqueness,
                         testing::Values("UID:x", "SEQUENCE:8", "DTSTAMP:20071224T100000Z",
                                         "BEGIN:VALARM\nACTION:DISPLAY\nEND:VALARM", "X-A:b"));
TEST_P(KTSyncEventSameUniqueness, DoesNotDependOn)
{
    EXPECT_EQ(uniquenessKey("SUMMARY:Titel"),
              uniquenessKey("SUMMARY:Titel\n" + std::string(GetParam())));
}

TEST_F(KTSyncEventTest, AnAllDayStartInARecordMakesTheEventAllDay)
{
    Dictionary given = record();
    given.set("StartDate", date("20071224"));
    const auto made = eventOf(given);
    EXPECT_TRUE(made->isAllDay());
    const Dictionary back = made->syncRecord();
    ASSERT_TRUE(back.contains("AllDay"));
    EXPECT_EQ(back["AllDay"].kind(), Value::Kind::boolean);
    EXPECT_TRUE(back["AllDay"].boolValue());
}

TEST_F(KTSyncEventTest, AllDayInARecordIsNotRead)
{
    Dictionary given = record();
    given.set("AllDay", true);
    EXPECT_FALSE(eventOf(given)->isAllDay());
    EXPECT_FALSE(eventOf(given)->syncRecord().contains("AllDay"));
    given.remove("StartDate");
    EXPECT_FALSE(eventOf(given)->isAllDay());
}

struct AllDayRow {
    std::string_view lines;
    bool isAllDay;
};
class KTSyncEventAllDay : public KTSyncEventTest, public testing::WithParamInterface<AllDayRow> {};
INSTANTIATE_TEST_SUITE_P(Rows, KTSyncEventAllDay,
                         testing::Values(AllDayRow{"DTSTART;VALUE=DATE:20071224", true},
                                         AllDayRow{"DTSTART:20071224", true},
                                         AllDayRow{"DTSTART:20071224T100000", false},
                                         // read as a day through its last eight characters
                                         AllDayRow{"DTSTART:920071224", false},
                                         AllDayRow{"DTEND;VALUE=DATE:20071224", false}));
TEST_P(KTSyncEventAllDay, FollowsTheLengthOfTheText)
{
    const auto read = event("SUMMARY:Fest\n" + std::string(GetParam().lines));
    EXPECT_EQ(read->isAllDay(), GetParam().isAllDay);
    EXPECT_EQ(read->syncRecord().contains("AllDay"), GetParam().isAllDay);
}

TEST_F(KTSyncEventTest, EndAndDurationAreBothWrittenWithTheRuleBetweenThem)
{
    EXPECT_THAT(
        event("SUMMARY:Fest\nDURATION:PT1H\nRRULE:FREQ=DAILY\nDTEND:20071224T100000Z")->iCalLines(),
        StartsWith("BEGIN:VEVENT\r\nDTEND:20071224T100000Z\r\n"
                   "RRULE:FREQ=DAILY;INTERVAL=1\r\nDURATION:PT1H\r\n"));
}

TEST_F(KTSyncEventTest, AnOrganizerIsNotWritten)
{
    const auto read = event("SUMMARY:Fest\nORGANIZER;CN=Max:mailto:max");
    EXPECT_FALSE(read->attendees());
    EXPECT_THAT(read->iCalLines(), Not(HasSubstr("mailto:max")));
}

TEST_F(KTSyncEventTest, NoAttendeesInARecordMakeNoList)
{
    Dictionary given = record();
    given.set("Attendees", Array());
    EXPECT_FALSE(eventOf(given)->attendees());
    EXPECT_FALSE(eventOf(given)->syncRecord().contains("Attendees"));
}

TEST_F(KTSyncEventTest, ARecordKeyAndAUIDAreGivenNotComputed)
{
    const auto made = eventOf(record());
    EXPECT_EQ(made->recordKey(), "event-key");
    EXPECT_FALSE(made->uniquenessKey());
}

TEST_F(KTSyncEventTest, AddedExceptionDatesFollowThoseOfTheRecord)
{
    Dictionary given = record();
    given.set("RecurrenceExceptionDates", Array{date("20071225")});
    const auto made = eventOf(given);
    made->addRecurrenceExceptionDate(date("20071226"));
    EXPECT_EQ(made->recurrenceExceptionDates(), (Array{date("20071225"), date("20071226")}));
    EXPECT_THROW(made->addRecurrenceExceptionDate(nullptr), Exception);
}

TEST_F(KTSyncEventTest, ARecordThatCannotBeTakenIsLoggedAndThrownOn)
{
    Dictionary given = record();
    given.set("EndDate", "morgen");
    const std::string reason = reasonOfException([&] { eventOf(given); });
    EXPECT_NE(reason, "");
    EXPECT_THAT(helper.fileLog(),
                ElementsAre("[KTSyncEvent init]:\n" + given.description() + "\n" + reason));
}

TEST_F(KTSyncEventTest, LinesThatCannotBeTakenAreLoggedAndThrownOn)
{
    // Attendees are fine text by themselves; a rule that cannot be written fails in the digest.
    helper.script.before = [](std::string_view call) {
        if (call.starts_with("logMsg:Ereignis ohne Beschreibung"))
            throw Exception(NSGenericException, "Protokoll voll");
    };
    EXPECT_EQ(reasonOfException([&] { event("X-A:b"); }), "Protokoll voll");
    EXPECT_THAT(helper.fileLog(), ElementsAre("[KTSyncEvent init]:\n(\n)\nProtokoll voll"));
}

TEST_F(KTSyncEventTest, ADurationOfTheWrongKindIsLoggedAndThrownOnWhenWriting)
{
    Dictionary given = record();
    given.set("ExceptionDates", Array{"morgen"});
    const auto made = eventOf(given);
    const std::string reason = reasonOfException([&] { made->iCalLines(); });
    EXPECT_NE(reason, "");
    EXPECT_THAT(helper.fileLog(),
                Contains("[KTSyncEvent iCalLines]:\nBEGIN:VEVENT\r\n\n" + reason));
}

TEST_F(KTSyncEventTest, ARuleThatHasNoRecordIsLoggedAndThrownOn)
{
    const auto read = event("SUMMARY:Fest\nLOCATION:Halle\nRRULE:COUNT=3");
    const std::string reason = reasonOfException([&] { read->syncRecord(); });
    EXPECT_NE(reason, "");
    EXPECT_THAT(helper.fileLog().back(), StartsWith("[KTSyncEvent syncRecord]:\n{\n"));
    EXPECT_THAT(helper.fileLog().back(), HasSubstr("Location = Halle;"));
    EXPECT_THAT(helper.fileLog().back(), testing::EndsWith("}\n" + reason));
}

TEST_F(KTSyncEventTest, ThereIsNoneWithoutAHost)
{
    LineList lines{"SUMMARY:Fest"};
    EXPECT_EQ(KTSyncEvent::syncEventWithPluginHelper(nullptr, kParentKey, lines), nullptr);
    EXPECT_EQ(KTSyncEvent::syncEventWithPluginHelper(nullptr, "key", record()), nullptr);
}

}  // namespace
}  // namespace kt::test
