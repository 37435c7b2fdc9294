#include <chrono>
#include <csignal>
#include <filesystem>
#include <thread>

#include <SQLiteCpp/SQLiteCpp.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/RunningProgram.h"

namespace kt::test {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kPatience = "das braucht noch einen Moment";

/// Ctrl-C, sent to the program at moments that the test holds open.
class StopStory : public testing::Test {
protected:
    StopStory()
    {
        laptop.addCalendar("PRIVAT", "Privat");
        laptop.addEvent("PRIVAT", "zahnarzt.ics", {.title = "Zahnarzt"});
    }
    std::vector<std::string> arguments() const
    {
        return {"--home", laptop.path(), "--server", server.url(), "sync"};
    }
    std::string backups() const
    {
        return laptop.path() + "/Library/Application Support/VeloraSuite/Backups";
    }
    bool isBackupBegun() const
    {
        const auto deadline = std::chrono::steady_clock::now() + 10s;
        while (std::chrono::steady_clock::now() < deadline) {
            if (fs::exists(backups()) && !fs::is_empty(backups()))
                return true;
            std::this_thread::sleep_for(1ms);
        }
        return false;
    }

    StoryServer server;
    StoryHome laptop{server};
};

TEST_F(StopStory, CtrlCDuringTheBackupEndsTheRunThere)
{
    // Takes no room, and long to be saved.
    const std::string large = laptop.pathOf("PRIVAT", "anhang.bin");
    laptop.writeItem("PRIVAT", "anhang.bin", "");
    constexpr std::uintmax_t kFourGigabytes = 4ULL << 30U;
    fs::resize_file(large, kFourGigabytes);

    RunningProgram sync("icalsync", arguments());
    ASSERT_TRUE(isBackupBegun());
    sync.send(SIGINT);
    const ProgramResult result = sync.end();
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.out, HasSubstr("Die Synchronisierung wurde abgebrochen!"));
    EXPECT_THAT(result.err, Not(HasSubstr("iCal-Kalender laden"))) << "the plug-in is not asked";
    EXPECT_TRUE(fs::is_empty(backups())) << "nothing half made is left";
    EXPECT_FALSE(fs::exists(server.path()));

    fs::remove(large);
    EXPECT_EQ(laptop.sync().exitCode, 0);
}

/// The server is held by somebody else, so the program waits in the middle of its run.
class StopWhileWaiting : public StopStory {
protected:
    StopWhileWaiting()
    {
        EXPECT_EQ(laptop.sync().exitCode, 0);
        laptop.addEvent("PRIVAT", "kino.ics",
                        {.title = "Kino", .start = "20080118T200000", .end = "20080118T220000"});
        before = server.records();
        held.emplace(server.path(), SQLite::OPEN_READWRITE);
        held->exec("BEGIN IMMEDIATE");
    }
    void letGo() { held.reset(); }
    /// The last that is said of the store before the server is asked.
    static void waitAtServerAndStop(const RunningProgram& sync)
    {
        ASSERT_TRUE(sync.shows("Name:'Privat'"));
        std::this_thread::sleep_for(300ms);
        sync.send(SIGINT);
        std::this_thread::sleep_for(200ms);
    }

    std::map<std::string, std::string> before;
    std::optional<SQLite::Database> held;
};

TEST_F(StopWhileWaiting, TheSecondCtrlCSaysThatAMomentMoreIsNeeded)
{
    RunningProgram sync("icalsync", arguments());
    waitAtServerAndStop(sync);
    EXPECT_THAT(sync.shown(), Not(HasSubstr(kPatience)));
    sync.send(SIGINT);
    EXPECT_TRUE(sync.shows(kPatience));
    letGo();
    const ProgramResult result = sync.end();
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.out, HasSubstr("Die Synchronisierung wurde abgebrochen!"));
    EXPECT_EQ(server.records(), before);
    EXPECT_EQ(laptop.sync().exitCode, 0);
    EXPECT_NE(server.records(), before) << "the next run makes up for it";
}

TEST_F(StopWhileWaiting, TheThirdCtrlCEndsTheProgram)
{
    RunningProgram sync("icalsync", arguments());
    waitAtServerAndStop(sync);
    sync.send(SIGINT);
    ASSERT_TRUE(sync.shows(kPatience));
    sync.send(SIGINT);
    EXPECT_EQ(sync.end().exitCode, 128 + SIGINT);
    letGo();
    EXPECT_EQ(server.records(), before);
    EXPECT_EQ(laptop.sync().exitCode, 0);
}

}  // namespace
}  // namespace kt::test
