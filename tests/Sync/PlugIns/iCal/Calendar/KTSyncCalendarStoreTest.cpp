#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarStore.h"
#include "tests/Sync/PlugIns/iCal/StoreFixture.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const char* kNoCalendars = "Es gibt keine Kalender, evtl. wurde iCal noch nie gestartet";

class StoreFrame : public StoreFixture {
protected:
    std::shared_ptr<KTSyncCalendarStore> store =
        KTSyncCalendarStore::calendarStoreWithPluginHelper(&host);

    std::shared_ptr<KTSyncCalendar> calendar(const std::string& title)
    {
        auto made = KTSyncCalendar::syncCalendarWithPluginHelper(&host, 0, title, std::nullopt);
        made->setTitle(title);
        made->setColor("#0252D4");
        made->setNotes("");
        return made;
    }
};

class StoreOnSystemWithoutStore : public StoreFrame, public ::testing::WithParamInterface<int> {};

INSTANTIATE_TEST_SUITE_P(Versions, StoreOnSystemWithoutStore,
                         ::testing::Values(-1, 0, 1, 2, 3, 6, 7, 100));

TEST_P(StoreOnSystemWithoutStore, ReadsAsEmptyAndWritesNothingWithSuccess)
{
    host.script.macOSVersion = GetParam();
    const auto parsed = store->calendars();
    ASSERT_TRUE(parsed.has_value());
    EXPECT_TRUE(parsed->empty());
    EXPECT_TRUE(store->storeCalendars({calendar("Arbeit")}));
    EXPECT_THAT(home.tree(), IsEmpty());
    EXPECT_THAT(host.messages(), IsEmpty());
}

TEST_F(StoreFrame, WithoutAHelperReadsAsEmptyAndWritesNothing)
{
    const auto orphan = KTSyncCalendarStore::calendarStoreWithPluginHelper(nullptr);
    const auto parsed = orphan->calendars();
    ASSERT_TRUE(parsed.has_value());
    EXPECT_TRUE(parsed->empty());
    EXPECT_TRUE(orphan->storeCalendars({}));
    EXPECT_THAT(home.tree(), IsEmpty());
}

TEST_F(StoreFrame, OfMacOS105WithoutAFolderCreatesItAndReadsAsEmpty)
{
    const auto parsed = store->calendars();
    ASSERT_TRUE(parsed.has_value());
    EXPECT_TRUE(parsed->empty());
    EXPECT_EQ(home.tree(), (std::map<std::string, std::string>{{"Library/Calendars/", ""}}));
    EXPECT_THAT(classes.losses(), IsEmpty());
}

TEST_F(StoreFrame, SaysTwiceThatThereAreNoCalendarsWhenTheFolderIsMissing)
{
    store->calendars();
    EXPECT_THAT(host.messages(), ElementsAre(kNoCalendars, kNoCalendars));
    EXPECT_THAT(platform.consoleLines(), ElementsAre(kNoCalendars, kNoCalendars));
}

TEST_F(StoreFrame, CreatesAMissingFolderBeforeItReads)
{
    std::vector<bool> wasThere;
    host.script.before = [&](std::string_view) {
        wasThere.push_back(home.exists("Library/Calendars"));
    };
    store->calendars();
    EXPECT_THAT(wasThere, ElementsAre(false, true));
}

TEST_F(StoreFrame, TakesAPlainFileInTheFoldersPlaceForAMissingFolder)
{
    home.write("Library/Calendars", "kein Ordner");
    const auto parsed = store->calendars();
    ASSERT_TRUE(parsed.has_value());
    EXPECT_TRUE(parsed->empty());
    EXPECT_THAT(host.messages(), ElementsAre(kNoCalendars, kNoCalendars));
    EXPECT_EQ(home.read("Library/Calendars"), "kein Ordner");
}

TEST_F(StoreFrame, SaysOnceThatThereAreNoCalendarsWhenTheFolderIsEmpty)
{
    home.makeFolder("Library/Calendars");
    store->calendars();
    EXPECT_THAT(host.messages(), ElementsAre(kNoCalendars));
    EXPECT_THAT(platform.consoleLines(), ElementsAre(kNoCalendars));
}

TEST_F(StoreFrame, BehindAWriteGuardReadsAMissingStoreAsEmptyAndLeavesTheDiskAlone)
{
    const WriteGuard guard;
    const auto parsed = store->calendars();
    ASSERT_TRUE(parsed.has_value());
    EXPECT_TRUE(parsed->empty());
    EXPECT_THAT(home.tree(), IsEmpty());
    EXPECT_THAT(classes.losses(), IsEmpty());
}

