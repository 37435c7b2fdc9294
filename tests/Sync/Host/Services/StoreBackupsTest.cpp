#include <csignal>
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Sync/Foundation/CalendarDate.h"
#include "Sync/Foundation/Exception.h"
#include "Sync/Host/Services/StoreBackups.h"
#include "tests/support/ArchiveContents.h"
#include "tests/support/ExceptionOf.h"
#include "tests/support/FailingFileManager.h"
#include "tests/support/PlatformScope.h"
#include "tests/support/TemporaryFolder.h"

namespace kt {
namespace {

namespace fs = std::filesystem;
using test::contentsOfArchive;
using test::exceptionOf;
using test::PlatformScope;
using test::TemporaryFolder;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Key;
using testing::Not;
using testing::Pair;
using testing::SizeIs;

constexpr const char* kInfo = "Library/Calendars/A.calendar/Info.plist";

class StoreBackupsOfAStore : public testing::Test {
protected:
    StoreBackupsOfAStore()
    {
        setDate("2007-12-01");
        home.write(kInfo, "alt");
    }
    void setDate(const std::string& date) const
    {
        platform.setNow(*dateWithISO8601(date + "T09:00:00Z"));
    }
    std::optional<StoreBackups::Copy> make() const { return backups.make(store); }
    /// One of a store that was changed since the last.
    std::string makeOfChanged() const
    {
        home.write(kInfo, std::string(backups.names().size() + 1, 'x'));
        return make()->name;
    }
    void makeMany(int count, const std::optional<std::string>& kept = {}) const
    {
        for (int i = 0; i < count; ++i) {
            makeOfChanged();
            backups.prune(kept);
        }
    }
    std::string archive(const std::string& name) const
    {
        return home.path("Backups/" + name + ".tar.zst");
    }
    /// Names, inodes, sizes and times of all that stands in the backups' folder, and its own.
    std::vector<std::string> listing() const
    {
        std::vector<std::string> all;
        const auto add = [&](const std::string& path) {
            struct stat status {};
            ::stat(path.c_str(), &status);
            all.push_back(path + " " + std::to_string(status.st_ino) + " " +
                          std::to_string(status.st_size) + " " +
                          std::to_string(status.st_mtim.tv_sec) + "." +
                          std::to_string(status.st_mtim.tv_nsec));
        };
        add(home.path("Backups"));
        for (const auto& entry : fs::directory_iterator(home.path("Backups")))
            add(entry.path());
        std::sort(all.begin(), all.end());
        return all;
    }
    /// Everything but the backups.
    std::map<std::string, std::string> rest() const
    {
        auto all = home.tree();
        std::erase_if(all, [](const auto& entry) { return entry.first.starts_with("Backups/"); });
        return all;
    }

