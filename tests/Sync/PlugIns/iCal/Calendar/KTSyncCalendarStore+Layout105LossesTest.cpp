#include <filesystem>

#include "tests/Sync/PlugIns/iCal/Calendar/Layout105ReaderFixture.h"
#include "tests/support/FailingFileManager.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

// What is no calendar.

TEST_F(Layout105Reader, IgnoresPlainFilesAndForeignFoldersWithoutLoss)
{
    home.write(std::string(kStore) + "datei.calendar", "x");
    home.write(std::string(kStore) + "datei.group", "x");
    home.write(std::string(kStore) + "Calendar Cache", "x");
    writeFolder("konto.imap", calendarInfo("konto", "Konto"));
    writeFolder("konto.caldav", calendarInfo("konto2", "Konto2"));
    writeFolder("A.CALENDAR", calendarInfo("A", "Groß"));
    writeFolder("Attachments", calendarInfo("B", "Anhänge"));
    EXPECT_TRUE(readStore().empty());
    EXPECT_THAT(host.messages(), IsEmpty());
    EXPECT_THAT(classes.losses(), IsEmpty());
}

TEST_F(Layout105Reader, FollowsALinkToACalendarFolder)
{
    home.write("anderswo/Info.plist", xmlPropertyList(calendarInfo("A", "Arbeit")));
    home.makeFolder("Library/Calendars");
    std::filesystem::create_symlink(home.path("anderswo"),
                                    home.path(std::string(kStore) + "A.calendar"));
    EXPECT_NE(readTitled("Arbeit"), nullptr);
    EXPECT_THAT(classes.losses(), IsEmpty());
}

TEST_F(Layout105Reader, ReportsALinkThatLeadsNowhere)
{
    writeCalendar("B", "Zuhause");
    std::filesystem::create_symlink("/nonexistent/volume",
                                    home.path(std::string(kStore) + "A.calendar"));
    EXPECT_EQ(readStore().size(), 1u);
    EXPECT_THAT(classes.losses(),
                ElementsAre(KTLoss{"", home.path(std::string(kStore) + "A.calendar"),
                                   "Der Verweis führt zu keinem Ordner"}));
}

TEST_F(Layout105Reader, ReportsAFolderThatCannotBeAskedAbout)
{
    writeCalendar("A", "Arbeit");
    writeCalendar("B", "Zuhause");
    const std::string folder = home.path(std::string(kStore) + "A.calendar");
    failFileReads([&](const std::string& path) { return path == folder; });
    EXPECT_EQ(readStore().size(), 1u);
    EXPECT_THAT(classes.losses(),
                ElementsAre(KTLoss{"", folder, "Der Ordner kann nicht gelesen werden"}));
}

// Losses.

class Layout105BrokenInfo : public Layout105Reader,
                            public ::testing::WithParamInterface<std::optional<const char*>> {};
INSTANTIATE_TEST_SUITE_P(Contents, Layout105BrokenInfo,
                         ::testing::Values(std::nullopt, "", "Unsinn", "<plist><array/></plist>",
                                           "bplist00"));

TEST_P(Layout105BrokenInfo, IsSkippedSilentlyButReportedAsALoss)
{
    home.write(std::string(kStore) + "A.calendar/Events/1.ics", "BEGIN:VCALENDAR");
    if (GetParam())
        home.write(std::string(kStore) + "A.calendar/Info.plist", *GetParam());
    writeCalendar("B", "Zuhause");
    EXPECT_EQ(readStore().size(), 1u);
    EXPECT_THAT(host.messages(), ElementsAre("Kalender: 'Zuhause'"));
    EXPECT_THAT(classes.losses(),
                ElementsAre(KTLoss{"", home.path(std::string(kStore) + "A.calendar/Info.plist"),
                                   "Die Info.plist kann nicht gelesen werden"}));
}

TEST_F(Layout105Reader, TakesAFolderWithoutAnyFileForNoCalendar)
{
    home.makeFolder(std::string(kStore) + "A.calendar/Events");
    home.write(std::string(kStore) + "A.calendar/.Info.plist.tmp", "bplist00");
    writeCalendar("B", "Zuhause");
    EXPECT_EQ(readStore().size(), 1u);
    EXPECT_THAT(classes.losses(), IsEmpty());
}

TEST_F(Layout105Reader, LogsAndReportsACalendarWithoutTitleAndReadsOn)
{
    writeFolder("A.calendar", without(calendarInfo("A", "Arbeit"), "Title"));
    writeCalendar("B", "Zuhause");
    EXPECT_EQ(readStore().size(), 1u);
    ASSERT_EQ(host.messages().size(), 2u);
    EXPECT_THAT(host.messages()[0],
                StartsWith(
                    "Fuer den Kalender konnte kein eindeutiger Schluessel generiert werden: {\n"));
    EXPECT_THAT(host.messages()[0], HasSubstr("Key = A;"));
    EXPECT_THAT(platform.consoleLines(), IsEmpty());
    ASSERT_EQ(platform.assertions().size(), 1u);
    EXPECT_EQ(platform.assertions()[0].description, "_title == nil");
    EXPECT_THAT(classes.losses(),
                ElementsAre(KTLoss{"", home.path(std::string(kStore) + "A.calendar"),
                                   "Der Kalender hat keinen Titel"}));
}

