#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/Exception.h"
#include "Sync/Host/Services/SuiteFolder.h"
#include "tests/support/TemporaryFolder.h"

namespace kt {
namespace {

using test::TemporaryFolder;

TEST(SuiteFolder, StandsBelowTheHome)
{
    const SuiteFolder suite("/home/anna");
    EXPECT_EQ(suite.path(), "/home/anna/Library/Application Support/VeloraSuite");
    EXPECT_EQ(suite.preferencesPath(), suite.path() + "/Preferences.plist");
}

TEST(SuiteFolder, IsMadeWithItsParents)
{
    TemporaryFolder home;
    SuiteFolder(home.path()).create();
    SuiteFolder(home.path()).create();
    EXPECT_TRUE(home.exists("Library/Application Support/VeloraSuite"));
}

TEST(SuiteFolder, NamesTheFolderThatCannotBeMade)
{
    TemporaryFolder home;
    home.write("Library", "kein Ordner");
    try {
        SuiteFolder(home.path()).create();
        FAIL() << "made";
    } catch (const Exception& exception) {
        EXPECT_EQ(exception.reason(), "Der Ordner \"" +
                                          home.path("Library/Application Support/VeloraSuite") +
                                          "\" kann nicht angelegt werden.");
    }
}

}  // namespace
}  // namespace kt
