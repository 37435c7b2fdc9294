#include <QProgressBar>
#include <filesystem>

#include "Sync/Host/Services/HomeLock.h"
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
    window->reload();
    settle();
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
    const auto sync = HomeLock::exclusive(SuiteFolder(place.home).lockPath());
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

// A sync.

TEST_F(Window, SyncsAndShowsHowItEnded)
{
    open();
    tick(privat);
    click("syncButton");
    EXPECT_TRUE(window->isSyncing());
    EXPECT_FALSE(isEnabled("syncButton"));
    EXPECT_FALSE(isEnabled("syncedCalendarsList"));
    EXPECT_FALSE(isEnabled("isOn"));
    EXPECT_TRUE(isEnabled("cancelButton"));
    EXPECT_TRUE(find<QProgressBar>("progress")->isVisible());
    ASSERT_TRUE(waitForSync());
    settle();
    EXPECT_EQ(text("status"), QStringLiteral("Die iCal-Kalender wurden synchronisiert\n"
                                             "3 Kalender (1 deaktiviert)\n"
                                             "1 Ereignis, 0 Aufgaben"));
    EXPECT_THAT(find<QPlainTextEdit>("log")->toPlainText().toStdString(),
                HasSubstr("Synchronisierung beenden..."));
    EXPECT_TRUE(isEnabled("syncButton"));
    EXPECT_TRUE(isEnabled("syncedCalendarsList"));
    EXPECT_FALSE(isEnabled("cancelButton"));
    EXPECT_FALSE(find<QProgressBar>("progress")->isVisible());
    // What the run changed of the settings shows.
    EXPECT_TRUE(isTicked("isOn"));
    EXPECT_EQ(text("syncCalendarsStatusLabel"), QString());
    EXPECT_FALSE(isRowTicked(privat));
}

TEST_F(Window, StaysAliveWhileASyncRuns)
{
    open();
    click("syncButton");
    int rounds = 0;
    while (window->isSyncing() && rounds < 100000) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        ++rounds;
    }
    EXPECT_GT(rounds, 3);
}

TEST_F(Window, SaysWhyASyncCouldNotBegin)
{
    open();
    const auto other = HomeLock::exclusive(SuiteFolder(place.home).lockPath());
    click("syncButton");
    ASSERT_TRUE(waitForSync());
    settle();
    EXPECT_EQ(text("status"),
              QStringLiteral("Für diesen Heimordner läuft gerade eine andere Synchronisierung."));
    EXPECT_TRUE(isEnabled("syncButton"));
}

TEST_F(Window, SaysThatTheProgramOfTheSyncIsMissing)
{
    program = "/nonexistent/icalsync";
    open();
    click("syncButton");
    ASSERT_TRUE(waitForSync());
    settle();
    EXPECT_THAT(text("status").toStdString(), HasSubstr("kann nicht gestartet werden"));
    EXPECT_TRUE(isEnabled("syncButton"));
}

/// A script in the place of icalsync that ends only when it is cancelled.
class WindowOfALongSync : public WindowFixture {
protected:
    WindowOfALongSync()
    {
        folder.write("icalsync",
                     "#!/bin/sh\n"
                     "trap 'echo \"{\\\"status\\\":\\\"abgebrochen\\\"}\"; exit 1' INT\n"
                     "echo '{\"step\":{\"title\":\"Arbeit\",\"current\":1,\"total\":4}}' >&2\n"
                     "while :; do sleep 0.05; done");
        program = folder.path("icalsync");
        std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    }
    void start()
    {
        open();
        click("syncButton");
        ASSERT_TRUE(
            QTest::qWaitFor([this] { return find<QProgressBar>("progress")->maximum() == 4; },
                            20000));
    }

    TemporaryFolder folder;
};

TEST_F(WindowOfALongSync, ShowsHowFarItIs)
{
    start();
    EXPECT_EQ(find<QProgressBar>("progress")->value(), 1);
    EXPECT_EQ(find<QProgressBar>("progress")->text(), QStringLiteral("Arbeit"));
}

TEST_F(WindowOfALongSync, CanCancelIt)
{
    start();
    click("cancelButton");
    ASSERT_TRUE(waitForSync());
    settle();
    EXPECT_EQ(text("status"), QStringLiteral("abgebrochen"));
}

TEST_F(WindowOfALongSync, CancelsItWithEscape)
{
    start();
    QTest::keyClick(window.get(), Qt::Key_Escape);
    ASSERT_TRUE(waitForSync());
}

TEST_F(WindowOfALongSync, ClosesWhenItHasEnded)
{
    start();
    window->close();
    EXPECT_TRUE(window->isVisible());
    ASSERT_TRUE(waitForSync());
    settle();
    EXPECT_FALSE(window->isVisible());
}

TEST_F(WindowOfALongSync, StartsNoSecondOne)
{
    start();
    QTest::keyClick(window.get(), Qt::Key_R, Qt::ControlModifier);
    settle();
    EXPECT_EQ(find<QProgressBar>("progress")->maximum(), 4);
}

}  // namespace
}  // namespace kt::test
