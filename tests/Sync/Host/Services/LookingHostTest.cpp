#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Host/Services/LookingHost.h"
#include "tests/support/HostKit.h"

namespace kt {
namespace {

using test::HostKit;
using test::ScriptedPlugin;
using testing::ElementsAre;

SyncRecord calendar(const std::string& key)
{
    return std::make_shared<HostSyncRecord>(0, Dictionary{{"Title", key}}, key, std::nullopt,
                                            std::string(kConduitCalendar));
}

class LookingHostTest : public testing::Test {
protected:
    HostKit kit;
    LookingHost host{kit.services()};
    ScriptedPlugin plugin{host};
};

TEST_F(LookingHostTest, GivesWhatLoadingYieldsAndWhatIsSwitchedOff)
{
    const SyncRecordList active{calendar("A")};
    plugin.load = [&] { return active; };
    plugin.switchedOff = {calendar("B")};
    const auto contents = host.look(plugin);
    ASSERT_TRUE(contents);
    EXPECT_EQ(contents->active, active);
    EXPECT_EQ(contents->switchedOff, plugin.switchedOff);
}

TEST_F(LookingHostTest, AsksForNoRewrite)
{
    plugin.rewrite = [](const SyncRecordMap&) {
        ADD_FAILURE() << "rewritten";
        return true;
    };
    host.look(plugin);
    EXPECT_THAT(plugin.startResults, ElementsAre(1));
}

TEST_F(LookingHostTest, LooksAlsoWhenThePluginIsOffOrTheProgramRuns)
{
    plugin.isOn = false;
    kit.proc.write("7/stat", "7 (iCal) S 1");
    EXPECT_TRUE(host.look(plugin));
}

TEST_F(LookingHostTest, SaysWhenTheStoreCouldNotBeLoaded)
{
    plugin.load = [] { return std::nullopt; };
    EXPECT_FALSE(host.look(plugin));
}

TEST_F(LookingHostTest, ShowsTheLogOfLoadingAlone)
{
    plugin.load = [&] {
        host.logMsg("Kalender: 'Privat'");
        return SyncRecordList{};
    };
    host.look(plugin);
    host.logMsg("danach");
    EXPECT_EQ(kit.shown(), "Kalender laden...\nKalender: 'Privat'\n");
}

}  // namespace
}  // namespace kt
