#include "tests/Sync/PlugIns/iCal/Calendar/Layout104ReaderFixture.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST_F(Layout104Reader, ReadsWhatANodeAndTheInfoFileSayOfACalendar)
{
    writeInfo("A", {{"Title", "Arbeit"}, {"Notes", "Büro"}, {"Type", kOrdinary}});
    writeNodes({without(calendarNode("A"), "Expanded")});
    const auto calendars = readStore();
    ASSERT_EQ(calendars.size(), 1u);
    KTSyncCalendar& calendar = *calendars.begin()->second;
    EXPECT_EQ(calendar.title(), "Arbeit");
    EXPECT_EQ(calendar.notes(), "Büro");
    EXPECT_EQ(calendar.color(), "#0252D4");
    EXPECT_EQ(calendar.sourceKey(), "A");
    EXPECT_EQ(calendar.order(), 0);
    EXPECT_EQ(calendar.calendarType(), kCalendarTypeNode);
    EXPECT_TRUE(calendar.selected());
    EXPECT_TRUE(calendar.expanded());
    EXPECT_FALSE(calendar.alarmsDisabled());
    EXPECT_TRUE(calendar.publisher().isNil());
    EXPECT_TRUE(calendar.subscriber().isNil());
    EXPECT_TRUE(calendar.subscriberData().isNil());
    EXPECT_EQ(calendars.begin()->first, calendar.recordKey());
    EXPECT_THAT(helper.messages(), ElementsAre("Kalender: 'Arbeit'"));
    EXPECT_THAT(platform.consoleLines(), IsEmpty());
    EXPECT_THAT(losses(), IsEmpty());
}

TEST_F(Layout104Reader, ReadsWhatANodeSaysOfAGroup)
{
    writeNodes({with(with(with(groupNode("Team"), "Notes", "alle"), "Expanded", false), "Selection",
                     false)});
    const auto group = titled(readStore(), "Team");
    EXPECT_EQ(group->calendarType(), kCalendarTypeGroup);
    EXPECT_EQ(group->notes(), "alle");
    EXPECT_EQ(group->color(), "#FF0000");
    EXPECT_FALSE(group->expanded());
    EXPECT_FALSE(group->selected());
    EXPECT_EQ(group->parentRecordKey(), group->recordKey());
    EXPECT_THAT(helper.messages(), ElementsAre("Gruppe: 'Team'"));
}

TEST_F(Layout104Reader, TakesAMissingSelectionAndExpansionForSwitchedOn)
{
    writeCalendar("A", "Arbeit");
    writeNodes({without(calendarNode("A"), "Selection"),
                without(without(groupNode("Team"), "Selection"), "Expanded")});
    for (const auto& entry : readStore()) {
        EXPECT_TRUE(entry.second->selected());
        EXPECT_TRUE(entry.second->expanded());
    }
}

TEST_F(Layout104Reader, TakesACalendarForExpandedWhateverItsNodeSays)
{
    writeCalendar("A", "Arbeit");
    writeNodes({with(with(calendarNode("A"), "Expanded", false), "Selection", false)});
    EXPECT_TRUE(titled(readStore(), "Arbeit")->expanded());
    EXPECT_FALSE(titled(readStore(), "Arbeit")->selected());
}

TEST_F(Layout104Reader, ReadsItemsFromTheFolderThatTheSourceKeyNames)
{
    writeCalendar("A", "Arbeit");
    writeItems("A",
               "BEGIN:VEVENT\r\nUID:1\r\nSUMMARY:Fest\r\nDTSTART:20071224T100000Z\r\n"
               "END:VEVENT\r\n");
    writeNodes({calendarNode("A")});
    const auto calendar = titled(readStore(), "Arbeit");
    ASSERT_NE(calendar->events(), nullptr);
    ASSERT_EQ(calendar->events()->size(), 1u);
    EXPECT_EQ(calendar->events()->front()->title(), Value("Fest"));
    EXPECT_EQ(calendar->corestoragePath(),
              home.path("Library/Application Support/iCal/Sources/A.calendar"));
}

// Source keys.

TEST_F(Layout104Reader, UsesTheKeyOfANodeWithoutASourceKey)
{
    writeCalendar("A", "Arbeit");
    writeNodes({with(without(calendarNode("A"), "SourceKey"), "Key", "A")});
    EXPECT_EQ(titled(readStore(), "Arbeit")->sourceKey(), "A");
}

