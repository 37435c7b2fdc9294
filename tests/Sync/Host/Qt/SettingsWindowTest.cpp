#include <QProgressBar>
#include <filesystem>

#include "tests/Sync/Host/Qt/WindowFixture.h"

namespace kt::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

const QString kNotice =
    QStringLiteral("Die Kalender werden beim nächsten Mal vollständig synchronisiert");

using Window = WindowFixture;

// The list.

TEST_F(Window, ListsTheCalendarsWithTicksAndColoursAndWithoutGroups)
{
    open();
    ASSERT_EQ(list()->model()->rowCount(), 3);
    EXPECT_EQ(rowTitle(arbeit), "Arbeit ");
    EXPECT_EQ(rowTitle(privat), "Privat ");
    EXPECT_EQ(rowTitle(geburtstage), "Geburtstage ");
    for (const int row : {arbeit, privat, geburtstage}) {
        EXPECT_TRUE(isRowTicked(row));
        EXPECT_FALSE(cell(row, 1).data(Qt::DecorationRole).value<QIcon>().isNull());
    }
}

TEST_F(Window, ShowsACalendarWithoutPublishingOptionsAsItsTitleAndOneBlank)
{
    open();
    EXPECT_EQ(rowTitle(privat), "Privat ");
}

TEST_F(Window, ShowsTheFullSyncNoticeAtOnceWhenACalendarIsTickedOrUnticked)
{
    open();
    const std::string key = home.calendarKey("Arbeit");
    EXPECT_EQ(text("syncCalendarsStatusLabel"), QString());
    for (const int state : {0, 1}) {
        find<QLabel>("syncCalendarsStatusLabel")->clear();
        tick(arbeit);
        EXPECT_EQ(isRowTicked(arbeit), state == 1);
        EXPECT_EQ(text("syncCalendarsStatusLabel"), kNotice);
        EXPECT_EQ(preference("ICAL_SYNC_PLUGIN_FULL_SYNC"), Value(true));
        EXPECT_EQ(preference("ICAL_SYNC_PLUGIN_SYNCED_PLUGINS").dictionary()[key], Value(state));
    }
}

TEST_F(Window, ShowsTheFullSyncNoticeOfLastTime)
{
    open();
    tick(privat);
    close();
    open();
    EXPECT_EQ(text("syncCalendarsStatusLabel"), kNotice);
    EXPECT_FALSE(isRowTicked(privat));
}

TEST_F(Window, ReadsTheStoreAgainOnRequest)
{
    open();
    writeCalendar("5", "Verein", "#888888", "Local");
    QTest::keyClick(window.get(), Qt::Key_F5);
    settle();
    EXPECT_EQ(list()->model()->rowCount(), 4);
    EXPECT_EQ(rowTitle(3), "Verein ");
}

// The sharing tab.

TEST_F(Window, HidesTheSharingTabForABirthdayCalendarAndAsksNothing)
{
    open();
    EXPECT_FALSE(isSharingShown());
    select(arbeit);
    EXPECT_TRUE(isSharingShown());
    serviceCalls.clear();
    select(geburtstage);
    EXPECT_FALSE(isSharingShown());
    EXPECT_THAT(serviceCalls, IsEmpty());
}

TEST_F(Window, ShowsWhatTheServiceReportsAsPublishedWithEventsAndAnon)
{
    service.sharings = {Dictionary{{"public", "YES"}, {"publicOptions", "EVENTS  ANON"}}};
    open();
    select(arbeit);
    EXPECT_EQ(storedOptions("Arbeit"), options(1, 1, 0, 1));
    EXPECT_TRUE(isTicked("publishEventsCheckbox"));
    EXPECT_FALSE(isTicked("publishTasksCheckbox"));
    EXPECT_TRUE(isTicked("anonymizeAllCheckbox"));
    for (const char* box :
         {"publishEventsCheckbox", "publishTasksCheckbox", "anonymizeAllCheckbox"})
        EXPECT_FALSE(isEnabled(box)) << box;
    EXPECT_TRUE(isEnabled("showPublicCalendarsInBrowserButton"));
    EXPECT_EQ(rowTitle(arbeit), "Arbeit (Öffentlich)");
}

TEST_F(Window, PublishesWithOnlyTheEventsBoxTicked)
{
    open();
    select(arbeit);
    EXPECT_EQ(title("activatePublicSharingButton"), QStringLiteral("Veröffentlichen..."));
    EXPECT_FALSE(isEnabled("publishEventsCheckbox"));
    EXPECT_TRUE(isEnabled("publishTasksCheckbox"));
    EXPECT_TRUE(isEnabled("anonymizeAllCheckbox"));
    EXPECT_FALSE(isEnabled("showPublicCalendarsInBrowserButton"));
    click("activatePublicSharingButton");
    EXPECT_THAT(serviceCalls, Contains(EndsWith(" options:EVENTS  ")));
    EXPECT_EQ(storedOptions("Arbeit"), options(1, 1, 0, 0));
    EXPECT_EQ(title("activatePublicSharingButton"), QStringLiteral("Veröffentlichung aufheben..."));
    EXPECT_EQ(rowTitle(arbeit), "Arbeit (Öffentlich)");
    EXPECT_EQ(text("publicSharingStatusLabel"), QString());
    EXPECT_FALSE(find<QProgressBar>("publicSharingProgress")->isVisible());
}