TEST_F(Layout105Reader, LetsTheLaterOfTwoCalendarsOfOneTitleAndTypeWinAndReportsTheEarlier)
{
    writeFolder("A.calendar", with(calendarInfo("A", "Arbeit"), "Notes", "früher"));
    writeCalendar("B", "Zuhause");
    writeFolder("C.calendar", with(calendarInfo("C", "Arbeit"), "Notes", "später"));
    const auto parsed = readStore();
    ASSERT_EQ(parsed.size(), 2u);
    EXPECT_EQ(titled(parsed, "Arbeit")->notes(), "später");
    EXPECT_EQ(titled(parsed, "Arbeit")->sourceKey(), "C");
    EXPECT_THAT(
        classes.losses(),
        ElementsAre(KTLoss{
            "Arbeit", home.path(std::string(kStore) + "A.calendar"),
            "Der Kalender wird durch einen gleichnamigen derselben Art ersetzt: C.calendar"}));
}

TEST_F(Layout105Reader, KeepsCalendarsOfOneTitleAndDifferentTypes)
{
    writeCalendar("A", "Arbeit");
    writeFolder("B.calendar", with(calendarInfo("B", "Arbeit"), "Type", "Subscription"));
    writeFolder("C.group", groupInfo("C", "Arbeit", {}));
    EXPECT_EQ(readStore().size(), 3u);
    EXPECT_THAT(classes.losses(), IsEmpty());
}

class Layout105FolderName : public Layout105Reader, public ::testing::WithParamInterface<Value> {};
INSTANTIATE_TEST_SUITE_P(Keys, Layout105FolderName,
                         ::testing::Values(Value("B"), Value("a"), Value("../A"), Value("")));

TEST_P(Layout105FolderName, ThatIsNotTheKeyIsReportedSinceItsItemsAreLookedForElsewhere)
{
    const auto calendar = readOne(with(calendarInfo("A", "Arbeit"), "Key", GetParam()));
    ASSERT_NE(calendar, nullptr);
    EXPECT_THAT(classes.losses(),
                ElementsAre(
                    KTLoss{"Arbeit", home.path(std::string(kStore) + "A.calendar"),
                           "Der Ordner heißt nicht wie der Schlüssel in seiner Info.plist"}));
}

TEST_F(Layout105Reader, ReportsACalendarWithoutKey)
{
    ASSERT_NE(readOne(without(calendarInfo("A", "Arbeit"), "Key")), nullptr);
    EXPECT_THAT(lossReasons(),
                ElementsAre("Der Ordner heißt nicht wie der Schlüssel in seiner Info.plist"));
}

TEST_F(Layout105Reader, TakesAGroupUnderAnyFolderNameSinceItHoldsNoItems)
{
    ASSERT_NE(readOne(groupInfo("G", "Gruppe", {}), "anders.group"), nullptr);
    EXPECT_THAT(classes.losses(), IsEmpty());
}

TEST_F(Layout105Reader, ReportsAStoreFolderThatCannotBeListed)
{
    home.write("Library/Calendars", "eine Datei");
    EXPECT_TRUE(readStore().empty());
    EXPECT_THAT(classes.losses(), ElementsAre(KTLoss{"", home.path("Library/Calendars"),
                                                     "Der Ordner kann nicht aufgelistet werden"}));
}

struct WrongKindRow {
    const char* folder;
    const char* key;
    Value value;
};
class Layout105WrongKind : public Layout105Reader,
                           public ::testing::WithParamInterface<WrongKindRow> {};
INSTANTIATE_TEST_SUITE_P(Entries, Layout105WrongKind,
                         ::testing::Values(WrongKindRow{"A.calendar", "Title", 2007},
                                           WrongKindRow{"A.calendar", "Color", Array{}},
                                           WrongKindRow{"A.calendar", "Notes", Dictionary{}},
                                           WrongKindRow{"A.calendar", "Order", Array{}},
                                           WrongKindRow{"A.calendar", "Key", 7},
                                           WrongKindRow{"A.calendar", "Checked", Dictionary{}},
                                           WrongKindRow{"A.calendar", "AlarmsDisabled", Array{}},
                                           WrongKindRow{"A.group", "Expanded", Array{}},
                                           WrongKindRow{"A.group", "Calendars", "B"},
                                           WrongKindRow{"A.group", "Calendars", Array{Value(3)}}));

TEST_P(Layout105WrongKind, EndsTheReadingWithALossThatNamesTheFolder)
{
    writeFolder(GetParam().folder,
                with(calendarInfo("A", "Arbeit"), GetParam().key, GetParam().value));
    EXPECT_FALSE(KTSyncCalendarStore(&host).calendars().has_value());
    EXPECT_THAT(host.messages().back(),
                StartsWith("KTSyncCalendarStore.calendars: NSInvalidArgumentException"));
    ASSERT_EQ(classes.losses().size(), 1u);
    EXPECT_EQ(classes.losses()[0].file, home.path(kStore + std::string(GetParam().folder)));
    EXPECT_THAT(classes.losses()[0].reason, StartsWith("Der Kalender kann nicht gelesen werden: "));
}

}  // namespace
}  // namespace kt::test
