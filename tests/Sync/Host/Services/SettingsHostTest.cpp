#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Host/Services/HomeLock.h"
#include "Sync/Host/Services/SettingsHost.h"
#include "tests/support/HostKit.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SettingsOfAWindow : public ::testing::Test {
protected:
    /// The preferences as another program finds them.
    Value stored(std::string_view key) const
    {
        return Preferences(kit.suite.preferencesPath(), Preferences::Storage::file)
            .objectForKey(key, {});
    }
    void storeElsewhere(std::string_view key, const Value& value) const
    {
        EXPECT_TRUE(
            Preferences(kit.suite.preferencesPath(), Preferences::Storage::file).set(key, value));
    }

    HostKit kit;
    std::vector<std::string> failures;
    SettingsHost host{kit.services(), kit.suite.lockPath(),
                      [this](std::string_view line) { failures.emplace_back(line); }};
};

TEST_F(SettingsOfAWindow, AreStoredAtOnce)
{
    host.updatePreferenceWithBool("an", true);
    host.updatePreferenceWithObject("wer", "Anna");
    EXPECT_EQ(stored("an"), Value(true));
    EXPECT_EQ(stored("wer"), Value("Anna"));
    EXPECT_THAT(failures, IsEmpty());
}

TEST_F(SettingsOfAWindow, AreReadAnewEachTime)
{
    EXPECT_FALSE(host.boolPreferenceForKey("an", false));
    storeElsewhere("an", true);
    storeElsewhere("wer", "Berta");
    EXPECT_TRUE(host.boolPreferenceForKey("an", false));
    EXPECT_EQ(host.objectPreferenceForKey("wer", {}), Value("Berta"));
}

TEST_F(SettingsOfAWindow, LeaveAloneWhatAnotherProgramStoredMeanwhile)
{
    host.updatePreferenceWithObject("wer", "Anna");
    storeElsewhere("wo", "Berlin");
    host.updatePreferenceWithObject("wer", "Berta");
    EXPECT_EQ(stored("wo"), Value("Berlin"));
    EXPECT_EQ(stored("wer"), Value("Berta"));
}

TEST_F(SettingsOfAWindow, AreNotChangedDuringASyncAndTheUserIsTold)
{
    host.updatePreferenceWithObject("wer", "Anna");
    const auto sync = HomeLock::exclusive(kit.suite.lockPath());
    host.updatePreferenceWithObject("wer", "Berta");
    EXPECT_EQ(stored("wer"), Value("Anna"));
    EXPECT_EQ(host.objectPreferenceForKey("wer", {}), Value("Anna"));
    EXPECT_THAT(failures,
                ElementsAre("Für diesen Heimordner läuft gerade eine andere Synchronisierung."));
}

TEST_F(SettingsOfAWindow, NeedNoLockForWhatIsStoredAlready)
{
    host.updatePreferenceWithObject("wer", "Anna");
    const auto sync = HomeLock::exclusive(kit.suite.lockPath());
    host.updatePreferenceWithObject("wer", "Anna");
    EXPECT_THAT(failures, IsEmpty());
}

TEST_F(SettingsOfAWindow, StayAsTheyAreWhenTheFileIsDamagedAndTheUserIsTold)
{
    host.updatePreferenceWithObject("wer", "Anna");
    kit.home.write("Library/Application Support/VeloraSuite/Preferences.plist", "kaputt");
    EXPECT_EQ(host.objectPreferenceForKey("wer", {}), Value("Anna"));
    host.updatePreferenceWithObject("wer", "Berta");
    EXPECT_EQ(kit.home.read("Library/Application Support/VeloraSuite/Preferences.plist"), "kaputt");
    ASSERT_FALSE(failures.empty());
    EXPECT_NE(failures.front().find("sind nicht lesbar"), std::string::npos);
}

TEST_F(SettingsOfAWindow, OpenNoSession)
{
    EXPECT_EQ(host.startSync(5), 0);
    EXPECT_EQ(host.pullRecords(), std::nullopt);
    EXPECT_FALSE(host.diffLocalStateWithLocalUpdates({}, {}, 7));
    EXPECT_FALSE(host.pushSyncResult({}));
    EXPECT_FALSE(host.finishSync());
    EXPECT_FALSE(host.resetLocalState());
    EXPECT_EQ(host.getLocalState(), std::nullopt);
}

}  // namespace
}  // namespace kt::test
