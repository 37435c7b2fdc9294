#include "Sync/Foundation/Digest.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"
#include "tests/Sync/PlugIns/iCal/Calendar/ModelFixture.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

class KTSyncCalendarTest : public ModelFixture {};

TEST_F(KTSyncCalendarTest, BeginsEmptySelectedAndExpanded)
{
    const auto made = KTSyncCalendar::syncCalendarWithPluginHelper(&helper, kCalendarTypeSubscriber,
                                                                   "quelle", "gruppe");
    EXPECT_EQ(made->calendarType(), 2);
    EXPECT_EQ(made->sourceKey(), "quelle");
    EXPECT_EQ(made->parentRecordKey(), "gruppe");
    EXPECT_TRUE(made->selected());
    EXPECT_TRUE(made->expanded());
    EXPECT_FALSE(made->alarmsDisabled());
    EXPECT_FALSE(made->title());
    EXPECT_FALSE(made->color());
    EXPECT_FALSE(made->imapFolderKey());
    EXPECT_EQ(made->order(), 0);
    EXPECT_TRUE(made->publisher().isNil());
    EXPECT_TRUE(made->subscriber().isNil());
    EXPECT_TRUE(made->subscriberData().isNil());
}

TEST_F(KTSyncCalendarTest, ThereIsNoneWithoutAHost)
{
    EXPECT_EQ(KTSyncCalendar::syncCalendarWithPluginHelper(nullptr, 0, "quelle", {}), nullptr);
    EXPECT_EQ(KTSyncCalendar::syncCalendarWithPluginHelper(nullptr, "given", Dictionary()),
              nullptr);
}

TEST_F(KTSyncCalendarTest, NotesAreNeverNilThroughTheirAccessor)
{
    const auto made = KTSyncCalendar::syncCalendarWithPluginHelper(&helper, 0, "quelle", {});
    made->setTitle("a");
    made->setColor("b");
    EXPECT_THROW(made->syncRecord(), Exception) << "the field itself is still nil";
    EXPECT_EQ(made->notes(), "");
    EXPECT_EQ(made->syncRecord()["Notes"], Value(""));
    made->setNotes("Notiz");
    made->setNotes(std::nullopt);
    EXPECT_EQ(made->syncRecord()["Notes"], Value(""));
}

struct TypeRow {
    std::int32_t type;
    std::string_view string;
};
class KTSyncCalendarType : public KTSyncCalendarTest,
                           public testing::WithParamInterface<TypeRow> {};
INSTANTIATE_TEST_SUITE_P(Rows, KTSyncCalendarType,
                         testing::Values(TypeRow{0, "CalendarNode"}, TypeRow{1, "CalendarGroup"},
                                         TypeRow{2, "CalendarSubscriber"},
                                         TypeRow{3, "BirthdayCalendar"}));
TEST_P(KTSyncCalendarType, HasItsString)
{
    EXPECT_EQ(calendar(GetParam().type)->calendarTypeString(), GetParam().string);
    EXPECT_EQ(KTSyncCalendar::calendarTypeForString(std::string(GetParam().string)),
              GetParam().type);
    EXPECT_EQ(calendar(GetParam().type)->syncRecord()["Type"], Value(GetParam().string));
}

TEST_F(KTSyncCalendarTest, AnUnknownTypeReadsBackAsAnOrdinaryCalendar)
{
    EXPECT_EQ(calendar(7)->calendarTypeString(), "CalendarNode");
    EXPECT_EQ(calendar(-1)->calendarTypeString(), "CalendarNode");
    EXPECT_EQ(KTSyncCalendar::calendarTypeForString("Kalender"), 0);
    EXPECT_EQ(KTSyncCalendar::calendarTypeForString("calendargroup"), 0);
    EXPECT_EQ(KTSyncCalendar::calendarTypeForString(std::nullopt), 0);
}

TEST_F(KTSyncCalendarTest, RecordKeyIsTheDigestOfTitleAndType)
{
    EXPECT_EQ(calendar(kCalendarTypeGroup)->recordKey(), sha1DigestHex("PrivatCalendarGroup"));
    EXPECT_EQ(calendar(7)->recordKey(), sha1DigestHex("PrivatCalendarNode"));
}

TEST_F(KTSyncCalendarTest, RecordKeyIsKeptOnceComputed)
{
    const auto made = calendar();
    const auto key = made->recordKey();
    made->setTitle("anders");
    EXPECT_EQ(made->recordKey(), key);
}

