#include <filesystem>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Host/Services/StoreFingerprint.h"
#include "tests/support/TemporaryFolder.h"

namespace kt {
namespace {

namespace fs = std::filesystem;
using test::TemporaryFolder;

class StoreFingerprintOfAFolder : public testing::Test {
protected:
    StoreFingerprintOfAFolder()
    {
        folder.write("store/A.calendar/Events/1.ics", "eins");
        folder.write("store/A.calendar/Info.plist", "plist");
        before = now();
    }
    std::string now() const { return fingerprintOfFiles({folder.path("store")}); }

    TemporaryFolder folder;
    std::string before;
};

TEST_F(StoreFingerprintOfAFolder, StaysTheSameWhileNothingChanges) { EXPECT_EQ(now(), before); }

TEST_F(StoreFingerprintOfAFolder, ChangesWithASize)
{
    const auto time = fs::last_write_time(folder.path("store/A.calendar/Events/1.ics"));
    folder.write("store/A.calendar/Events/1.ics", "eins und");
    fs::last_write_time(folder.path("store/A.calendar/Events/1.ics"), time);
    EXPECT_NE(now(), before);
}

TEST_F(StoreFingerprintOfAFolder, ChangesWithATimeAlone)
{
    const auto path = folder.path("store/A.calendar/Events/1.ics");
    fs::last_write_time(path, fs::last_write_time(path) + std::chrono::nanoseconds(1000));
    EXPECT_NE(now(), before);
}

TEST_F(StoreFingerprintOfAFolder, ChangesWithAnotherFileOfTheSameLook)
{
    const std::string path = folder.path("store/A.calendar/Info.plist");
    const auto time = fs::last_write_time(path);
    const auto folderTime = fs::last_write_time(folder.path("store/A.calendar"));
    folder.write("other", "plist");
    fs::rename(folder.path("other"), path);
    fs::last_write_time(path, time);
    fs::last_write_time(folder.path("store/A.calendar"), folderTime);
    EXPECT_NE(now(), before);
}

TEST_F(StoreFingerprintOfAFolder, ChangesWithContentOfEqualSizeAndTime)
{
    const std::string path = folder.path("store/A.calendar/Events/1.ics");
    const auto time = fs::last_write_time(path);
    std::this_thread::sleep_for(
        std::chrono::milliseconds(20));  // a step of the file system's clock
    folder.write("store/A.calendar/Events/1.ics", "zwei");
    fs::last_write_time(path, time);
    EXPECT_NE(now(), before);
}

TEST_F(StoreFingerprintOfAFolder, ChangesWithTheRights)
{
    fs::permissions(folder.path("store/A.calendar/Info.plist"), fs::perms::owner_read);
    EXPECT_NE(now(), before);
}

TEST_F(StoreFingerprintOfAFolder, ChangesWithAName)
{
    const auto events = folder.path("store/A.calendar/Events");
    const auto time = fs::last_write_time(events);
    fs::rename(events + "/1.ics", events + "/2.ics");
    fs::last_write_time(events, time);
    EXPECT_NE(now(), before);
}

TEST_F(StoreFingerprintOfAFolder, ChangesWithAnEmptyFolder)
{
    folder.makeFolder("store/B.calendar");
    EXPECT_NE(now(), before);
}

TEST_F(StoreFingerprintOfAFolder, SeesThroughALinkToTheStore)
{
    fs::create_symlink(folder.path("store"), folder.path("link"));
    const auto throughLink = [&] { return fingerprintOfFiles({folder.path("link")}); };
    EXPECT_EQ(throughLink(), before);
    folder.write("store/A.calendar/Events/2.ics", "zwei");
    EXPECT_NE(throughLink(), before);
}

TEST(StoreFingerprint, OfNothingIsThatOfAMissingStore)
{
    EXPECT_EQ(fingerprintOfFiles({"/nonexistent/store"}), fingerprintOfFiles({}));
}

}  // namespace
}  // namespace kt