    TemporaryFolder home;
    PlatformScope platform{home.path()};
    StoreBackups backups{home.path("Backups")};
    std::vector<std::string> store{home.path("Library/Calendars")};
};

TEST_F(StoreBackupsOfAStore, OneIsAnArchiveUnderCounterAndDate)
{
    const auto copy = make();
    ASSERT_TRUE(copy);
    EXPECT_TRUE(copy->isNew);
    EXPECT_EQ(copy->name, "000001-2007-12-01T09-00-00Z-erste");
    EXPECT_THAT(copy->unreadable, IsEmpty());
    EXPECT_THAT(backups.names(), ElementsAre(copy->name));
    const auto members = contentsOfArchive(archive(copy->name));
    EXPECT_THAT(members, Contains(Pair("Calendars/A.calendar/Info.plist", "alt")));
    EXPECT_THAT(members, Contains(Key("Calendars/A.calendar/")));
    EXPECT_THAT(members, Not(Contains(Key("nicht-gesichert.txt"))));
}

TEST_F(StoreBackupsOfAStore, TheNextGetsTheNextNumber)
{
    make();
    setDate("2007-12-02");
    EXPECT_EQ(makeOfChanged(), "000002-2007-12-02T09-00-00Z");
    EXPECT_EQ(makeOfChanged(), "000003-2007-12-02T09-00-00Z");
}

TEST_F(StoreBackupsOfAStore, KeepsTimesRightsLinksAndOddNames)
{
    const std::string file = home.path("Library/Calendars/A.calendar/Events/x.ics");
    home.write("Library/Calendars/A.calendar/Events/x.ics", "x");
    home.write("Library/Calendars/A.calendar/Zähne \xff\n.ics", "kein UTF-8");
    home.makeFolder("Library/Calendars/leer");
    fs::create_symlink("Events/x.ics", home.path("Library/Calendars/A.calendar/y.ics"));
    fs::permissions(file, fs::perms::owner_read);
    fs::last_write_time(file, fs::last_write_time(file) - std::chrono::nanoseconds(123456789));
    fs::last_write_time(home.path("Library/Calendars/A.calendar/Events"),
                        fs::last_write_time(file) - std::chrono::hours(1));
    const auto time = fs::last_write_time(file);
    const auto before = home.tree();
    const auto name = make()->name;
    home.remove("Library/Calendars");
    backups.restore(name, store);
    EXPECT_EQ(rest(), before);
    EXPECT_EQ(fs::last_write_time(file), time);
    EXPECT_EQ(fs::last_write_time(home.path("Library/Calendars/A.calendar/Events")),
              time - std::chrono::hours(1));
    EXPECT_EQ(fs::status(file).permissions(), fs::perms::owner_read);
}

TEST_F(StoreBackupsOfAStore, PassesOverWhatHoldsNothing)
{
    ASSERT_EQ(::mkfifo(home.path("Library/Calendars/pipe").c_str(), 0600), 0);
    const auto copy = make();
    EXPECT_THAT(copy->unreadable, IsEmpty());
    EXPECT_THAT(contentsOfArchive(archive(copy->name)), Not(Contains(Key("Calendars/pipe"))));
}

TEST_F(StoreBackupsOfAStore, HolesComeBackAsHoles)
{
    const std::string path = home.path("Library/Calendars/loch");
    home.write("Library/Calendars/loch", "vorn");
    fs::resize_file(path, 16 << 20);
    const auto name = make()->name;
    EXPECT_LT(backups.size(backups.named(name)), 100'000U);
    home.remove("Library/Calendars");
    backups.restore(name, store);
    EXPECT_EQ(fs::file_size(path), 16U << 20);
    struct stat status {};
    ::stat(path.c_str(), &status);
    EXPECT_LT(status.st_blocks * 512, 1 << 20);
    EXPECT_EQ(home.read("Library/Calendars/loch")->substr(0, 5), std::string("vorn\0", 5));
}

TEST_F(StoreBackupsOfAStore, SavesWhatALinkToTheStoreLeadsTo)
{
    fs::rename(home.path("Library/Calendars"), home.path("Volume"));
    fs::create_symlink(home.path("Volume"), home.path("Library/Calendars"));
    const auto copy = make();
    ASSERT_TRUE(copy);
    EXPECT_THAT(contentsOfArchive(archive(copy->name)),
                Contains(Pair("Calendars/A.calendar/Info.plist", "alt")));
}

TEST_F(StoreBackupsOfAStore, MakesNoneOfAStoreThatHoldsNothing)
{
    home.remove("Library/Calendars");
    EXPECT_EQ(make().has_value(), false);
    home.makeFolder("Library/Calendars");
    EXPECT_EQ(make().has_value(), false);
    EXPECT_FALSE(home.exists("Backups"));
}

TEST_F(StoreBackupsOfAStore, MakesNoneOfAStoreThatTheLastOneHolds)
{
    const auto first = make();
    const auto before = listing();
    setDate("2007-12-02");
    const auto second = make();
    backups.prune(std::nullopt);
    ASSERT_TRUE(second);
    EXPECT_FALSE(second->isNew);
    EXPECT_EQ(second->name, first->name);
    EXPECT_EQ(listing(), before);
}

TEST_F(StoreBackupsOfAStore, MakesOneOfAStoreThatOnlyAnOlderOneHolds)
{
    const auto time = fs::last_write_time(home.path(kInfo));
    make();
    fs::last_write_time(home.path(kInfo), time + std::chrono::seconds(1));
    make();
    fs::last_write_time(home.path(kInfo), time);
    EXPECT_TRUE(make()->isNew);
}

TEST_F(StoreBackupsOfAStore, MakesOneOfAFileThatOnlyLooksTheSame)
{
    make();
    const auto time = fs::last_write_time(home.path(kInfo));
    const auto folderTime = fs::last_write_time(home.path("Library/Calendars/A.calendar"));
    home.write("Library/Calendars/A.calendar/neu", "neu");
    fs::rename(home.path("Library/Calendars/A.calendar/neu"), home.path(kInfo));
    fs::last_write_time(home.path(kInfo), time);
    fs::last_write_time(home.path("Library/Calendars/A.calendar"), folderTime);
    EXPECT_TRUE(make()->isNew);
}

TEST_F(StoreBackupsOfAStore, MakesOneWhereTheLastOneIsNotWholeAnyMore)
{
    fs::resize_file(archive(make()->name), 100);
    EXPECT_EQ(make()->name, "000002-2007-12-01T09-00-00Z");
    home.remove("Backups/.000002-2007-12-01T09-00-00Z.plist");
    EXPECT_EQ(make()->name, "000003-2007-12-01T09-00-00Z");
}

TEST_F(StoreBackupsOfAStore, TheLastTenAndTheVeryFirstAreKept)
{
    makeMany(15);
    const auto names = backups.names();
    ASSERT_THAT(names, SizeIs(11));
    EXPECT_EQ(names.front(), "000001-2007-12-01T09-00-00Z-erste");
    EXPECT_EQ(names[1], "000006-2007-12-01T09-00-00Z");
    EXPECT_EQ(names.back(), "000015-2007-12-01T09-00-00Z");
    EXPECT_THAT(listing(), SizeIs(1 + 2 * 11)) << "each with its facts";
}

TEST_F(StoreBackupsOfAStore, AClockThatWasAYearAheadMakesNoDifference)
{
    makeMany(3);
    setDate("2008-12-01");
    makeMany(1);
    setDate("2007-12-02");
    for (int i = 0; i < 12; ++i) {
        const std::string made = makeOfChanged();
        backups.prune(std::nullopt);
        EXPECT_EQ(backups.names().back(), made);
    }
    EXPECT_THAT(backups.names(), SizeIs(11));
    EXPECT_EQ(backups.names().front(), "000001-2007-12-01T09-00-00Z-erste");
    EXPECT_EQ(backups.names()[1], "000007-2007-12-02T09-00-00Z");
}

TEST_F(StoreBackupsOfAStore, TheNamedOneIsKeptHoweverOldItIs)
{
    makeMany(1);
    const std::string marked = makeOfChanged();
    makeMany(18, marked);
    EXPECT_THAT(backups.names(), SizeIs(12));
    EXPECT_EQ(backups.names()[1], marked);
}

TEST_F(StoreBackupsOfAStore, FoldersOfAnOlderVersionAreOlderThanAllArchives)
{
    home.write("Backups/2007-11-01T09-00-00.000Z-erste/Calendars/A.calendar/Info.plist", "erst");
    home.write("Backups/2099-11-02T09-00-00.000Z/Calendars/A.calendar/Info.plist", "zweit");
    const std::string made = make()->name;
    EXPECT_EQ(made, "000001-2007-12-01T09-00-00Z");
    EXPECT_THAT(backups.names(),
                ElementsAre("2007-11-01T09-00-00.000Z-erste", "2099-11-02T09-00-00.000Z", made));
    backups.restore("2099-11-02T09-00-00.000Z", store);
    EXPECT_EQ(home.read(kInfo), "zweit");
    makeMany(12);
    EXPECT_THAT(backups.names(), SizeIs(11));
    EXPECT_EQ(backups.names().front(), "2007-11-01T09-00-00.000Z-erste");
    EXPECT_FALSE(home.exists("Backups/2099-11-02T09-00-00.000Z"));
}

TEST_F(StoreBackupsOfAStore, WhatAKilledRunLeftUnfinishedIsNoBackupAndGoes)
{
    home.write("Backups/.unfertig-2007-12-01T08-00-00.000Z/Calendars/x", "halb");
    home.write("Backups/.unfertig-000001-2007-12-01T09-00-00Z-erste.tar.zst", "halb");
    home.write("Backups/.000009-2007-12-01T09-00-00Z.plist", "ohne Archiv");
    EXPECT_THAT(backups.names(), IsEmpty());
    const std::string name = make()->name;
    backups.prune(std::nullopt);
    EXPECT_THAT(listing(), SizeIs(3)) << "the folder, the archive, its facts";
    EXPECT_EQ(backups.facts(backups.named(name)).archiveSize, fs::file_size(archive(name)));
}

TEST_F(StoreBackupsOfAStore, SaysThatNoneCanBeMadeAndLeavesNothingBehind)
{
    home.write("Backups", "eine Datei, wo der Ordner stehen müsste");
    const auto before = home.tree();
    EXPECT_EQ(exceptionOf([&] { make(); }), "NSGenericException: Die Sicherungskopie \"" +
                                                archive("000001-2007-12-01T09-00-00Z-erste") +
                                                "\" kann nicht angelegt werden.");
    EXPECT_EQ(home.tree(), before);
}

/// While it lives, no file can grow beyond that.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        ::getrlimit(RLIMIT_FSIZE, &_before);
        const rlimit limit{bytes, _before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit()
    {
        ::setrlimit(RLIMIT_FSIZE, &_before);
        std::signal(SIGXFSZ, _handler);
    }

private:
    rlimit _before{};
    void (*_handler)(int) = std::signal(SIGXFSZ, SIG_IGN);
};

TEST_F(StoreBackupsOfAStore, ADiskThatIsFullLeavesNothingBehind)
{
    make();
    std::string noise;
    for (unsigned i = 0, x = 1; i < 1 << 20; ++i)
        noise += static_cast<char>((x = x * 1664525 + 1013904223) >> 24);
    home.write("Library/Calendars/A.calendar/groß", noise);
    const auto before = listing();
    std::string failure;
    {
        const FileSizeLimit limit(256 << 10);
        failure = exceptionOf([&] { make(); });
    }
    EXPECT_THAT(failure, HasSubstr("kann nicht angelegt werden."));
    std::vector<std::string> after = listing();
    EXPECT_THAT(after, SizeIs(before.size()));
    EXPECT_EQ(make()->name, "000002-2007-12-01T09-00-00Z");
}

TEST_F(StoreBackupsOfAStore, AFailingFileOperationLeavesNothingBehind)
{
    make();
    home.write(kInfo, "neu und anders");
    const auto before = listing();
    for (const char* failing : {"movePath", "writeAtomically"}) {
        const auto files = test::failFileOperations(
            [&](const std::string& operation) { return operation.starts_with(failing); });
        EXPECT_THAT(exceptionOf([&] { make(); }), HasSubstr("kann nicht angelegt werden."));
        EXPECT_THAT(listing(), SizeIs(before.size())) << failing;
    }
    Platform::shared().setFileManager(makePosixFileManager());
    EXPECT_TRUE(make()->isNew);
}

TEST_F(StoreBackupsOfAStore, NamesWhatItCannotReadAndSavesTheRest)
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
    const auto again = make();
    ASSERT_EQ(::seteuid(0), 0);
    ASSERT_TRUE(copy);
    EXPECT_THAT(copy->unreadable, ElementsAre(secret));
    const auto members = contentsOfArchive(archive(copy->name));
    EXPECT_THAT(members, Contains(Pair("Calendars/A.calendar/Info.plist", "alt")));
    EXPECT_THAT(members, Not(Contains(Key("Calendars/A.calendar/Geheim.ics"))));
    EXPECT_THAT(members, Contains(Pair("nicht-gesichert.txt", HasSubstr(secret + "\n"))));
    EXPECT_FALSE(again->isNew) << "it is still not to be had";
    EXPECT_THAT(again->unreadable, ElementsAre(secret));
    EXPECT_TRUE(make()->isNew) << "now it is";
}

TEST_F(StoreBackupsOfAStore, KnowsCalendarsAndItemsWithoutUnpacking)
{
    home.write(kInfo,
               "<plist version=\"1.0\"><dict><key>Key</key><string>A</string>"
               "<key>Title</key><string>Privat</string></dict></plist>");
    home.write("Library/Calendars/A.calendar/Events/1.ics",
               "BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nSUMMARY:BEGIN:VEVENT\r\nEND:VEVENT\r\n"
               "BEGIN:VTODO\r\nEND:VTODO\r\nEND:VCALENDAR\r\n");
    const BackupName name = backups.named(make()->name);
    const BackupFacts beside = backups.facts(name);
    ASSERT_THAT(beside.calendars, SizeIs(1));
    EXPECT_EQ(beside.calendars.front().title, "Privat");
    EXPECT_EQ(beside.calendars.front().sourceKey, "A");
    EXPECT_EQ(beside.items(), 2U);
    home.remove("Backups/." + name.text() + ".plist");
    BackupFacts inside = backups.facts(name);
    inside.archiveSize = beside.archiveSize;
    EXPECT_EQ(inside, beside) << "they stand in the archive as well";
}

TEST_F(StoreBackupsOfAStore, OneIsFoundByWhatAPersonTypes)
{
    makeMany(3);
    const auto find = [&](std::string_view text) { return backups.named(text).text(); };
    EXPECT_EQ(find("2"), "000002-2007-12-01T09-00-00Z");
    EXPECT_EQ(find("000002"), "000002-2007-12-01T09-00-00Z");
    EXPECT_EQ(find("000002-2007"), "000002-2007-12-01T09-00-00Z");
    EXPECT_EQ(find("000003-2007-12-01T09-00-00Z.tar.zst"), "000003-2007-12-01T09-00-00Z");
    EXPECT_EQ(find("letzte"), "000003-2007-12-01T09-00-00Z");
    EXPECT_EQ(exceptionOf([&] { find("0000"); }),
              "NSGenericException: Mehrere Sicherungskopien beginnen mit \"0000\".");
    for (const char* text : {"", "4", "2007", "../x"})
        EXPECT_THAT(exceptionOf([&] { find(text); }), HasSubstr("Es gibt keine Sicherungskopie"))
            << text;
}

}  // namespace
}  // namespace kt
