#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Host/Services/AppleScripts.h"
#include "tests/support/PlatformScope.h"
#include "tests/support/TemporaryFolder.h"

namespace kt {
namespace {

using test::PlatformScope;
using test::TemporaryFolder;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kQuit = "tell application \"iCal\"\nquit saving yes\nend tell\n";
constexpr const char* kLaunch = "tell application \"iCal\"\nlaunch\nend tell\n";

class AppleScriptsHere : public testing::Test {
protected:
    bool run(std::string_view source, CalendarProgram program = {}) const
    {
        return AppleScripts(std::move(program), processes).run(source);
    }

    TemporaryFolder proc;  // nothing runs
    Processes processes{proc.path()};
    PlatformScope platform;
};

TEST_F(AppleScriptsHere, LaunchStartsTheProgramOfThatName)
{
    EXPECT_TRUE(run(kLaunch));
    EXPECT_THAT(platform.launches(), ElementsAre(PlatformScope::Launch{"iCal", {}}));
}

TEST_F(AppleScriptsHere, LaunchStartsTheProgramSetForIt)
{
    EXPECT_TRUE(run(kLaunch, {.program = "/opt/kalender"}));
    EXPECT_THAT(platform.launches(), ElementsAre(PlatformScope::Launch{"/opt/kalender", {}}));
}

TEST_F(AppleScriptsHere, LaunchRunsTheCommandSetForIt)
{
    EXPECT_TRUE(run(kLaunch, {.launchCommand = {"kalender", "--leise", "x y"}}));
    EXPECT_THAT(platform.launches(),
                ElementsAre(PlatformScope::Launch{"kalender", {"--leise", "x y"}}));
}

TEST_F(AppleScriptsHere, LaunchSaysWhenTheProgramDoesNotStart)
{
    platform.setLaunchResult(false);
    EXPECT_FALSE(run(kLaunch));
}

TEST_F(AppleScriptsHere, QuitIsDoneWhereNothingRuns) { EXPECT_TRUE(run(kQuit)); }

TEST_F(AppleScriptsHere, QuitRunsTheCommandSetForItAndAnswersWithItsResult)
{
    EXPECT_TRUE(run(kQuit, {.quitCommand = {"touch", proc.path("beendet")}}));
    EXPECT_TRUE(proc.exists("beendet"));
    EXPECT_FALSE(run(kQuit, {.quitCommand = {"false"}}));
}

class OtherScript : public AppleScriptsHere, public testing::WithParamInterface<const char*> {};
INSTANTIATE_TEST_SUITE_P(Rows, OtherScript,
                         testing::Values("", "do shell script \"touch x\"",
                                         "tell application \"iCal\"\nlaunch\nend tell",
                                         "tell application \"iCal\"\nquit saving no\nend tell\n",
                                         "tell application \"iCal\"\nlaunch\nquit\nend tell\n",
                                         "tell application \"\"\nlaunch\nend tell\n",
                                         "tell application \"iCal\nlaunch\nend tell\n",
                                         "tell application \"a\" & \"b\"\nlaunch\nend tell\n",
                                         " tell application \"iCal\"\nlaunch\nend tell\n"));

TEST_P(OtherScript, IsNotUnderstood)
{
    EXPECT_FALSE(run(GetParam(), {.quitCommand = {"touch", proc.path("gelaufen")}}));
    EXPECT_THAT(platform.launches(), IsEmpty());
    EXPECT_THAT(proc.tree(), IsEmpty());
}

TEST(CalendarProgram, StandsForTheNameThatThePluginKnows)
{
    const CalendarProgram program{.program = "/usr/bin/gnome-calendar"};
    EXPECT_EQ(program.processName("iCal"), "gnome-calendar");
    EXPECT_EQ(program.processName("Mail"), "Mail");
}

}  // namespace
}  // namespace kt
