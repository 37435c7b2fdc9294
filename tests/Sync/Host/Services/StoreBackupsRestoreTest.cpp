#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

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
using test::ArchiveMember;
using test::exceptionOf;
using test::PlatformScope;
using test::TemporaryFolder;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kInfo = "Library/Calendars/A.calendar/Info.plist";
constexpr const char* kName = "000007-2007-12-01T09-00-00Z";

/// A store that changed since its backup was made.
class RestoringABackup : public testing::Test {
protected:
    RestoringABackup()
    {
        home.write(kInfo, "alt");
        home.write("Library/Calendars/B.calendar/Info.plist", "auch alt");
        saved = tree();
        name = backups.make(store)->name;
        home.write(kInfo, "neu");
        home.write("Library/Calendars/C.calendar/Info.plist", "dazu");
        home.remove("Library/Calendars/B.calendar");
        current = tree();
    }
    /// Everything but the backups.
    std::map<std::string, std::string> tree() const
    {
        auto all = home.tree();
        std::erase_if(all, [](const auto& entry) { return entry.first.starts_with("Backups/"); });
        return all;
    }
    std::string failure(const std::string& which) const
    {
        return exceptionOf([&] { backups.restore(which, store); });
    }

    TemporaryFolder home;
    PlatformScope platform{home.path()};
    StoreBackups backups{home.path("Backups")};
    std::vector<std::string> store{home.path("Library/Calendars")};
    std::string name;
    std::map<std::string, std::string> saved;
    std::map<std::string, std::string> current;
};

TEST_F(RestoringABackup, PutsItInThePlaceOfWhatIsThere)
{
    backups.restore(name, store);
    EXPECT_EQ(tree(), saved);
}

TEST_F(RestoringABackup, PutsItWhereNothingIs)
{
    home.remove("Library");
    backups.restore(name, store);
    EXPECT_EQ(tree(), saved);
}

TEST_F(RestoringABackup, LeavesAloneWhatWasNotSaved)
{
    home.write("Library/Other/x", "bleibt");
    backups.restore(name, {home.path("Library/Other"), store.front()});
    EXPECT_EQ(home.read("Library/Other/x"), "bleibt");
    EXPECT_EQ(home.read(kInfo), "alt");
}

TEST_F(RestoringABackup, RefusesOneOfAnotherStore)
{
    home.write("Library/Other/x", "bleibt");
    const auto before = tree();
    EXPECT_EQ(exceptionOf([&] { backups.restore(name, {home.path("Library/Other")}); }),
              "NSGenericException: In der Sicherungskopie \"" + name +
                  "\" steht kein Kalenderbestand dieser Ablage.");
    EXPECT_EQ(tree(), before);
}

TEST_F(RestoringABackup, PutsItBehindALink)
{
    fs::rename(home.path("Library/Calendars"), home.path("Volume"));
    fs::create_symlink(home.path("Volume"), home.path("Library/Calendars"));
    backups.restore(name, store);
    EXPECT_TRUE(fs::is_symlink(home.path("Library/Calendars")));
    EXPECT_EQ(home.read("Volume/A.calendar/Info.plist"), "alt");
}

TEST_F(RestoringABackup, RefusesWhatIsNoBackup)
{
    for (const char* which : {"", "..", "2001-01-01", "../Library"})
        EXPECT_THAT(failure(which), HasSubstr("Es gibt keine Sicherungskopie")) << which;
    EXPECT_EQ(tree(), current);
}

TEST_F(RestoringABackup, IsDoneWholeOrNotAtAllWhateverFails)
{
    for (std::size_t failing = 1;; ++failing) {
        const auto files = test::failFileOperation(failing);
        const std::string failed = failure(name);
        const bool hasFailed = files->hasFailed();
        Platform::shared().setFileManager(makePosixFileManager());
        if (failed.empty())
            EXPECT_EQ(home.read(kInfo), "alt") << failing;
        else
            EXPECT_EQ(tree(), current) << failing << ": " << failed;
        if (!hasFailed)
            break;
        ASSERT_LT(failing, 100U);
        // What is only cleared away may stay for the next one to clear.
        backups.restore(name, store);
        EXPECT_EQ(tree(), saved) << failing;
        home.write(kInfo, "neu");
        home.write("Library/Calendars/C.calendar/Info.plist", "dazu");
        home.remove("Library/Calendars/B.calendar");
    }
}

TEST_F(RestoringABackup, AKillBetweenTheRenamesLosesNothing)
{
    fs::rename(home.path("Library/Calendars"), home.path("Library/.Calendars.ersetzt"));
    EXPECT_THAT(failure("000009"), HasSubstr("Es gibt keine Sicherungskopie"));
    EXPECT_THROW(backups.unpack(name, store,
                                [](const std::string&) -> bool {
                                    throw Exception(NSGenericException, "Abbruch");
                                }),
                 Exception);
    EXPECT_EQ(tree(), current) << "what stood there is back";
}

