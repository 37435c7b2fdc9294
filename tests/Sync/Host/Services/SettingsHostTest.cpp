#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/Exception.h"
#include "Sync/Host/Services/HomeLock.h"
#include "Sync/Host/Services/SettingsHost.h"
#include "tests/support/FailingFileManager.h"
#include "tests/support/HostKit.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
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

    Value storedEntry(std::string_view key, std::string_view entry) const
    {
        const Value value = stored(key);
        return value.isDictionary() ? value.dictionary()[entry] : Value();
    }
    /// Reads a dictionary into what is remembered of it, as the plug-in does.
    void merge(Dictionary& remembered, std::string_view key)
    {
        const Value value = host.objectPreferenceForKey(key, {});
        if (!value.isNil())
            remembered.merge(value.dictionary());
    }

    HostKit kit;
    std::vector<std::string> failures;
    std::vector<std::string> logged;
    SettingsHost host{kit.services(),
                      kit.suite.lockPath(),
                      {[this](std::string_view line) { failures.emplace_back(line); },
                       [this](std::string_view line) { logged.emplace_back(line); }}};
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

TEST_F(SettingsOfAWindow, ThatCannotBeWrittenAreToldEachTimeAndDoNotHold)
{
    host.updatePreferenceWithObject("wer", "Anna");
    const auto files = failFileOperations([](const std::string& operation) {
        return operation.starts_with("writeAtomically") && operation.ends_with("Preferences.plist");
    });
    host.updatePreferenceWithObject("wer", "Berta");
    host.updatePreferenceWithBool("an", true);
    const std::string line =
        "Die Einstellungen \"" + kit.suite.preferencesPath() + "\" können nicht gesichert werden.";
    EXPECT_THAT(failures, ElementsAre(line, line));
    EXPECT_EQ(host.objectPreferenceForKey("wer", {}), Value("Anna"));
    EXPECT_FALSE(host.boolPreferenceForKey("an", false));
}

TEST_F(SettingsOfAWindow, OfOneEventAreStoredUnderOneLock)
{
    int locks = 0;
    host.setListener({[](std::string_view) {}, [](std::string_view) {}, [&] { ++locks; }});
    host.updatePreferenceWithObject("wer", "Anna");
    EXPECT_THROW(HomeLock::exclusive(kit.suite.lockPath()), Exception);
    host.updatePreferenceWithBool("an", true);
    EXPECT_EQ(locks, 1);
    host.unlock();
    const auto sync = HomeLock::exclusive(kit.suite.lockPath());
    EXPECT_EQ(stored("an"), Value(true));
}

TEST_F(SettingsOfAWindow, WithoutAnEventAreStoredUnderALockEach)
{
    host.updatePreferenceWithObject("wer", "Anna");
    const auto sync = HomeLock::exclusive(kit.suite.lockPath());
    EXPECT_EQ(stored("wer"), Value("Anna"));
}

// Dictionaries, of which a plug-in changes an entry and stores the whole.

TEST_F(SettingsOfAWindow, KeepTheEntriesThatAnotherProgramChangedMeanwhile)
{
    Dictionary remembered{{"eins", 1}, {"zwei", 1}};
    host.updatePreferenceWithObject("an", remembered);
    storeElsewhere("an", Dictionary{{"eins", 0}, {"zwei", 1}, {"drei", 1}});
    for (const int state : {0, 1}) {
        remembered.set("zwei", state);
        host.updatePreferenceWithObject("an", remembered);
        EXPECT_EQ(stored("an"), Value(Dictionary{{"eins", 0}, {"zwei", state}, {"drei", 1}}));
    }
    EXPECT_THAT(failures, IsEmpty());
}

TEST_F(SettingsOfAWindow, LoseTheEntriesThatAreTakenOut)
{
    host.updatePreferenceWithObject("an", Dictionary{{"eins", 1}, {"zwei", 1}});
    storeElsewhere("an", Dictionary{{"eins", 1}, {"zwei", 1}, {"drei", 1}});
    host.updatePreferenceWithObject("an", Dictionary{{"zwei", 1}});
    EXPECT_EQ(stored("an"), Value(Dictionary{{"zwei", 1}, {"drei", 1}}));
}

TEST_F(SettingsOfAWindow, ForgetARefusedChangeOfAnEntryThatWasNeverStored)
{
    Dictionary remembered;
    auto sync = HomeLock::exclusive(kit.suite.lockPath());
    merge(remembered, "an");
    remembered.set("eins", 1);
    host.updatePreferenceWithObject("an", remembered);
    remembered.set("eins", 0);
    host.updatePreferenceWithObject("an", remembered);
    EXPECT_EQ(failures.size(), 2u);
    EXPECT_TRUE(stored("an").isNil());
    sync.reset();
    merge(remembered, "an");
    EXPECT_EQ(remembered["eins"], Value(1));
    host.updatePreferenceWithObject("an", remembered);
    EXPECT_EQ(storedEntry("an", "eins"), Value(1));
}

TEST_F(SettingsOfAWindow, GiveWayToWhatAnotherProgramStoredAfterARefusal)
{
    Dictionary remembered{{"eins", 1}};
    auto sync = HomeLock::exclusive(kit.suite.lockPath());
    host.updatePreferenceWithObject("an", remembered);
    storeElsewhere("an", Dictionary{{"eins", 0}});
    sync.reset();
    merge(remembered, "an");
    EXPECT_EQ(remembered["eins"], Value(0));
}

// The write guard, behind which the plug-in reads.

TEST_F(SettingsOfAWindow, AreWrittenBehindTheGuardAsWell)
{
    const WriteGuard guard;
    host.updatePreferenceWithObject("wer", "Anna");
    host.logMsg("eine Zeile");
    EXPECT_TRUE(Platform::shared().isWriteGuarded());
    EXPECT_EQ(stored("wer"), Value("Anna"));
    EXPECT_THAT(kit.logFile(), HasSubstr("eine Zeile"));
    EXPECT_THAT(failures, IsEmpty());
}

TEST_F(SettingsOfAWindow, TellTheLinesOfTheSystemLog)
{
    host.logMsg("eine Zeile");
    NSLog("eine andere");
    EXPECT_THAT(logged, ElementsAre("eine andere"));
    EXPECT_THAT(kit.fileLogFile(), HasSubstr("eine andere"));
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
