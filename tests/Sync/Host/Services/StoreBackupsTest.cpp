#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "Sync/Foundation/CalendarDate.h"
#include "Sync/Foundation/Exception.h"
#include "Sync/Host/Services/StoreBackups.h"
#include "tests/support/ExceptionOf.h"
#include "tests/support/PlatformScope.h"
#include "tests/support/TemporaryFolder.h"

namespace kt {
namespace {

namespace fs = std::filesystem;
using test::exceptionOf;
using test::PlatformScope;
using test::TemporaryFolder;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class StoreBackupsOfAStore : public testing::Test {
protected:
    StoreBackupsOfAStore()
    {
        setDay(1);
        home.write("Library/Calendars/A.calendar/Info.plist", "alt");
    }
    void setDay(int day) const
    {
        const std::string digits = (day < 10 ? "0" : "") + std::to_string(day);
        platform.setNow(*dateWithISO8601("2007-12-" + digits + "T09:00:00Z"));
    }
    std::optional<StoreBackups::Copy> make() const { return backups.make(store); }
    /// One copy a day.
    void makeOnDays(int first, int last) const
    {
        for (int day = first; day <= last; ++day) {
            setDay(day);
            make();
            backups.prune(std::nullopt);
        }
    }

    TemporaryFolder home;
    PlatformScope platform{home.path()};
    StoreBackups backups{home.path("Backups")};
    std::vector<std::string> store{home.path("Library/Calendars")};
};

TEST_F(StoreBackupsOfAStore, CopiesTheStoreUnderTheDate)
{
    const auto copy = make();
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->name, "2007-12-01T09-00-00.000Z-erste");
    EXPECT_THAT(copy->unreadable, IsEmpty());
    EXPECT_EQ(home.read("Backups/" + copy->name + "/Calendars/A.calendar/Info.plist"), "alt");
    EXPECT_THAT(backups.names(), ElementsAre(copy->name));
}

TEST_F(StoreBackupsOfAStore, KeepsTheTimesOfTheFiles)
{
    const auto time = fs::last_write_time(home.path("Library/Calendars/A.calendar/Info.plist"));
    const auto copy = make();
    EXPECT_EQ(fs::last_write_time(
                  home.path("Backups/" + copy->name + "/Calendars/A.calendar/Info.plist")),
              time);
}

TEST_F(StoreBackupsOfAStore, CopiesWhatALinkToTheStoreLeadsTo)
{
    fs::rename(home.path("Library/Calendars"), home.path("Volume"));
    fs::create_symlink(home.path("Volume"), home.path("Library/Calendars"));
    const auto copy = make();
    ASSERT_TRUE(copy);
    EXPECT_EQ(home.read("Backups/" + copy->name + "/Volume/A.calendar/Info.plist"), std::nullopt);
    EXPECT_EQ(home.read("Backups/" + copy->name + "/Calendars/A.calendar/Info.plist"), "alt");
}

TEST_F(StoreBackupsOfAStore, MakesNoneOfAStoreThatHoldsNothing)
{
    home.remove("Library/Calendars");
    EXPECT_EQ(make(), std::nullopt);
    home.makeFolder("Library/Calendars");
    EXPECT_EQ(make(), std::nullopt);
    EXPECT_FALSE(home.exists("Backups"));
}

TEST_F(StoreBackupsOfAStore, TwoOfOneMomentGetTwoNames)
{
    make();
    EXPECT_EQ(make()->name, "2007-12-01T09-00-00.001Z");
    EXPECT_EQ(make()->name, "2007-12-01T09-00-00.002Z");
}

TEST_F(StoreBackupsOfAStore, TheLastTenAndTheVeryFirstAreKept)
{
    makeOnDays(1, 15);
    const auto names = backups.names();
    ASSERT_THAT(names, SizeIs(11));
    EXPECT_EQ(names.front(), "2007-12-01T09-00-00.000Z-erste");
    EXPECT_EQ(names[1], "2007-12-06T09-00-00.000Z");
    EXPECT_EQ(names.back(), "2007-12-15T09-00-00.000Z");
}

TEST_F(StoreBackupsOfAStore, TheFirstStaysTheFirstWhenTheClockIsSetBack)
{
    makeOnDays(20, 20);
    makeOnDays(1, 14);
    EXPECT_THAT(backups.names(), SizeIs(11));
    EXPECT_EQ(backups.names().back(), "2007-12-20T09-00-00.000Z-erste");
}

TEST_F(StoreBackupsOfAStore, TheNamedOneIsKeptHoweverOldItIs)
{
    makeOnDays(1, 2);
    for (int day = 3; day <= 20; ++day) {
        setDay(day);
        make();
        backups.prune("2007-12-02T09-00-00.000Z");
    }
    EXPECT_THAT(backups.names(), SizeIs(12));
    EXPECT_EQ(backups.names()[1], "2007-12-02T09-00-00.000Z");
}

TEST_F(StoreBackupsOfAStore, WhatAKilledRunLeftUnfinishedIsNoBackupAndGoes)
{
    home.write("Backups/.unfertig-2007-12-01T08-00-00.000Z/Calendars/x", "halb");
    EXPECT_THAT(backups.names(), IsEmpty());
    backups.prune(std::nullopt);
    EXPECT_FALSE(home.exists("Backups/.unfertig-2007-12-01T08-00-00.000Z"));
}

TEST_F(StoreBackupsOfAStore, SaysThatNoneCanBeMadeAndLeavesNothingBehind)
{
    home.write("Backups", "eine Datei, wo der Ordner stehen müsste");
    const auto before = home.tree();
    try {
        make();
        FAIL() << "made";
    } catch (const Exception& exception) {
        EXPECT_EQ(exception.reason(), "Die Sicherungskopie \"" +
                                          home.path("Backups/2007-12-01T09-00-00.000Z-erste") +
                                          "\" kann nicht angelegt werden.");
    }
    EXPECT_EQ(home.tree(), before);
}

TEST_F(StoreBackupsOfAStore, NamesWhatItCannotReadAndCopiesTheRest)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "needs root, to act as somebody who may not read a file";
    const std::string secret = home.path("Library/Calendars/A.calendar/Geheim.ics");
    home.write("Library/Calendars/A.calendar/Geheim.ics", "geheim");
    fs::permissions(secret, fs::perms::none);
    home.makeFolder("Backups");
    fs::permissions(home.path(), fs::perms::all);
    fs::permissions(home.path("Backups"), fs::perms::all);
    constexpr uid_t kNobody = 65534;
    ASSERT_EQ(::seteuid(kNobody), 0);
    const auto copy = make();
    ASSERT_EQ(::seteuid(0), 0);
    ASSERT_TRUE(copy);
    EXPECT_THAT(copy->unreadable, ElementsAre(secret));
    EXPECT_EQ(home.read("Backups/" + copy->name + "/Calendars/A.calendar/Info.plist"), "alt");
    EXPECT_FALSE(home.exists("Backups/" + copy->name + "/Calendars/A.calendar/Geheim.ics"));
}