TEST_F(RestoringABackup, ADamagedArchiveIsNamedAndNothingIsTouched)
{
    const std::string path = home.path("Backups/" + name + ".tar.zst");
    const std::string whole = *home.read("Backups/" + name + ".tar.zst");
    for (std::size_t length = 0; length < whole.size(); length += 7) {
        home.write("Backups/" + name + ".tar.zst", whole.substr(0, length));
        EXPECT_THAT(failure(name), HasSubstr("Die Sicherungskopie \"" + name + "\" ist beschädigt"))
            << length;
        ASSERT_EQ(tree(), current) << length;
    }
    for (std::size_t position = 0; position < whole.size(); position += 5) {
        std::string turned = whole;
        turned[position] = static_cast<char>(turned[position] ^ 0x10);
        home.write("Backups/" + name + ".tar.zst", turned);
        const std::string failed = failure(name);
        if (failed.empty()) {
            ASSERT_EQ(tree(), saved) << position << ": a byte that means nothing";
            home.write(kInfo, "neu");
            home.write("Library/Calendars/C.calendar/Info.plist", "dazu");
            home.remove("Library/Calendars/B.calendar");
        }
        ASSERT_EQ(tree(), current) << position << ": " << failed;
    }
}

struct HostileRow {
    const char* what;
    std::vector<ArchiveMember> members;
};
class HostileArchive : public RestoringABackup, public testing::WithParamInterface<HostileRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, HostileArchive,
    testing::Values(
        HostileRow{"absolute", {{"/tmp/kt-hostile", "x"}}},
        HostileRow{"climbing", {{"Calendars", "", AE_IFDIR}, {"Calendars/../../x", "x"}}},
        HostileRow{"climbing at once", {{"../x", "x"}}},
        HostileRow{"a dot", {{"Calendars", "", AE_IFDIR}, {"Calendars/./x", "x"}}},
        HostileRow{"no folder before it", {{"Calendars/A/x", "x"}}},
        HostileRow{"a file as a folder", {{"Calendars", "x"}, {"Calendars/x", "x"}}},
        HostileRow{
            "a link as a folder",
            {{"Calendars", "", AE_IFDIR}, {"Calendars/A", "B", AE_IFLNK}, {"Calendars/A/x", "x"}}},
        HostileRow{"a link out",
                   {{"Calendars", "", AE_IFDIR}, {"Calendars/A", "../Other", AE_IFLNK}}},
        HostileRow{"an absolute link",
                   {{"Calendars", "", AE_IFDIR}, {"Calendars/A", "/etc", AE_IFLNK}}},
        HostileRow{"a link that goes down and up",
                   {{"Calendars", "", AE_IFDIR}, {"Calendars/A", "B/../../..", AE_IFLNK}}},
        HostileRow{"the root as a link", {{"Calendars", "/etc", AE_IFLNK}}},
        HostileRow{"a hard link", {{"Calendars", "", AE_IFDIR}, {"Calendars/A", "/etc/passwd", 0}}},
        HostileRow{"a pipe", {{"Calendars", "", AE_IFDIR}, {"Calendars/A", "", AE_IFIFO}}},
        HostileRow{"a device", {{"Calendars", "", AE_IFDIR}, {"Calendars/A", "", AE_IFCHR}}},
        HostileRow{"twice the same",
                   {{"Calendars", "", AE_IFDIR}, {"Calendars/A", "1"}, {"Calendars/A", "2"}}},
        HostileRow{"no facts", {{"Calendars", "", AE_IFDIR}, {"Calendars/A", "x"}}},
        HostileRow{"facts that are none",
                   {{"Calendars", "", AE_IFDIR}, {".icalsync-sicherung.plist", "x"}}},
        HostileRow{"nothing", {}}));

TEST_P(HostileArchive, IsRefusedAndNothingIsTouched)
{
    test::writeArchive(home.path("Backups/" + std::string(kName) + ".tar.zst"), GetParam().members);
    EXPECT_THAT(failure(kName), HasSubstr("Die Sicherungskopie \"" + std::string(kName) + "\""))
        << GetParam().what;
    EXPECT_EQ(tree(), current) << GetParam().what;
    EXPECT_FALSE(fs::exists("/tmp/kt-hostile"));
}

TEST_F(RestoringABackup, ALinkOutComesBackOnlyWhereItStandsNow)
{
    fs::create_symlink("/nonexistent/volume", home.path("Library/Calendars/L.calendar"));
    const std::string withLink = backups.make(store)->name;
    home.write(kInfo, "noch neuer");
    backups.restore(withLink, store);
    EXPECT_EQ(home.read(kInfo), "neu");
    EXPECT_TRUE(fs::is_symlink(home.path("Library/Calendars/L.calendar")));
    home.remove("Library/Calendars/L.calendar");
    const auto before = tree();
    EXPECT_THAT(failure(withLink), HasSubstr("der Verweis \"Calendars/L.calendar\" führt hinaus."));
    EXPECT_EQ(tree(), before);
}

}  // namespace
}  // namespace kt