TEST_F(Layout104Reader, RefusesACalendarWithoutAnyKeyAndReadsTheRest)
{
    const Dictionary keyless = without(without(calendarNode("A"), "SourceKey"), "Key");
    writeCalendar("B", "Zuhause");
    writeNodes({keyless, calendarNode("B")});
    EXPECT_THAT(titles(readStore()), ElementsAre("Zuhause"));
    expectOnHostOnly(lineAbout("Fehlerhafter Kalender ohne SourceKey: %@", keyless));
    EXPECT_THAT(losses(),
                ElementsAre(KTLoss{"", home.path(kNodeFile), "Der Kalender hat keinen SourceKey"}));
}

TEST_F(Layout104Reader, ReadsAGroupWithoutAnyKey)
{
    writeNodes({without(groupNode("Team"), "Key")});
    EXPECT_EQ(titled(readStore(), "Team")->corestoragePath(), std::nullopt);
}

// Description files.

TEST_F(Layout104Reader, RefusesACalendarWithoutAnInfoFile)
{
    writeNodes({calendarNode("A")});
    EXPECT_THAT(readStore(), IsEmpty());
    expectOnHostOnly(
        lineAbout("Fuer den Kalender '%@' gibt es keine Kalenderbeschreibung", calendarNode("A")));
    EXPECT_THAT(losses(),
                ElementsAre(KTLoss{"", home.path(folderOf("A") + "Info.plist"),
                                   "Die Kalenderbeschreibung fehlt oder kann nicht gelesen "
                                   "werden"}));
}

TEST_F(Layout104Reader, RefusesACalendarWhoseInfoFileIsNoPropertyList)
{
    home.write(folderOf("A") + "Info.plist", "no property list");
    writeNodes({calendarNode("A")});
    EXPECT_THAT(readStore(), IsEmpty());
    expectOnHostOnly(
        lineAbout("Fuer den Kalender '%@' gibt es keine Kalenderbeschreibung", calendarNode("A")));
    EXPECT_EQ(losses().size(), 1u);
}

struct SourceTypeRow {
    const char* sourceType;  // null for none
    std::int32_t calendarType;
};
class Layout104ReaderSourceType : public Layout104Reader,
                                  public ::testing::WithParamInterface<SourceTypeRow> {};

INSTANTIATE_TEST_SUITE_P(
    Rows, Layout104ReaderSourceType,
    ::testing::Values(SourceTypeRow{"com.apple.ical.sources.urlsubscribesource", 2},
                      SourceTypeRow{"com.apple.ical.sources.birthdays", 3},
                      SourceTypeRow{"com.apple.ical.sources.naivereadwrite", 0},
                      SourceTypeRow{"anything", 0}, SourceTypeRow{nullptr, 0}));

TEST_P(Layout104ReaderSourceType, DecidesTheCalendarType)
{
    Dictionary info{{"Title", "Arbeit"}};
    if (GetParam().sourceType != nullptr)
        info.set("Type", GetParam().sourceType);
    writeInfo("A", info);
    writeNodes({calendarNode("A")});
    EXPECT_EQ(titled(readStore(), "Arbeit")->calendarType(), GetParam().calendarType);
}

TEST_F(Layout104Reader, TakesAnyNodeTypeButTheGroupsForACalendar)
{
    writeCalendar("A", "Arbeit");
    writeCalendar("B", "Zuhause");
    writeNodes({with(calendarNode("A"), "Type", "Sonstiges"), without(calendarNode("B"), "Type")});
    EXPECT_THAT(titles(readStore()), ElementsAre("Arbeit", "Zuhause"));
}

TEST_F(Layout104Reader, ReadsMembersWhereTheInfoFileCallsACalendarAGroup)
{
    // The type of the Info file takes the place of the node's from then on.
    writeCalendar("A", "Arbeit", "CALNamedGroupNode");
    writeCalendar("B", "Zuhause");
    writeNodes({with(calendarNode("A"), "Subnodes", Array{calendarNode("B")})});
    const auto calendars = readStore();
    EXPECT_EQ(titled(calendars, "Arbeit")->calendarType(), kCalendarTypeNode);
    EXPECT_EQ(titled(calendars, "Zuhause")->parentRecordKey(),
              titled(calendars, "Arbeit")->recordKey());
    EXPECT_THAT(helper.messages(), ElementsAre("Kalender: 'Zuhause'", "Gruppe: 'Arbeit'"));
}