TEST_F(StoreBackupsOfAStore, PutsACopyBackInThePlaceOfWhatIsThere)
{
    const auto before = home.tree();
    const auto copy = make();
    home.write("Library/Calendars/A.calendar/Info.plist", "neu");
    home.write("Library/Calendars/B.calendar/Info.plist", "dazu");
    backups.restore(copy->name, store);
    auto after = home.tree();
    std::erase_if(after, [](const auto& entry) { return entry.first.starts_with("Backups/"); });
    EXPECT_EQ(after, before);
}

TEST_F(StoreBackupsOfAStore, PutsACopyBackWhereNothingIs)
{
    const auto copy = make();
    home.remove("Library/Calendars");
    backups.restore(copy->name, store);
    EXPECT_EQ(home.read("Library/Calendars/A.calendar/Info.plist"), "alt");
}

TEST_F(StoreBackupsOfAStore, PuttingBackLeavesAloneWhatWasNotCopied)
{
    const auto copy = make();
    home.write("Library/Other/x", "bleibt");
    home.write("Library/Calendars/A.calendar/Info.plist", "neu");
    backups.restore(copy->name, {home.path("Library/Other"), store.front()});
    EXPECT_EQ(home.read("Library/Other/x"), "bleibt");
    EXPECT_EQ(home.read("Library/Calendars/A.calendar/Info.plist"), "alt");
}

TEST_F(StoreBackupsOfAStore, RefusesToPutBackACopyOfAnotherStore)
{
    const auto copy = make();
    home.write("Library/Other/x", "bleibt");
    EXPECT_EQ(exceptionOf([&] { backups.restore(copy->name, {home.path("Library/Other")}); }),
              "NSGenericException: In der Sicherungskopie \"" + copy->name +
                  "\" steht kein Kalenderbestand dieser Ablage.");
    EXPECT_EQ(home.read("Library/Other/x"), "bleibt");
}

TEST_F(StoreBackupsOfAStore, PutsACopyBackBehindALink)
{
    fs::rename(home.path("Library/Calendars"), home.path("Volume"));
    fs::create_symlink(home.path("Volume"), home.path("Library/Calendars"));
    const auto copy = make();
    home.write("Volume/A.calendar/Info.plist", "neu");
    backups.restore(copy->name, store);
    EXPECT_TRUE(fs::is_symlink(home.path("Library/Calendars")));
    EXPECT_EQ(home.read("Volume/A.calendar/Info.plist"), "alt");
}

TEST_F(StoreBackupsOfAStore, RefusesToPutBackWhatIsNoBackup)
{
    make();
    for (const char* name : {"", "..", "2001-01-01", "../Library"})
        EXPECT_THROW(backups.restore(name, store), Exception) << name;
    EXPECT_EQ(home.read("Library/Calendars/A.calendar/Info.plist"), "alt");
}

}  // namespace
}  // namespace kt
