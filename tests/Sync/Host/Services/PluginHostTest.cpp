#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/Platform.h"
#include "Sync/Host/Services/LookingHost.h"
#include "tests/support/HostKit.h"

namespace kt {
namespace {

using test::HostKit;
using test::PlatformScope;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

/// What every host object does, seen on one of them.
class PlainHost : public LookingHost {
public:
    using LookingHost::LookingHost;
    void logMsg(std::string_view message) override { PluginHost::logMsg(message); }
    void setStatusMsg(std::string_view message) override { PluginHost::setStatusMsg(message); }
    bool isBinaryRunning(std::string_view name) override
    {
        return PluginHost::isBinaryRunning(name);
    }
};

class PluginHostTest : public testing::Test {
protected:
    HostKit kit;
    PlainHost host{kit.services()};
};

TEST_F(PluginHostTest, KeepsPreferencesAcrossLaunches)
{
    host.updatePreferenceWithBool("A", true);
    host.updatePreferenceWithObject("B", Dictionary{{"x", 1}});
    const Preferences later(kit.suite.preferencesPath(), Preferences::Storage::file);
    EXPECT_TRUE(later.boolForKey("A", false));
    EXPECT_EQ(later.objectForKey("B", {}), Value(Dictionary{{"x", 1}}));
    EXPECT_TRUE(host.boolPreferenceForKey("A", false));
    EXPECT_EQ(host.objectPreferenceForKey("C", Value("Ersatz")), Value("Ersatz"));
    EXPECT_FALSE(host.hasLostPreferences());
}

TEST_F(PluginHostTest, SaysOnceThatPreferencesCannotBeKept)
{
    const WriteGuard guard;
    host.updatePreferenceWithBool("A", true);
    host.updatePreferenceWithBool("B", true);
    EXPECT_TRUE(host.hasLostPreferences());
    EXPECT_EQ(kit.shown(), "Die Einstellungen \"" + kit.suite.preferencesPath() +
                               "\" können nicht gesichert werden.\n");
}

TEST_F(PluginHostTest, NamesThePublicSiteThatThereIs)
{
    EXPECT_EQ(host.publicSiteUrl(), std::nullopt);
    HostServices services = kit.services();
    services.publicSite = "https://kalender.example";
    EXPECT_EQ(PlainHost(services).publicSiteUrl(), "https://kalender.example");
}

TEST_F(PluginHostTest, WritesLogAndStatusWhereTheyBelong)
{
    host.logMsg("Zeile");
    host.fileLogger()->log("Einzelheit %d", 1);
    host.setStatusMsg("3 Kalender\n1 Ereignis");
    host.progress("Privat", 1, 3);
    EXPECT_EQ(kit.shown(), "Zeile\n3 Kalender, 1 Ereignis\n'Privat' (1 von 3)\n");
    EXPECT_THAT(kit.logFile(), EndsWith("  Zeile\n"));
    EXPECT_THAT(kit.fileLogFile(), EndsWith("  Einzelheit 1\n"));
    EXPECT_EQ(host.status(), "3 Kalender\n1 Ereignis");
}

TEST_F(PluginHostTest, TakesTheSystemLogIntoTheDetailedLog)
{
    NSLog("Aufgabe ohne %@", "Beschreibung");
    EXPECT_THAT(kit.fileLogFile(), EndsWith("  Konsole: Aufgabe ohne Beschreibung\n"));
    EXPECT_EQ(kit.shown(), "");
}

TEST_F(PluginHostTest, AsksForTheProgramThatStandsForICal)
{
    kit.proc.write("7/stat", "7 (kalender) S 1");
    EXPECT_FALSE(host.isBinaryRunning("iCal"));
    PlainHost other(kit.services({.program = "/opt/kalender"}));
    EXPECT_TRUE(other.isBinaryRunning("iCal"));
}

TEST_F(PluginHostTest, RunsTheScriptsOfThePlugin)
{
    EXPECT_TRUE(host.runAppleScript("tell application \"iCal\"\nlaunch\nend tell\n"));
    EXPECT_FALSE(host.runAppleScript("beep"));
    EXPECT_THAT(kit.platform.launches(), ElementsAre(PlatformScope::Launch{"iCal", {}}));
}

TEST_F(PluginHostTest, ReportsTheSystemVersion)
{
    EXPECT_EQ(host.macOSVersion(), 5);
    EXPECT_EQ(PlainHost(kit.services({}, 4)).macOSVersion(), 4);
}

TEST_F(PluginHostTest, InSilenceNothingIsShownOrStored)
{
    host.updatePreferenceWithBool("A", false);
    host.setStatusMsg("vorher");
    const auto before = kit.home.tree();
    const std::string shown = kit.shown();
    {
        const PluginHost::Silence silence(host);
        host.logMsg("Zeile");
        NSLog("Konsole");
        EXPECT_EQ(host.fileLogger(), nullptr);
        host.setStatusMsg("Status");
        host.progress("Privat", 1, 3);
        host.updatePreferenceWithBool("A", true);
        EXPECT_TRUE(host.boolPreferenceForKey("A", false)) << "for as long as it lasts";
    }
    EXPECT_EQ(kit.home.tree(), before);
    EXPECT_EQ(kit.shown(), shown);
    EXPECT_EQ(host.status(), "vorher");
    EXPECT_FALSE(host.boolPreferenceForKey("A", true));
    host.logMsg("danach");
    EXPECT_THAT(kit.shown(), EndsWith("danach\n"));
}

}  // namespace
}  // namespace kt
