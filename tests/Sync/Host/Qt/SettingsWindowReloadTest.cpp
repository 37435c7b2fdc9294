#include "tests/Sync/Host/Qt/WindowFixture.h"
#include "tests/support/FailingFileManager.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

const char* const kOtherRun = "Für diesen Heimordner läuft gerade eine andere Synchronisierung.";

/// What the window shows after it has read calendars and settings again.
class WindowReadingAgain : public WindowFixture {
protected:
    std::size_t timesInLog(const std::string& text)
    {
        const std::string all = logPane();
        std::size_t count = 0;
        for (std::size_t at = all.find(text); at != std::string::npos; at = all.find(text, at + 1))
            ++count;
        return count;
    }
    Value isSwitchedOn(const std::string& key) const
    {
        return preference("ICAL_SYNC_PLUGIN_SYNCED_PLUGINS").dictionary()[key];
    }
};

// The selection.

TEST_F(WindowReadingAgain, KeepsTheSelectedCalendarWhereverItStandsNow)
{
    open();
    select(arbeit);
    writeCalendar("0", "Anfang", "#888888", "Local");
    pressF5();
    ASSERT_EQ(rowTitle(0), "Anfang ");
    EXPECT_EQ(selectedTitle(), "Arbeit ");
    click("publishTasksCheckbox");
    EXPECT_EQ(storedOptions("Arbeit"), options(0, 1, 1, 0));
    EXPECT_EQ(storedOptions("Anfang"), options(0, 1, 0, 0));
}

TEST_F(WindowReadingAgain, KeepsItAfterASyncThatBroughtACalendar)
{
    const std::string store = home.folder().path("Library/Calendars");
    writeProgram("cp -r '" + store + "/2.calendar' '" + store +
                 "/0.calendar'\n"
                 "sed -i 's/Privat/Anfang/; s/<string>2</<string>0</' '" +
                 store + "/0.calendar/Info.plist'\n");
    open();
    select(privat);
    click("syncButton");
    ASSERT_TRUE(waitForSync());
    settle();
    ASSERT_EQ(rowTitle(0), "Anfang ");
    EXPECT_EQ(selectedTitle(), "Privat ");
    click("anonymizeAllCheckbox");
    EXPECT_EQ(storedOptions("Privat"), options(0, 1, 0, 1));
}

TEST_F(WindowReadingAgain, TakesTheSharingTabAwayWithItsCalendar)
{
    open();
    select(arbeit);
    home.folder().remove("Library/Calendars/1.calendar");
    pressF5();
    ASSERT_EQ(rowTitle(0), "Privat ");
    EXPECT_EQ(selectedTitle(), "");
    EXPECT_FALSE(isSharingShown());
}

TEST_F(WindowReadingAgain, AsksTheServiceAgainForTheSelectedCalendar)
{
    open();
    select(arbeit);
    service.sharings = {Dictionary{{"public", "YES"}, {"publicOptions", "EVENTS TASKS "}}};
    pressF5();
    EXPECT_EQ(title("activatePublicSharingButton"), QStringLiteral("Veröffentlichung aufheben..."));
    EXPECT_TRUE(isTicked("publishTasksCheckbox"));
    EXPECT_EQ(rowTitle(arbeit), "Arbeit (Öffentlich)");
}

TEST_F(WindowReadingAgain, LeavesTheFocusWhereItWas)
{
    open();
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    select(arbeit);
    auto* button = find<QAbstractButton>("activatePublicSharingButton");
    button->setFocus();
    pressF5();
    EXPECT_EQ(QApplication::focusWidget(), button);
}

// Changes that were refused.

TEST_F(WindowReadingAgain, ShowsTheOptionsThatHoldWhenAnotherCannotBeStored)
{
    open();
    select(arbeit);
    const auto before = storedOptions("Arbeit");
    const auto sync = lockHome();
    click("publishTasksCheckbox");
    EXPECT_EQ(text("status").toStdString(), kOtherRun);
    EXPECT_FALSE(isTicked("publishTasksCheckbox"));
    EXPECT_EQ(preference("ICAL_SYNC_PLUGIN_PUBLISHED_CALENDARS").dictionary().size(), 3u);
    EXPECT_EQ(before, options(0, 1, 0, 0));
}

TEST_F(WindowReadingAgain, TakesBackWhatWasPublishedThoughThatCouldNotBeStored)
{
    recordsService = false;
    open();
    select(arbeit);
    const std::string key = home.calendarKey("Arbeit");
    auto sync = lockHome();
    click("activatePublicSharingButton");
    ASSERT_THAT(server.sharings(), ElementsAre(key));
    EXPECT_EQ(title("activatePublicSharingButton"), QStringLiteral("Veröffentlichung aufheben..."));
    EXPECT_EQ(timesInLog(kOtherRun), 1u);
    click("activatePublicSharingButton");
    EXPECT_THAT(server.sharings(), IsEmpty());
    EXPECT_EQ(title("activatePublicSharingButton"), QStringLiteral("Veröffentlichen..."));
    sync.reset();
    pressF5();
    EXPECT_EQ(storedOptions("Arbeit"), options(0, 1, 0, 0));
}

TEST_F(WindowReadingAgain, StoresWhatIsPublishedAsSoonAsThatCanBeDone)
{
    recordsService = false;
    open();
    select(arbeit);
    auto sync = lockHome();
    click("activatePublicSharingButton");
    sync.reset();
    pressF5();
    EXPECT_EQ(storedOptions("Arbeit"), options(1, 1, 0, 0));
    EXPECT_EQ(title("activatePublicSharingButton"), QStringLiteral("Veröffentlichung aufheben..."));
}

