#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "Sync/Foundation/Platform.h"
#include "Sync/Host/Services/HostLog.h"
#include "tests/support/TemporaryFolder.h"

namespace kt {
namespace {

using test::TemporaryFolder;
using testing::HasSubstr;
using testing::MatchesRegex;

/// Standard error of the log under test, as a file.
class HostLogOnDisk : public testing::Test {
protected:
    ~HostLogOnDisk() override { ::close(descriptor); }
    std::string shown() const { return folder.read("stderr").value_or(""); }

    TemporaryFolder folder;
    int descriptor = ::open(folder.path("stderr").c_str(), O_RDWR | O_CREAT, 0600);
    StatusLine statusLine{descriptor, StatusLine::Detail::all};
};

TEST_F(HostLogOnDisk, WritesEachLineToTheFileAndToStandardError)
{
    HostLog log(folder.path("Logs/sync.log"), statusLine);
    log.line("Die iCal-Kalender werden synchronisiert");
    log.line("Zweite Zeile");
    EXPECT_EQ(shown(), "Die iCal-Kalender werden synchronisiert\nZweite Zeile\n");
    EXPECT_THAT(folder.read("Logs/sync.log").value_or(""),
                MatchesRegex("[-0-9]{10} [.:0-9]{12}  Die iCal-Kalender werden synchronisiert\n"
                             "[-0-9]{10} [.:0-9]{12}  Zweite Zeile\n"));
}

TEST_F(HostLogOnDisk, GoesOnWhereTheLastRunEnded)
{
    HostLog(folder.path("sync.log"), statusLine).line("erster");
    HostLog(folder.path("sync.log"), statusLine).line("zweiter");
    EXPECT_THAT(folder.read("sync.log").value_or(""), MatchesRegex(".*erster\n.*zweiter\n"));
}

TEST_F(HostLogOnDisk, LeavesNoFileWithoutAnEntry)
{
    HostLog log(folder.path("sync.log"), statusLine);
    HostFileLogger fileLogger(folder.path("details.log"), statusLine);
    EXPECT_FALSE(folder.exists("sync.log"));
    EXPECT_FALSE(folder.exists("details.log"));
}

TEST_F(HostLogOnDisk, WritesNoFileBehindTheWriteGuard)
{
    const WriteGuard guard;
    HostLog log(folder.path("sync.log"), statusLine);
    HostFileLogger fileLogger(folder.path("details.log"), statusLine);
    log.line("gesehen");
    fileLogger.log("%@", "ungesehen");
    EXPECT_EQ(shown(), "gesehen\n");
    EXPECT_FALSE(folder.exists("sync.log"));
    EXPECT_FALSE(folder.exists("details.log"));
}

TEST_F(HostLogOnDisk, KeepsTheDetailsInAFileOfTheirOwn)
{
    HostFileLogger fileLogger(folder.path("Logs/details.log"), statusLine);
    fileLogger.log("[KTSyncEvent init]:\n%@", "nil");
    EXPECT_THAT(folder.read("Logs/details.log").value_or(""),
                HasSubstr("  [KTSyncEvent init]:\nnil\n"));
    EXPECT_EQ(shown(), "");
}

TEST_F(HostLogOnDisk, SaysOnceThatTheFileCannotBeWritten)
{
    folder.write("Logs", "eine Datei, wo der Ordner stehen müsste");
    HostLog log(folder.path("Logs/sync.log"), statusLine);
    log.line("eins");
    log.line("zwei");
    EXPECT_EQ(shown(), "Das Protokoll \"" + folder.path("Logs/sync.log") +
                           "\" kann nicht geschrieben werden.\neins\nzwei\n");
}

TEST_F(HostLogOnDisk, DropsTheOldestMegabytes)
{
    const std::string entry(1'000'000, 'x');
    HostLog log(folder.path("sync.log"), statusLine);
    for (int i = 0; i < 20; ++i)
        log.line(entry);
    std::size_t size = 0;
    for (const auto& [name, bytes] : folder.tree())
        if (name != "stderr")
            size += bytes.size();
    EXPECT_LT(size, 17'000'000U);
    EXPECT_GT(size, 4'000'000U);
}

}  // namespace
}  // namespace kt
