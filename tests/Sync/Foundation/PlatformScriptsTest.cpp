#include <optional>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/Platform.h"
#include "tests/support/PlatformScope.h"

namespace kt {
namespace {

const Dictionary kNoAppleScript{
    {"NSAppleScriptErrorMessage", "AppleScript ist auf diesem System nicht vorhanden"}};

TEST(PlatformScripts, EndInAnErrorUntilThereIsARunner)
{
    const test::PlatformScope platform;
    EXPECT_TRUE(Platform::shared().runScript("beep") == kNoAppleScript);
}

TEST(PlatformScripts, AreHandedToTheRunnerUntilItIsTakenAway)
{
    const test::PlatformScope platform;
    std::string script;
    Platform::shared().setScriptRunner([&script](const std::string& source) {
        script = source;
        return std::optional<Dictionary>();
    });
    EXPECT_FALSE(Platform::shared().runScript("beep").has_value());
    EXPECT_EQ(script, "beep");
    Platform::shared().setScriptRunner({});
    EXPECT_TRUE(Platform::shared().runScript("beep") == kNoAppleScript);
}

TEST(PlatformScripts, MaySetAnotherRunner)
{
    const test::PlatformScope platform;
    Platform::shared().setScriptRunner([](const std::string&) -> std::optional<Dictionary> {
        Platform::shared().reset();
        return Dictionary{{"NSAppleScriptErrorMessage", "abgebrochen"}};
    });
    EXPECT_TRUE(Platform::shared().runScript("beep") ==
                (Dictionary{{"NSAppleScriptErrorMessage", "abgebrochen"}}));
    EXPECT_TRUE(Platform::shared().runScript("beep") == kNoAppleScript);
}

}  // namespace
}  // namespace kt