TEST_F(WindowReadingAgain, ForgetsATickThatWasRefusedBeforeAnythingWasStored)
{
    const std::string key = home.calendarKey("Arbeit");
    auto sync = lockHome();
    open();
    EXPECT_EQ(text("status").toStdString(), kOtherRun);
    EXPECT_EQ(timesInLog(kOtherRun), 1u);
    tick(arbeit);
    EXPECT_TRUE(isRowTicked(arbeit));
    EXPECT_EQ(text("syncCalendarsStatusLabel"), QString());
    sync.reset();
    pressF5();
    EXPECT_TRUE(isRowTicked(arbeit));
    EXPECT_EQ(isSwitchedOn(key), Value(1));
    EXPECT_TRUE(preference("ICAL_SYNC_PLUGIN_FULL_SYNC").isNil());
}

TEST_F(WindowReadingAgain, ShowsWhatHoldsWhenTheSettingsCannotBeWritten)
{
    open();
    failFileOperations([](const std::string& operation) {
        return operation.starts_with("writeAtomically") && operation.ends_with("Preferences.plist");
    });
    tick(privat);
    EXPECT_TRUE(isRowTicked(privat));
    EXPECT_THAT(text("status").toStdString(), HasSubstr("können nicht gesichert werden"));
}

// Other programs.

TEST_F(WindowReadingAgain, KeepsNobodyOutWhenAnEventIsOver)
{
    open();
    EXPECT_NE(lockHome(), nullptr);
    tick(arbeit);
    EXPECT_NE(lockHome(), nullptr);
    select(arbeit);
    click("publishTasksCheckbox");
    click("activatePublicSharingButton");
    EXPECT_NE(lockHome(), nullptr);
    EXPECT_EQ(storedOptions("Arbeit"), options(1, 1, 1, 0));
}

TEST_F(WindowReadingAgain, LeavesAloneWhatAnotherProgramSwitchedMeanwhile)
{
    const std::string first = home.calendarKey("Arbeit");
    const std::string second = home.calendarKey("Privat");
    open();
    ASSERT_EQ(home.run({"off", first}).exitCode, 0);
    tick(privat);
    EXPECT_EQ(isSwitchedOn(first), Value(0));
    EXPECT_EQ(isSwitchedOn(second), Value(0));
    pressF5();
    EXPECT_FALSE(isRowTicked(arbeit));
    EXPECT_FALSE(isRowTicked(privat));
}

// The store.

TEST_F(WindowReadingAgain, ShowsWhatThePluginLogsOfAStoreThatItCannotRead)
{
    open();
    home.folder().write("Library/Calendars/1.calendar/Info.plist",
                        xmlPropertyList(Dictionary{{"Key", "1"}, {"Title", 1}, {"Type", "Local"}}));
    pressF5();
    EXPECT_EQ(list()->model()->rowCount(), 0);
    EXPECT_THAT(logPane(), HasSubstr("ICalSyncPlugin.calendarsList: calendarStore == nil"));
    pressF5();
    EXPECT_EQ(timesInLog("calendarStore == nil"), 1u);
    EXPECT_THAT(home.folder()
                    .read("Library/Application Support/VeloraSuite/Logs/Synchronisierung.log")
                    .value_or(""),
                HasSubstr("calendarStore == nil"));
}

TEST_F(WindowReadingAgain, NamesACalendarThatItCannotRead)
{
    home.folder().write("Library/Calendars/2.calendar/Info.plist", "kaputt");
    open();
    EXPECT_EQ(list()->model()->rowCount(), 2);
    EXPECT_THAT(logPane(), HasSubstr("Bleibt unverändert liegen: " +
                                     home.folder().path("Library/Calendars/2.calendar")));
}

TEST_F(WindowReadingAgain, HasNothingToSayOfAStoreThatItCanRead)
{
    open();
    pressF5();
    EXPECT_EQ(logPane(), "");
}

/// As if another program had the file aside just when it is read a second time.
class FileIsAwayOnce : public FailingFileManager {
public:
    explicit FileIsAwayOnce(std::string name)
        : FailingFileManager(makePosixFileManager(), 0),
          _name(std::move(name))
    {}

    std::optional<std::string> contentsAtPath(const std::string& path) const override
    {
        if (path.ends_with(_name) && ++_reads == 2)
            return std::nullopt;
        return FailingFileManager::contentsAtPath(path);
    }
    int reads() const { return _reads; }

private:
    std::string _name;
    mutable int _reads = 0;
};

TEST_F(WindowReadingAgain, ChangesNothingInTheStoreWhileAnotherProgramRewritesIt)
{
    const std::string store = "Library/Application Support/iCal/";
    home.folder().remove("Library/Calendars");
    home.folder().write(
        store + "nodes.plist",
        xmlPropertyList(Dictionary{
            {"Version", 1},
            {"List", Array{Dictionary{{"Key", "A"}, {"Title", "Arbeit"}, {"SourceKey", "A"}}}}}));
    home.folder().write(store + "Sources/A.calendar/corestorage.ics", "BEGIN:VCALENDAR\r\n");
    place.systemVersion = 4;
    const auto storeTree = [&] {
        auto tree = home.folder().tree();
        std::erase_if(tree, [&](const auto& entry) { return !entry.first.starts_with(store); });
        return tree;
    };
    const auto before = storeTree();
    const auto files = std::make_shared<FileIsAwayOnce>("/nodes.plist");
    Platform::shared().setFileManager(files);
    open();
    EXPECT_GE(files->reads(), 2);
    EXPECT_EQ(storeTree(), before);
    EXPECT_THAT(logPane(), HasSubstr("nodes.plist"));
}

}  // namespace
}  // namespace kt::test
