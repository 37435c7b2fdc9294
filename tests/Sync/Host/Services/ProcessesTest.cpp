#include <chrono>
#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Sync/Host/Services/Processes.h"
#include "tests/support/TemporaryFolder.h"

namespace kt {
namespace {

using namespace std::chrono_literals;
using test::TemporaryFolder;

/// A program that runs until it is told to end, under a name that nothing else has.
class RunningProgram {
public:
    explicit RunningProgram(const std::string& name, sighandler_t onTerminate = SIG_DFL)
    {
        std::filesystem::copy_file("/bin/sleep", _folder.path(name));
        const std::string path = _folder.path(name);
        _child = ::fork();
        if (_child == 0) {
            ::signal(SIGTERM, onTerminate);
            ::execl(path.c_str(), path.c_str(), "600", nullptr);
            ::_exit(127);
        }
        for (int round = 0; !Processes().isRunning(name); ++round) {
            if (round == 60'000)
                throw std::runtime_error(name + " does not start");
            std::this_thread::sleep_for(1ms);
        }
    }
    ~RunningProgram()
    {
        if (_child > 0) {
            ::kill(_child, SIGKILL);
            collect();
        }
    }
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;

    /// Ends it, and leaves the body where the kernel keeps it.
    void killWithoutCollecting() const
    {
        ::kill(_child, SIGKILL);
        siginfo_t information{};
        ::waitid(P_PID, static_cast<id_t>(_child), &information, WEXITED | WNOWAIT);
    }
    void collect()
    {
        ::waitpid(_child, nullptr, 0);
        _child = 0;
    }

private:
    TemporaryFolder _folder;
    pid_t _child = 0;
};

std::string uniqueName(const std::string& prefix) { return prefix + std::to_string(::getpid()); }

TEST(Processes, FindsARunningProgramByItsName)
{
    const std::string name = uniqueName("kta");
    EXPECT_FALSE(Processes().isRunning(name));
    const RunningProgram program(name);
    EXPECT_TRUE(Processes().isRunning(name));
    EXPECT_FALSE(Processes().isRunning(name + "x"));
    EXPECT_FALSE(Processes().isRunning(name.substr(0, 4)));
}

TEST(Processes, DoesNotCountWhatHasEndedAndWaitsToBeCollected)
{
    const std::string name = uniqueName("ktb");
    RunningProgram program(name);
    program.killWithoutCollecting();
    EXPECT_FALSE(Processes().isRunning(name));
}

TEST(Processes, AsksAProgramToEndAndWaitsForIt)
{
    const std::string name = uniqueName("ktc");
    const RunningProgram program(name);
    EXPECT_TRUE(Processes().terminate(name, 10s));
    EXPECT_FALSE(Processes().isRunning(name));
}

TEST(Processes, DoesNotWaitForEverForAProgramThatStays)
{
    const std::string name = uniqueName("ktd");
    const RunningProgram program(name, SIG_IGN);
    EXPECT_FALSE(Processes().terminate(name, 60ms));
    EXPECT_TRUE(Processes().isRunning(name));
}

TEST(Processes, HasNothingToEndWhereNothingRuns)
{
    EXPECT_TRUE(Processes().terminate(uniqueName("kte"), 0ms));
}

/// What is read is what proc(5) describes.
struct StatRow {
    const char* stat;
    const char* commandLine;
    const char* name;
    bool isRunning;
};
class ProcFolder : public testing::TestWithParam<StatRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, ProcFolder,
    testing::Values(StatRow{"7 (iCal) S 1 7", "/opt/iCal", "iCal", true},
                    StatRow{"7 (iCal) R 1 7", "iCal", "iCal", true},
                    StatRow{"7 (iCal) Z 1 7", "", "iCal", false},
                    StatRow{"7 (iCal) X 1 7", "", "iCal", false},
                    StatRow{"7 (iCalendar) S 1 7", "", "iCal", false},
                    StatRow{"7 (a) (b) S 1 7", "", "a) (b", true},
                    StatRow{"7 (gnome-calendar-) S 1 7", "/usr/bin/gnome-calendar-x",
                            "gnome-calendar-x", true},
                    StatRow{"7 (gnome-calendar-) S 1 7", "/usr/bin/gnome-calendar-y",
                            "gnome-calendar-x", false},
                    StatRow{"7 (iCal)", "", "iCal", false}, StatRow{"7 (iCal", "", "iCal", false},
                    StatRow{"", "", "iCal", false}));

TEST_P(ProcFolder, IsReadAsTheKernelWritesIt)
{
    const TemporaryFolder folder;
    folder.write("7/stat", GetParam().stat);
    folder.write("7/cmdline", std::string(GetParam().commandLine) + '\0' + "--flag");
    folder.write("self/stat", "7 (iCal) S 1 7");
    EXPECT_EQ(Processes(folder.path()).isRunning(GetParam().name), GetParam().isRunning);
}

TEST(Processes, SeesNothingWithoutAProcFolder)
{
    EXPECT_FALSE(Processes("/nonexistent").isRunning("init"));
}

TEST(RunToEnd, AnswersWhetherTheProgramSucceeded)
{
    EXPECT_TRUE(runToEnd({"true"}));
    EXPECT_FALSE(runToEnd({"false"}));
    EXPECT_FALSE(runToEnd({"/nonexistent/program"}));
    EXPECT_FALSE(runToEnd({}));
}

TEST(RunToEnd, HandsArgumentsOverAsTheyStand)
{
    const TemporaryFolder folder;
    EXPECT_TRUE(runToEnd({"touch", folder.path("mit Blank; und 'Zeichen'")}));
    EXPECT_TRUE(folder.exists("mit Blank; und 'Zeichen'"));
}

TEST(RunToEnd, KeepsStandardOutputForResults)
{
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    runToEnd({"echo", "Hallo"});
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Hallo\n");
}

}  // namespace
}  // namespace kt