TEST_F(Layout104Reader, CallsABirthdayCalendarWithoutATitleGeburtstage)
{
    writeInfo("A", {{"Type", kBirthdays}});
    writeNodes({calendarNode("A")});
    EXPECT_THAT(titles(readStore()), ElementsAre("Geburtstage"));
}

TEST_F(Layout104Reader, KeepsTheTitleOfABirthdayCalendar)
{
    writeCalendar("A", "Feste", kBirthdays);
    writeNodes({calendarNode("A")});
    EXPECT_THAT(titles(readStore()), ElementsAre("Feste"));
}

TEST_F(Layout104Reader, RejectsAnOrdinaryCalendarWithoutATitle)
{
    writeInfo("A", {{"Type", kOrdinary}});
    writeNodes({calendarNode("A")});
    EXPECT_THAT(readStore(), IsEmpty());
    expectOnHostOnly(
        lineAbout("Fehlerhafter Kalender ohne Farbe oder Name: %@", calendarNode("A")));
    EXPECT_THAT(losses(), ElementsAre(KTLoss{"", home.path(folderOf("A") + "Info.plist"),
                                             "Der Kalender hat keine Farbe oder keinen Namen"}));
}

TEST_F(Layout104Reader, RejectsACalendarWithoutAColour)
{
    writeCalendar("A", "Arbeit");
    const Dictionary colourless = without(calendarNode("A"), "ThemeColor");
    writeNodes({colourless});
    EXPECT_THAT(readStore(), IsEmpty());
    expectOnHostOnly(lineAbout("Fehlerhafter Kalender ohne Farbe oder Name: %@", colourless));
    EXPECT_EQ(losses().at(0).calendar, "Arbeit");
}

TEST_F(Layout104Reader, RejectsAGroupWithoutAColourAndAllItsMembers)
{
    writeCalendar("A", "Arbeit");
    const Dictionary colourless = without(groupNode("Team", {calendarNode("A")}), "ThemeColor");
    writeNodes({colourless});
    EXPECT_THAT(readStore(), IsEmpty());
    expectOnHostOnly(lineAbout("Fehlerhafter Kalender ohne Farbe oder Name: %@", colourless));
    EXPECT_THAT(losses(), ElementsAre(KTLoss{"Team", home.path(kNodeFile),
                                             "Der Kalender hat keine Farbe oder keinen Namen"}));
}

TEST_F(Layout104Reader, RejectsAGroupWithoutATitle)
{
    writeNodes({without(groupNode("Team"), "Title")});
    EXPECT_THAT(readStore(), IsEmpty());
    EXPECT_EQ(losses().size(), 1u);
}

TEST_F(Layout104Reader, AcceptsAnEmptyTitle)
{
    writeNodes({groupNode("")});
    EXPECT_THAT(titles(readStore()), ElementsAre(""));
}

TEST_F(Layout104Reader, TakesMissingNotesForEmptyOnes)
{
    writeCalendar("A", "Arbeit");
    writeNodes({groupNode("Team"), calendarNode("A")});
    const auto read = readStore();
    EXPECT_EQ(titled(read, "Team")->notes(), "");
    EXPECT_EQ(titled(read, "Arbeit")->notes(), "");
    EXPECT_EQ(titled(read, "Arbeit")->syncRecord()["Notes"], Value(""));
}

// Groups and orders.

TEST_F(Layout104Reader, GivesMembersTheirGroupsRecordKeyAndTopLevelNodesTheirOwn)
{
    writeCalendar("A", "Arbeit");
    writeCalendar("B", "Zuhause");
    writeNodes({groupNode("Team", {calendarNode("A"), groupNode("Unter")}), calendarNode("B")});
    const auto calendars = readStore();
    const auto team = titled(calendars, "Team");
    EXPECT_EQ(team->parentRecordKey(), team->recordKey());
    EXPECT_EQ(titled(calendars, "Arbeit")->parentRecordKey(), team->recordKey());
    EXPECT_EQ(titled(calendars, "Unter")->parentRecordKey(), team->recordKey());
    EXPECT_EQ(titled(calendars, "Zuhause")->parentRecordKey(),
              titled(calendars, "Zuhause")->recordKey());
}

TEST_F(Layout104Reader, LogsAGroupAfterItsMembers)
{
    writeCalendar("A", "Arbeit");
    writeCalendar("B", "Zuhause");
    writeNodes({groupNode("Team", {calendarNode("A")}), calendarNode("B")});
    EXPECT_THAT(titles(readStore()), ElementsAre("Team", "Arbeit", "Zuhause"));
    EXPECT_THAT(helper.messages(),
                ElementsAre("Kalender: 'Arbeit'", "Gruppe: 'Team'", "Kalender: 'Zuhause'"));
}

