#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/Host/Services/Preferences.h"
#include "tests/support/PlatformScope.h"
#include "tests/support/TemporaryFolder.h"

namespace kt {
namespace {

using Storage = Preferences::Storage;
using test::PlatformScope;
using test::TemporaryFolder;
using testing::HasSubstr;

class PreferencesOnDisk : public testing::Test {
protected:
    Preferences open(Storage storage = Storage::file) const
    {
        return Preferences(folder.path("Suite/Preferences.plist"), storage);
    }

    TemporaryFolder folder;
    PlatformScope platform{folder.path()};
};

TEST_F(PreferencesOnDisk, AnswersWithTheDefaultWhereNothingIsStored)
{
    const Preferences preferences = open();
    EXPECT_TRUE(preferences.boolForKey("A", true));
    EXPECT_FALSE(preferences.boolForKey("A", false));
    EXPECT_EQ(preferences.objectForKey("A", Value("Ersatz")), Value("Ersatz"));
    EXPECT_FALSE(preferences.contains("A"));
}

TEST_F(PreferencesOnDisk, ReadingAloneMakesNoFile)
{
    open();
    EXPECT_TRUE(folder.tree().empty());
}

TEST_F(PreferencesOnDisk, KeepsWhatWasStored)
{
    EXPECT_TRUE(open().set("An", true));
    Preferences second = open();
    EXPECT_TRUE(second.set("Kalender", Dictionary{{"äöü", 1}, {"b", 0}}));
    const Preferences third = open();
    EXPECT_TRUE(third.boolForKey("An", false));
    EXPECT_EQ(third.objectForKey("Kalender", {}), Value(Dictionary{{"äöü", 1}, {"b", 0}}));
}

TEST_F(PreferencesOnDisk, StoringNilRemovesTheEntry)
{
    open().set("A", "x");
    open().set("A", Value());
    EXPECT_FALSE(open().contains("A"));
}

TEST_F(PreferencesOnDisk, StoringWhatIsThereTouchesNoFile)
{
    open().set("A", true);
    const auto before = FileManager::defaultManager().statusAtPath(open().path())->modified;
    folder.remove("Suite/Preferences.plist.gone");
    Preferences preferences = open();
    WriteGuard guard;  // a write would answer false
    EXPECT_TRUE(preferences.set("A", 1));
    EXPECT_EQ(FileManager::defaultManager().statusAtPath(open().path())->modified, before);
}

TEST_F(PreferencesOnDisk, AWrongKindCountsAsAbsentForTruth)
{
    open().set("A", Array{Value(1)});
    EXPECT_TRUE(open().boolForKey("A", true));
}

TEST_F(PreferencesOnDisk, InMemoryChangesAreNeverWritten)
{
    open().set("A", "alt");
    const auto before = folder.tree();
    Preferences inMemory = open(Storage::memory);
    EXPECT_EQ(inMemory.objectForKey("A", {}), Value("alt"));
    EXPECT_TRUE(inMemory.set("A", "neu"));
    EXPECT_EQ(inMemory.objectForKey("A", {}), Value("neu"));
    EXPECT_EQ(folder.tree(), before);
}

TEST_F(PreferencesOnDisk, ACopyInMemoryLeavesTheOriginalAlone)
{
    Preferences original = open();
    original.set("A", "alt");
    const auto before = folder.tree();
    Preferences copy = original.copyInMemory();
    copy.set("A", "neu");
    EXPECT_EQ(original.objectForKey("A", {}), Value("alt"));
    EXPECT_EQ(folder.tree(), before);
}

TEST_F(PreferencesOnDisk, SaysWhenAChangeCouldNotBeWritten)
{
    folder.write("Suite", "eine Datei, wo der Ordner stehen müsste");
    Preferences preferences = open();
    EXPECT_FALSE(preferences.set("A", true));
    EXPECT_TRUE(preferences.boolForKey("A", false));
}

class CorruptPreferences : public PreferencesOnDisk,
                           public testing::WithParamInterface<const char*> {};
INSTANTIATE_TEST_SUITE_P(Rows, CorruptPreferences,
                         testing::Values("", "kein Wörterbuch", "<plist><array/></plist>",
                                         "<?xml version=\"1.0\"?><plist><dict><key>A</key>"));

TEST_P(CorruptPreferences, AreRefusedAndLeftAsTheyAre)
{
    folder.write("Suite/Preferences.plist", GetParam());
    try {
        open();
        FAIL() << "accepted";
    } catch (const Exception& exception) {
        EXPECT_THAT(exception.reason(),
                    HasSubstr("Die Einstellungen in \"" + folder.path("Suite/Preferences.plist") +
                              "\" sind nicht lesbar."));
    }
    EXPECT_EQ(folder.read("Suite/Preferences.plist"), GetParam());
}

}  // namespace
}  // namespace kt