TEST_F(StoreFrame, ListsTheValuesOfItsCalendarsInTheirOrder)
{
    writeCalendar("B", "Zuhause");
    writeCalendar("A", "Arbeit");
    const auto list = store->calendarsList();
    ASSERT_TRUE(list.has_value());
    ASSERT_EQ(list->size(), 2u);
    EXPECT_EQ((*list)[0]->title(), "Arbeit");
    EXPECT_EQ((*list)[1]->title(), "Zuhause");
}

TEST_F(StoreFrame, ReadsTheWholeStoreAfreshEachTime)
{
    writeCalendar("A", "Arbeit");
    EXPECT_EQ(store->calendars()->size(), 1u);
    writeCalendar("B", "Zuhause");
    EXPECT_EQ(store->calendars()->size(), 2u);
    home.remove("Library/Calendars/A.calendar");
    EXPECT_EQ(store->calendars()->begin()->second->title(), "Zuhause");
}

TEST_F(StoreFrame, LogsNameUserInformationAndReasonOfAnExceptionWhileReadingAndGivesNil)
{
    writeFolder("A.calendar", with(calendarInfo("A", "Arbeit"), "Title", 2007));
    EXPECT_FALSE(store->calendars().has_value());
    ASSERT_FALSE(host.messages().empty());
    EXPECT_THAT(host.messages().back(),
                ::testing::StartsWith(
                    "KTSyncCalendarStore.calendars: NSInvalidArgumentException, (null), "));
    EXPECT_EQ(platform.consoleLines().back(), host.messages().back());
    EXPECT_FALSE(store->calendarsList().has_value());
}

TEST_F(StoreFrame, ShowsTheUserInformationOfAnExceptionThatCarriesSome)
{
    writeCalendar("A", "Arbeit");
    host.script.before = [](std::string_view call) {
        if (call == "logMsg:Kalender: 'Arbeit'")
            throw Exception("Name", "Grund", Dictionary{{"Datei", "f"}});
    };
    EXPECT_FALSE(store->calendars().has_value());
    EXPECT_EQ(host.messages().back(),
              "KTSyncCalendarStore.calendars: Name, {\n    Datei = f;\n}, Grund");
}

TEST_F(StoreFrame, PassesOnAForeignObjectWhileReading)
{
    writeCalendar("A", "Arbeit");
    host.script.before = [](std::string_view call) {
        if (call == "logMsg:Kalender: 'Arbeit'")
            throw 42;
    };
    EXPECT_THROW(store->calendars(), int);
}

TEST_F(StoreFrame, LogsNameUserInformationAndReasonOfAnExceptionWhileWritingAndSaysNo)
{
    auto colourless = calendar("Arbeit");
    colourless->setColor(std::nullopt);
    EXPECT_FALSE(store->storeCalendars({colourless}));
    EXPECT_THAT(host.messages().back(),
                ::testing::StartsWith(
                    "KTSyncCalendarStore.storeCalendars: NSInvalidArgumentException, (null), "));
    EXPECT_EQ(platform.consoleLines().back(), host.messages().back());
}

TEST_F(StoreFrame, PassesOnAForeignObjectWhileWriting)
{
    host.script.before = [](std::string_view) { throw 42; };
    EXPECT_THROW(store->storeCalendars({calendar("Arbeit")}), int);
}

TEST_F(StoreFrame, LogsAFileManagersErrorToHostAndSystem)
{
    store->fileManager(FileManager::defaultManager(), {{"Error", "Error copying"}, {"Path", "/a"}});
    const std::string line =
        "filemanager error: {\n    Error = \"Error copying\";\n    Path = /a;\n}";
    EXPECT_THAT(host.messages(), ElementsAre(line));
    EXPECT_THAT(platform.consoleLines(), ElementsAre(line));
}

struct HandlerRow {
    const char* error;
    bool proceeds;
};
class StoreAsFileManagerHandler : public StoreFrame,
                                  public ::testing::WithParamInterface<HandlerRow> {};
INSTANTIATE_TEST_SUITE_P(Errors, StoreAsFileManagerHandler,
                         ::testing::Values(HandlerRow{"Error removing", true},
                                           HandlerRow{"Error copying", false},
                                           HandlerRow{"Error moving", false},
                                           HandlerRow{"error removing", false},
                                           HandlerRow{nullptr, false}));

TEST_P(StoreAsFileManagerHandler, GoesOnAfterAFailedRemovalAlone)
{
    Dictionary error{{"Path", "/a"}};
    if (GetParam().error != nullptr)
        error.set("Error", GetParam().error);
    EXPECT_EQ(store->fileManager(FileManager::defaultManager(), error), GetParam().proceeds);
}

}  // namespace
}  // namespace kt::test