TEST_F(KTSyncCalendarTest, RecordKeyWithoutTitleGoesToTheAssertionHandler)
{
    const auto made = calendar();
    made->setTitle(std::nullopt);
    EXPECT_EQ(made->recordKey(), std::nullopt);
    ASSERT_EQ(platform.assertions().size(), 1u);
    const auto assertion = platform.assertions().front();
    EXPECT_EQ(assertion.description, "_title == nil");
    EXPECT_EQ(assertion.file, "Sync/PlugIns/iCal/Calendar/KTSyncCalendar");
    EXPECT_EQ(assertion.line, 205);
}

TEST_F(KTSyncCalendarTest, RecordKeyWithoutTitleAssertsEvenWhenAKeyIsKept)
{
    EXPECT_EQ(calendarOf({{"Type", "CalendarNode"}})->recordKey(), std::nullopt);
    EXPECT_EQ(platform.assertions().size(), 1u);
}

TEST_F(KTSyncCalendarTest, SourceKeyIsTheRecordKeyWhereThereIsNone)
{
    EXPECT_EQ(calendar(0, "quelle")->sourceKey(), "quelle");
    EXPECT_EQ(calendar(0, std::nullopt)->sourceKey(), sha1DigestHex("PrivatCalendarNode"));
}

struct FolderRow {
    int version;
    std::int32_t type;
    std::optional<std::string> relative;
};
class KTSyncCalendarFolder : public KTSyncCalendarTest,
                             public testing::WithParamInterface<FolderRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, KTSyncCalendarFolder,
    testing::Values(FolderRow{4, 0, "Library/Application Support/iCal/Sources/quelle.calendar"},
                    FolderRow{4, 1, "Library/Application Support/iCal/Sources/quelle.calendar"},
                    FolderRow{5, 0, "Library/Calendars/quelle.calendar"},
                    FolderRow{5, 1, "Library/Calendars/quelle.calendar"},
                    FolderRow{5, 3, "Library/Calendars/quelle.calendar"},
                    FolderRow{3, 0, std::nullopt}, FolderRow{6, 0, std::nullopt},
                    FolderRow{0, 0, std::nullopt}));
TEST_P(KTSyncCalendarFolder, FollowsTheSystemVersion)
{
    helper.script.macOSVersion = GetParam().version;
    const auto expected =
        GetParam().relative ? std::optional(home.path(*GetParam().relative)) : std::nullopt;
    EXPECT_EQ(calendar(GetParam().type, "quelle")->corestoragePath(), expected);
}

TEST_F(KTSyncCalendarTest, FolderIsKeptOnceComputed)
{
    const auto made = calendar();
    const auto folder = made->corestoragePath();
    helper.script.macOSVersion = 4;
    EXPECT_EQ(made->corestoragePath(), folder);
}

TEST_F(KTSyncCalendarTest, NoFolderIsKeptOnASystemWithoutAStore)
{
    helper.script.macOSVersion = 3;
    const auto made = calendar();
    EXPECT_EQ(made->corestoragePath(), std::nullopt);
    helper.script.macOSVersion = 5;
    EXPECT_NE(made->corestoragePath(), std::nullopt);
}

TEST_F(KTSyncCalendarTest, ThereIsNoFolderWithoutASourceKey)
{
    EXPECT_EQ(calendar(0, std::nullopt)->corestoragePath(), std::nullopt);
    EXPECT_THAT(helper.calls(), IsEmpty());
}

class KTSyncCalendarBadSourceKey : public KTSyncCalendarTest,
                                   public testing::WithParamInterface<std::string> {};
INSTANTIATE_TEST_SUITE_P(Rows, KTSyncCalendarBadSourceKey,
                         testing::Values("", ".", "..", "a/b", "../../etc", std::string("a\0b", 3),
                                         std::string(247, 'x'), std::string(256, 'x')));
TEST_P(KTSyncCalendarBadSourceKey, GivesNoFolderAndOneLogLine)
{
    const auto made = calendar(0, GetParam());
    EXPECT_EQ(made->corestoragePath(), std::nullopt);
    EXPECT_EQ(made->corestoragePath(), std::nullopt);
    EXPECT_THAT(helper.messages(), ElementsAre("Kalender 'Privat': '" + GetParam() +
                                               "' ist als Ordnername nicht erlaubt"));
}

TEST_F(KTSyncCalendarTest, TheLongestSourceKeyThatMakesAFolderName)
{
    EXPECT_NE(calendar(0, std::string(246, 'x'))->corestoragePath(), std::nullopt);
}

