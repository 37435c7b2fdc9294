#include "Sync/Foundation/Digest.h"
#include "tests/Sync/PlugIns/iCal/Calendar/ModelFixture.h"

namespace kt::test {
namespace {

using testing::ElementsAre;

class KTSyncCalendarRecord : public ModelFixture {
protected:
    static Dictionary record()
    {
        return Dictionary{{"Order", 3},         {"Type", "CalendarNode"}, {"Color", "#FF0000"},
                          {"Title", "Beruf"},   {"Notes", "Notiz"},       {"SourceKey", "quelle"},
                          {"AlarmsDisabled", 0}};
    }
};

TEST_F(KTSyncCalendarRecord, TakesARecord)
{
    Dictionary given = record();
    given.set("ParentRecordKey", "gruppe");
    given.set("IMAPFolderKey", "imap");
    given.set("Type", "CalendarSubscriber");
    given.set("Publisher", Dictionary{{"PublicationURL", "http://p"}});
    given.set("Subscriber", Dictionary{{"SubscriptionURL", "http://s"}});
    given.set("SubscriberData", Data{"bytes"});
    given.set("AlarmsDisabled", 1);
    const auto made = calendarOf(given);
    EXPECT_EQ(made->recordKey(), "given");
    EXPECT_EQ(made->parentRecordKey(), "gruppe");
    EXPECT_EQ(made->imapFolderKey(), "imap");
    EXPECT_EQ(made->calendarType(), 2);
    EXPECT_EQ(made->title(), "Beruf");
    EXPECT_EQ(made->color(), "#FF0000");
    EXPECT_EQ(made->notes(), "Notiz");
    EXPECT_EQ(made->order(), 3);
    EXPECT_EQ(made->sourceKey(), "quelle");
    EXPECT_EQ(made->publisher(), Value(Dictionary{{"PublicationURL", "http://p"}}));
    EXPECT_EQ(made->subscriber(), Value(Dictionary{{"SubscriptionURL", "http://s"}}));
    EXPECT_EQ(made->subscriberData(), Value(Data{"bytes"}));
    EXPECT_TRUE(made->alarmsDisabled());
    EXPECT_TRUE(made->selected());
    EXPECT_TRUE(made->expanded());
}

TEST_F(KTSyncCalendarRecord, AnEmptyRecordGivesAnEmptyCalendar)
{
    const auto made = calendarOf(Dictionary());
    EXPECT_EQ(made->calendarType(), 0);
    EXPECT_EQ(made->order(), 0);
    EXPECT_FALSE(made->alarmsDisabled());
    EXPECT_FALSE(made->title());
}

TEST_F(KTSyncCalendarRecord, NumbersMayBeTexts)
{
    Dictionary given = record();
    given.set("Order", "12");
    given.set("AlarmsDisabled", "1");
    EXPECT_EQ(calendarOf(given)->order(), 12);
    EXPECT_TRUE(calendarOf(given)->alarmsDisabled());
    given.set("AlarmsDisabled", "0");
    EXPECT_FALSE(calendarOf(given)->alarmsDisabled());
}

TEST_F(KTSyncCalendarRecord, ViewStateInARecordIsNotRead)
{
    Dictionary given = record();
    for (const char* key : {"Selected", "Selection", "Checked", "Expanded"})
        given.set(key, false);
    EXPECT_TRUE(calendarOf(given)->selected());
    EXPECT_TRUE(calendarOf(given)->expanded());
}

TEST_F(KTSyncCalendarRecord, APublisherInAnArrayIsItsFirstElement)
{
    Dictionary given = record();
    const Dictionary publisher{{"UploadURL", "http://u"}};
    given.set("Publisher", Array{publisher, "zweiter"});
    EXPECT_EQ(calendarOf(given)->publisher(), Value(publisher));
    given.set("Publisher", Array());
    EXPECT_TRUE(calendarOf(given)->publisher().isNil());
}

TEST_F(KTSyncCalendarRecord, ARecordOfTheWrongKindIsLoggedAndThrownOn)
{
    Dictionary given = record();
    given.set("Title", 5);
    const std::string reason = reasonOfException([&] { calendarOf(given); });
    EXPECT_NE(reason, "");
    EXPECT_THAT(helper.fileLog(),
                ElementsAre("[KTSyncCalendar init]:\n" + given.description() + "\n" + reason));
}

TEST_F(KTSyncCalendarRecord, RecordHoldsItsKeysInTheirOrder)
{
    const auto made = KTSyncCalendar::syncCalendarWithPluginHelper(&helper, 0, "quelle", "gruppe");
    made->setImapFolderKey("imap");
    made->setOrder(4);
    made->setColor("#FF0000");
    made->setTitle("Privat");
    made->setNotes("Notiz");
    made->setPublisher(Dictionary{{"PublicationURL", "http://p"}});
    made->setSubscriber(Dictionary{{"SubscriptionURL", "http://s"}});
    made->setSubscriberData(Data{"bytes"});
    made->setAlarmsDisabled(true);
    const Dictionary given = made->syncRecord();
    EXPECT_THAT(keysOf(given), ElementsAre("ParentRecordKey", "IMAPFolderKey", "Order", "Type",
                                           "Color", "Title", "Notes", "Publisher", "Subscriber",
                                           "SubscriberData", "SourceKey", "AlarmsDisabled"));
    EXPECT_EQ(given, (Dictionary{{"ParentRecordKey", "gruppe"},
                                 {"IMAPFolderKey", "imap"},
                                 {"Order", 4},
                                 {"Type", "CalendarNode"},
                                 {"Color", "#FF0000"},
                                 {"Title", "Privat"},
                                 {"Notes", "Notiz"},
                                 {"Publisher", Dictionary{{"PublicationURL", "http://p"}}},
                                 {"Subscriber", Dictionary{{"SubscriptionURL", "http://s"}}},
                                 {"SubscriberData", Data{"bytes"}},
                                 {"SourceKey", "quelle"},
                                 {"AlarmsDisabled", 1}}));
    EXPECT_EQ(given["AlarmsDisabled"].kind(), Value::Kind::integer);
    EXPECT_EQ(calendarOf(given)->syncRecord(), given);
}

TEST_F(KTSyncCalendarRecord, RecordLeavesOutWhatIsMissing)
{
    const Dictionary given = calendar()->syncRecord();
    EXPECT_THAT(keysOf(given), ElementsAre("Order", "Type", "Color", "Title", "Notes", "SourceKey",
                                           "AlarmsDisabled"));
    EXPECT_EQ(given["AlarmsDisabled"], Value(0));
}

TEST_F(KTSyncCalendarRecord, AGroupsRecordHasNoSourceKeyAndEveryOtherHas)
{
    EXPECT_FALSE(calendar(kCalendarTypeGroup)->syncRecord().contains("SourceKey"));
    for (const std::int32_t type : {0, 2, 3, 7})
        EXPECT_EQ(calendar(type, "quelle")->syncRecord()["SourceKey"], Value("quelle"));
    EXPECT_EQ(calendar(0, std::nullopt)->syncRecord()["SourceKey"],
              Value(sha1DigestHex("PrivatCalendarNode")));
}

struct MissingRow {
    std::string_view field;
    void (*remove)(KTSyncCalendar&);
    std::string_view sofar;
};
class KTSyncCalendarMissing : public KTSyncCalendarRecord,
                              public testing::WithParamInterface<MissingRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, KTSyncCalendarMissing,
    testing::Values(
        MissingRow{"Color", [](KTSyncCalendar& made) { made.setColor({}); },
                   "{\n    Order = 0;\n    Type = CalendarNode;\n}"},
        MissingRow{"Title", [](KTSyncCalendar& made) { made.setTitle({}); },
                   "{\n    Color = \"#FF0000\";\n    Order = 0;\n    Type = CalendarNode;\n}"}));
TEST_P(KTSyncCalendarMissing, GivesNoRecordButALogEntry)
{
    const auto made = calendar();
    GetParam().remove(*made);
    const std::string reason = reasonOfException([&] { made->syncRecord(); });
    EXPECT_NE(reason, "");
    EXPECT_THAT(helper.fileLog(), ElementsAre("[KTSyncCalendar syncRecord]:\n" +
                                              std::string(GetParam().sofar) + "\n" + reason));
}

TEST_F(KTSyncCalendarRecord, WithoutNotesGivesNoRecordButALogEntry)
{
    // Setting nil would make them empty, so nobody has ever set them.
    const auto made = KTSyncCalendar::syncCalendarWithPluginHelper(&helper, 0, "quelle", {});
    made->setTitle("Privat");
    made->setColor("#FF0000");
    const std::string reason = reasonOfException([&] { made->syncRecord(); });
    EXPECT_NE(reason, "");
    const Dictionary soFar{{"Order", 0},
                           {"Type", "CalendarNode"},
                           {"Color", "#FF0000"},
                           {"Title", "Privat"}};
    EXPECT_THAT(helper.fileLog(), ElementsAre("[KTSyncCalendar syncRecord]:\n" +
                                              soFar.description() + "\n" + reason));
}

}  // namespace
}  // namespace kt::test