TEST_F(Layout104Reader, RestartsOrdersInEachGroupAndSkipsRejectedNodes)
{
    for (const std::string key : {"A", "B", "C", "D"})
        writeCalendar(key, "Kalender " + key);
    writeNodes({calendarNode("fehlt"), calendarNode("A"),
                groupNode("Team", {calendarNode("B"), without(calendarNode("B"), "ThemeColor"),
                                   calendarNode("C")}),
                calendarNode("D")});
    const auto calendars = readStore();
    EXPECT_EQ(titled(calendars, "Kalender A")->order(), 0);
    EXPECT_EQ(titled(calendars, "Team")->order(), 1);
    EXPECT_EQ(titled(calendars, "Kalender B")->order(), 0);
    EXPECT_EQ(titled(calendars, "Kalender C")->order(), 1);
    EXPECT_EQ(titled(calendars, "Kalender D")->order(), 2);
}

TEST_F(Layout104Reader, ReplacesACalendarByALaterOneOfTheSameTitleAndTypeAnywhereInTheTree)
{
    writeCalendar("A", "Arbeit");
    writeCalendar("B", "Arbeit");
    writeNodes({calendarNode("A"), groupNode("Team", {calendarNode("B")})});
    const auto calendars = readStore();
    EXPECT_EQ(calendars.size(), 2u);
    EXPECT_EQ(titled(calendars, "Arbeit")->sourceKey(), "B");
    EXPECT_THAT(losses(),
                ElementsAre(
                    KTLoss{"Arbeit", home.path(folderOf("A") + "Info.plist"),
                           "Der Kalender wird durch einen gleichnamigen derselben Art ersetzt: " +
                               home.path(folderOf("B") + "Info.plist")}));
}

TEST_F(Layout104Reader, KeepsCalendarsOfOneTitleButDifferentTypes)
{
    writeCalendar("A", "Arbeit");
    writeCalendar("B", "Arbeit", kBirthdays);
    writeNodes({calendarNode("A"), calendarNode("B"), groupNode("Arbeit")});
    EXPECT_EQ(readStore().size(), 3u);
    EXPECT_THAT(losses(), IsEmpty());
}

TEST_F(Layout104Reader, ReadsAGroupWithoutSubnodesAsEmpty)
{
    writeNodes({without(groupNode("Team"), "Subnodes")});
    EXPECT_THAT(titles(readStore()), ElementsAre("Team"));
}

TEST_F(Layout104Reader, ReadsAnEmptyListAsAnEmptyStore)
{
    writeNodes({});
    EXPECT_THAT(readStore(), IsEmpty());
    EXPECT_THAT(helper.messages(), IsEmpty());
}

class ExposedStore : public KTSyncCalendarStore {
public:
    using KTSyncCalendarStore::KTSyncCalendarStore;
    using KTSyncCalendarStore::parseMacOS104CalendarsList;
};

TEST_F(Layout104Reader, ReturnsAtOnceForANilList)
{
    ParsedCalendars calendars;
    ExposedStore(&helper).parseMacOS104CalendarsList(Value(), calendars, std::nullopt);
    EXPECT_TRUE(calendars.empty());
    EXPECT_THAT(helper.messages(), IsEmpty());
}

TEST_F(Layout104Reader, AddsToTheGivenCalendarsBelowTheGivenParent)
{
    ParsedCalendars calendars;
    ExposedStore exposed(&helper);
    exposed.parseMacOS104CalendarsList(Array{groupNode("Eins")}, calendars, std::nullopt);
    exposed.parseMacOS104CalendarsList(Array{groupNode("Zwei")}, calendars, "Elternteil");
    EXPECT_THAT(titles(calendars), ElementsAre("Eins", "Zwei"));
    EXPECT_EQ(titled(calendars, "Zwei")->parentRecordKey(), "Elternteil");
}

TEST_F(Layout104Reader, WithoutAHelperMakesNoCalendarAndTellsTheLoss)
{
    ParsedCalendars calendars;
    ExposedStore(nullptr).parseMacOS104CalendarsList(Array{groupNode("Team")}, calendars,
                                                     std::nullopt);
    EXPECT_TRUE(calendars.empty());
    EXPECT_THAT(lossReasons(), ElementsAre("Der Kalender konnte nicht ausgelesen werden"));
}

}  // namespace
}  // namespace kt::test