TEST_F(KTSyncCalendarTest, EventsOfAFolderThatCannotBeNamedAreNullAndTriedAgain)
{
    helper.script.macOSVersion = 3;
    const auto made = calendar();
    EXPECT_EQ(made->events(), nullptr);
    EXPECT_EQ(made->tasks(), nullptr);
    EXPECT_THAT(helper.messages(), ElementsAre("loadEventsAndTasks: _corestoragePath == nil",
                                               "loadEventsAndTasks: _corestoragePath == nil"));
    helper.script.macOSVersion = 5;
    ASSERT_NE(made->events(), nullptr);
    EXPECT_THAT(*made->events(), IsEmpty());
}

TEST_F(KTSyncCalendarTest, OneLoadFillsBothLists)
{
    home.write("Library/Calendars/source.calendar/Events/a.ics",
               "BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nSUMMARY:a\r\nEND:VEVENT\r\n"
               "BEGIN:VTODO\r\nSUMMARY:b\r\nEND:VTODO\r\nEND:VCALENDAR\r\n");
    const auto made = calendar();
    ASSERT_NE(made->tasks(), nullptr);
    EXPECT_EQ(made->tasks()->size(), 1u);
    home.remove("Library");
    ASSERT_NE(made->events(), nullptr);
    EXPECT_EQ(made->events()->size(), 1u);
}

TEST_F(KTSyncCalendarTest, AddingLoadsNothing)
{
    home.write("Library/Calendars/source.calendar/Events/a.ics", "kaputt");
    const auto made = calendar();
    made->addEvent(event("SUMMARY:a"));
    made->addTask(task("SUMMARY:b"));
    EXPECT_EQ(made->events()->size(), 1u);
    EXPECT_EQ(made->tasks()->size(), 1u);
    EXPECT_THAT(helper.messages(), IsEmpty());
}

TEST_F(KTSyncCalendarTest, AskingForAMissingListLoadsBothAnew)
{
    const auto made = calendar();
    made->addEvent(event("SUMMARY:a"));
    EXPECT_THAT(*made->tasks(), IsEmpty());
    EXPECT_THAT(*made->events(), IsEmpty());
}

TEST_F(KTSyncCalendarTest, DescribesItself)
{
    const auto made = calendar();
    made->addEvent(event("SUMMARY:a"));
    made->addEvent(event("SUMMARY:b"));
    made->addTask(task("SUMMARY:c"));
    EXPECT_EQ(made->description(),
              "Name:'Privat', Farbe:'#FF0000', Typ:'CalendarNode', 2 Ereignisse, 1 Aufgaben, "
              "selected");
}

TEST_F(KTSyncCalendarTest, DescribesItselfWithoutNameAndColourAndWithoutLoading)
{
    home.write("Library/Calendars/source.calendar/Events/a.ics", "kaputt");
    const auto made = KTSyncCalendar::syncCalendarWithPluginHelper(&helper, 3, "source", {});
    EXPECT_EQ(made->description(),
              "Name:'(Kein Name)', Farbe:'(Keine Farbe)', Typ:'BirthdayCalendar', 0 Ereignisse, 0 "
              "Aufgaben");
    EXPECT_THAT(helper.calls(), IsEmpty());
}

struct StateRow {
    std::int32_t type;
    bool selected;
    bool expanded;
    std::string_view ending;
};
class KTSyncCalendarState : public KTSyncCalendarTest,
                            public testing::WithParamInterface<StateRow> {};
INSTANTIATE_TEST_SUITE_P(Rows, KTSyncCalendarState,
                         testing::Values(StateRow{0, true, true, "0 Aufgaben, selected"},
                                         StateRow{0, false, true, "0 Aufgaben"},
                                         StateRow{1, true, true, "0 Aufgaben, expanded"},
                                         StateRow{1, true, false, "0 Aufgaben"},
                                         StateRow{2, true, true, "0 Aufgaben"},
                                         StateRow{3, true, true, "0 Aufgaben"},
                                         StateRow{7, true, true, "0 Aufgaben"}));
TEST_P(KTSyncCalendarState, IsDescribedForItsTypeOnly)
{
    const auto made = calendar(GetParam().type);
    made->setSelected(GetParam().selected);
    made->setExpanded(GetParam().expanded);
    EXPECT_THAT(made->description(), testing::EndsWith(std::string(GetParam().ending)));
}

}  // namespace
}  // namespace kt::test
