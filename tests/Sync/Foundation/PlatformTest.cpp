#include <cstdlib>
#include <optional>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/CalendarDate.h"
#include "Sync/Foundation/Platform.h"
#include "tests/support/PlatformScope.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/ValuePrinting.h"

namespace kt {
namespace {

using test::PlatformScope;
using test::TemporaryFolder;
using testing::ElementsAre;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

/// An environment variable for the length of a scope.
class EnvironmentScope {
public:
    EnvironmentScope(const char* name, const char* value) : _name(name)
    {
        if (const char* before = std::getenv(name))
            _before = before;
        set(value);
    }
    ~EnvironmentScope() { set(_before ? _before->c_str() : nullptr); }
    EnvironmentScope(const EnvironmentScope&) = delete;
    EnvironmentScope& operator=(const EnvironmentScope&) = delete;

private:
    void set(const char* value) const
    {
        if (value == nullptr)
            ::unsetenv(_name);
        else
            ::setenv(_name, value, 1);
    }

    const char* _name;
    std::optional<std::string> _before;
};

class PlatformDefaults : public testing::Test {
protected:
    void SetUp() override { platform.reset(); }
    void TearDown() override { platform.reset(); }

    Platform& platform = Platform::shared();
};

TEST_F(PlatformDefaults, TakeTheHomeFolderFromTheEnvironment)
{
    const EnvironmentScope home("HOME", "/somewhere");
    EXPECT_EQ(NSHomeDirectory(), "/somewhere");
    platform.setHomeDirectory("/elsewhere");
    EXPECT_EQ(NSHomeDirectory(), "/elsewhere");
    platform.setHomeDirectory("");
    EXPECT_EQ(NSHomeDirectory(), "/somewhere");
}

TEST_F(PlatformDefaults, TakeTheHomeFolderFromTheUserDatabaseWithoutAnEnvironment)
{
    for (const char* value : {static_cast<const char*>(nullptr), ""}) {
        const EnvironmentScope home("HOME", value);
        EXPECT_TRUE(NSHomeDirectory().starts_with("/"));
    }
}

struct ZoneRow {
    const char* variable;
    std::string name;
};

class PlatformZone : public testing::TestWithParam<ZoneRow> {};
INSTANTIATE_TEST_SUITE_P(Rows, PlatformZone,
                         testing::Values(ZoneRow{"Asia/Kathmandu", "Asia/Kathmandu"},
                                         ZoneRow{":Asia/Kathmandu", "Asia/Kathmandu"},
                                         ZoneRow{"Etc/UTC", "Etc/UTC"}));

TEST_P(PlatformZone, ComesFromTheEnvironment)
{
    Platform::shared().reset();
    const EnvironmentScope zone("TZ", GetParam().variable);
    EXPECT_EQ(Platform::shared().localTimeZoneName(), GetParam().name);
    Platform::shared().reset();
}

class PlatformOddZone : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(Rows, PlatformOddZone,
                         testing::Values(static_cast<const char*>(nullptr), "", ":", "CET-1CEST",
                                         "/etc/localtime"));

TEST_P(PlatformOddZone, LeavesItToTheSystemAndIsAlwaysKnown)
{
    Platform::shared().reset();
    std::string fromSystem;
    {
        const EnvironmentScope zone("TZ", nullptr);
        fromSystem = Platform::shared().localTimeZoneName();
    }
    Platform::shared().reset();
    const EnvironmentScope zone("TZ", GetParam());
    EXPECT_EQ(Platform::shared().localTimeZoneName(), fromSystem);
    EXPECT_TRUE(isKnownTimeZone(fromSystem));
    Platform::shared().reset();
}

TEST_F(PlatformDefaults, KeepTheZoneOnceItWasAskedFor)
{
    const EnvironmentScope zone("TZ", "Asia/Tokyo");
    EXPECT_EQ(platform.localTimeZoneName(), "Asia/Tokyo");
    const EnvironmentScope other("TZ", "Europe/Berlin");
    EXPECT_EQ(platform.localTimeZoneName(), "Asia/Tokyo");
    platform.setLocalTimeZoneName("America/New_York");
    EXPECT_EQ(platform.localTimeZoneName(), "America/New_York");
    platform.setLocalTimeZoneName("");
    EXPECT_EQ(platform.localTimeZoneName(), "Europe/Berlin");
}

TEST_F(PlatformDefaults, WriteTheConsoleLogToStandardError)
{
    CaptureStderr();
    NSLog("%@: %d", "Zeile", 1);
    NSLog("zweite");
    EXPECT_EQ(GetCapturedStderr(), "Zeile: 1\nzweite\n");
}

TEST_F(PlatformDefaults, WriteFailedAssertionsToTheConsoleLogAndReturn)
{
    std::vector<std::string> lines;
    platform.setConsoleLog([&](std::string_view line) { lines.emplace_back(line); });
    platform.assertionFailed("_title == nil", "Sync/PlugIns/iCal/Calendar/KTSyncCalendar", 205);
    EXPECT_THAT(lines,
                ElementsAre("_title == nil (Sync/PlugIns/iCal/Calendar/KTSyncCalendar:205)"));
}

TEST_F(PlatformDefaults, HaveARunningClock)
{
    const Date before{
        std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now())};
    const Date now = platform.now();
    EXPECT_GE(now, before);
    EXPECT_LE(now.instant, std::chrono::system_clock::now());
}

TEST_F(PlatformDefaults, StartRealPrograms)
{
    EXPECT_TRUE(platform.launch("/bin/true", {}));
    EXPECT_FALSE(platform.launch("/nonexistent/program", {}));
}

TEST_F(PlatformDefaults, ComeBackForSettingsThatAreTakenAway)
{
    platform.setConsoleLog([](std::string_view) { FAIL(); });
    platform.setConsoleLog(nullptr);
    CaptureStderr();
    platform.consoleLog("x");
    EXPECT_EQ(GetCapturedStderr(), "x\n");
    platform.setClock([] { return Date{}; });
    EXPECT_EQ(platform.now(), Date{});
    platform.setClock(nullptr);
    EXPECT_GT(platform.now(), Date{});
}

TEST(Platform, IsReplacedForATestAndComesBack)
{
    const EnvironmentScope home("HOME", "/real/home");
    {
        PlatformScope scope("/test/home", "Asia/Tokyo");
        scope.setNow(Date{});
        NSLog("%@", "eins");
        Platform::shared().assertionFailed("text", "file", 7);
        EXPECT_TRUE(Platform::shared().launch("xdg-open", {"https://example.invalid"}));
        scope.setLaunchResult(false);
        EXPECT_FALSE(Platform::shared().launch("other", {}));

        EXPECT_EQ(NSHomeDirectory(), "/test/home");
        EXPECT_EQ(Platform::shared().localTimeZoneName(), "Asia/Tokyo");
        EXPECT_EQ(Platform::shared().now(), Date{});
        EXPECT_THAT(scope.consoleLines(), ElementsAre("eins"));
        ASSERT_EQ(scope.assertions().size(), 1U);
        EXPECT_EQ(scope.assertions()[0].description, "text");
        EXPECT_EQ(scope.assertions()[0].line, 7);
        EXPECT_THAT(scope.launches(),
                    ElementsAre(PlatformScope::Launch{"xdg-open", {"https://example.invalid"}},
                                PlatformScope::Launch{"other", {}}));
    }
    EXPECT_EQ(NSHomeDirectory(), "/real/home");
    EXPECT_FALSE(Platform::shared().isWriteGuarded());
}

TEST(Platform, MayBeUsedFromInsideItsOwnFunctions)
{
    const PlatformScope scope;
    std::vector<std::string> lines;
    Platform::shared().setAssertionHandler([](std::string_view text, std::string_view, int) {
        NSLog("%@ in %@", text, NSHomeDirectory());
    });
    Platform::shared().setConsoleLog([&](std::string_view line) { lines.emplace_back(line); });
    Platform::shared().assertionFailed("x", "", 0);
    EXPECT_THAT(lines, ElementsAre("x in /nonexistent/home"));
}

TEST(Platform, GuardsAgainstWritingInNestedScopes)
{
    const PlatformScope scope;
    const TemporaryFolder folder;
    {
        const WriteGuard outer;
        {
            const WriteGuard inner;
            EXPECT_TRUE(Platform::shared().isWriteGuarded());
        }
        EXPECT_TRUE(Platform::shared().isWriteGuarded());
        EXPECT_FALSE(FileManager::defaultManager().writeAtomically("x", folder.path("a")));
        EXPECT_FALSE(FileManager::defaultManager().createDirectoryAtPath(folder.path("b")));
    }
    EXPECT_FALSE(Platform::shared().isWriteGuarded());
    EXPECT_TRUE(FileManager::defaultManager().writeAtomically("x", folder.path("a")));
}

TEST(Platform, IsReadFromSeveralThreadsWhileItChanges)
{
    const PlatformScope scope;
    std::vector<std::thread> threads;
    for (int number = 0; number < 3; ++number)
        threads.emplace_back([] {
            for (int round = 0; round < 500; ++round) {
                NSLog("%@ %@", NSHomeDirectory(), Platform::shared().localTimeZoneName());
                static_cast<void>(isKnownTimeZone("Europe/Berlin"));
            }
        });
    for (int round = 0; round < 500; ++round)
        Platform::shared().setHomeDirectory("/home/" + std::to_string(round));
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(scope.consoleLines().size(), 1500U);
    EXPECT_EQ(NSHomeDirectory(), "/home/499");
}

}  // namespace
}  // namespace kt