TEST_F(Window, StoresAnOptionWhenItsBoxIsClicked)
{
    open();
    select(arbeit);
    click("publishTasksCheckbox");
    EXPECT_EQ(storedOptions("Arbeit"), options(0, 1, 1, 0));
    click("anonymizeAllCheckbox");
    EXPECT_EQ(storedOptions("Arbeit"), options(0, 1, 1, 1));
    select(privat);
    EXPECT_FALSE(isTicked("publishTasksCheckbox"));
    select(arbeit);
    EXPECT_TRUE(isTicked("publishTasksCheckbox"));
}

TEST_F(Window, TakesACalendarBackAndKeepsWhatTheBoxesShow)
{
    open();
    select(arbeit);
    click("publishTasksCheckbox");
    click("activatePublicSharingButton");
    click("activatePublicSharingButton");
    EXPECT_EQ(storedOptions("Arbeit"), options(0, 1, 1, 0));
    EXPECT_EQ(title("activatePublicSharingButton"), QStringLiteral("Veröffentlichen..."));
    EXPECT_EQ(rowTitle(arbeit), "Arbeit ");
}

TEST_F(Window, LeavesAllAsItWasWhenTheServiceFails)
{
    open();
    select(arbeit);
    service.succeeds = false;
    click("activatePublicSharingButton");
    EXPECT_EQ(title("activatePublicSharingButton"), QStringLiteral("Veröffentlichen..."));
    EXPECT_EQ(storedOptions("Arbeit"), options(0, 1, 0, 0));
    EXPECT_THAT(home.folder()
                    .read("Library/Application Support/VeloraSuite/Logs/Einzelheiten.log")
                    .value_or(""),
                HasSubstr("Fehler beim Veroeffentlichen von 'Arbeit': \n"
                          "Der Dienst antwortet nicht"));
}

// Settings that cannot be stored.

TEST_F(Window, ShowsWhatHoldsWhenATickCannotBeStored)
{
    open();
    const auto sync = lockHome();
    tick(arbeit);
    EXPECT_TRUE(isRowTicked(arbeit));
    EXPECT_EQ(text("status"),
              QStringLiteral("Für diesen Heimordner läuft gerade eine andere Synchronisierung."));
    EXPECT_TRUE(preference("ICAL_SYNC_PLUGIN_FULL_SYNC").isNil());
}

TEST_F(Window, SwitchesThePluginOnAndOff)
{
    open();
    EXPECT_FALSE(isTicked("isOn"));
    click("isOn");
    EXPECT_EQ(preference("ICAL_SYNC_PLUGIN_ACTIVATE"), Value(true));
    click("isOn");
    EXPECT_EQ(preference("ICAL_SYNC_PLUGIN_ACTIVATE"), Value(false));
}

// Without the view.

TEST_F(Window, WorksWithoutTheViewWhenItsFileIsMissing)
{
    const TemporaryFolder folder;
    const std::string bundle = folder.path("ICalSyncPlugin.bundle");
    std::filesystem::copy(KT_BUNDLE_PATH, bundle, std::filesystem::copy_options::recursive);
    std::filesystem::remove(bundle + "/Contents/Resources/ICalSyncPlugin.ui");
    place.pluginPath = bundle;
    open();
    EXPECT_TRUE(find<QLabel>("noView")->isVisible());
    click("syncButton");
    ASSERT_TRUE(waitForSync());
    EXPECT_THAT(text("status").toStdString(), HasSubstr("wurden synchronisiert"));
}

TEST_F(Window, NamesWhatKeepsItFromTheStoreUntilThatIsGone)
{
    open();
    const std::string store = home.folder().path("Library/Calendars");
    std::filesystem::rename(store, store + "-fort");
    home.folder().write("Library/Calendars", "kein Ordner");
    window->reload();
    EXPECT_TRUE(find<QLabel>("noView")->isVisible());
    EXPECT_THAT(text("noView").toStdString(), HasSubstr(store));
    EXPECT_FALSE(list()->isVisible());
    std::filesystem::remove(store);
    std::filesystem::rename(store + "-fort", store);
    window->reload();
    settle();
    EXPECT_FALSE(find<QLabel>("noView")->isVisible());
    EXPECT_TRUE(list()->isVisible());
    EXPECT_EQ(list()->model()->rowCount(), 3);
}

}  // namespace
}  // namespace kt::test
