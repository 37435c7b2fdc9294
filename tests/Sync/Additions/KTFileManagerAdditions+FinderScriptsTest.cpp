#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Additions/KTFileManagerAdditions+FinderScripts.h"
#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Platform.h"
#include "tests/Sync/Additions/FinderFixture.h"

namespace kt {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

/// A Finder that keeps the scripts it is told, on a volume "Test" that is the temporary folder.
class FinderScripts : public test::FinderFixture {
protected:
    FinderScripts()
    {
        catalog->volumes[folder.path()] = "Test";
        answer([] { return std::nullopt; });
    }
    template <class Answer>
    void answer(Answer answer)
    {
        Platform::shared().setScriptRunner(
            [this, answer](const std::string& source) -> std::optional<Dictionary> {
                scripts.push_back(source);
                return answer();
            });
    }
    void failWith(const std::string& message)
    {
        answer([message] { return Dictionary{{"NSAppleScriptErrorMessage", message}}; });
    }

    std::vector<std::string> scripts;
};

TEST_F(FinderScripts, MakeAnAlias)
{
    folder.write("a.ics", "x");
    folder.makeFolder("Ablage");
    EXPECT_TRUE(createAliasAtPath(folder.path("Ablage/Kalender"), folder.path("a.ics")));
    EXPECT_THAT(scripts,
                ElementsAre(
                    "tell application \"Finder\"\n"
                    "set linkTarget to \"Test:a.ics\"\n"
                    "set aliasPath to make new alias file at \"Test:Ablage:\" to linkTarget\n"
                    "set the name of aliasPath to \"Kalender\"\n"
                    "end tell"));
    EXPECT_THAT(platform.consoleLines(), IsEmpty());
}

TEST_F(FinderScripts, RemoveWhatStandsAtAnAliassPathBeforeTheAliasIsMade)
{
    folder.write("a.ics", "x");
    folder.write("old/deep", "y");
    answer([this] {
        EXPECT_FALSE(folder.exists("old"));
        return std::nullopt;
    });
    EXPECT_TRUE(createAliasAtPath(folder.path("old"), folder.path("a.ics")));
    EXPECT_EQ(scripts.size(), 1U);
    EXPECT_THAT(folder.tree(), ElementsAre(Pair("a.ics", "x")));
}

TEST_F(FinderScripts, MakeNoAliasBehindAWriteGuard)
{
    folder.write("a.ics", "x");
    folder.write("old", "y");
    const WriteGuard guard;
    EXPECT_FALSE(createAliasAtPath(folder.path("old"), folder.path("a.ics")));
    EXPECT_THAT(scripts, IsEmpty());
    EXPECT_TRUE(folder.exists("old"));
}

TEST_F(FinderScripts, RefreshTheDisplayOfAnItem)
{
    folder.makeFolder("Events");
    EXPECT_TRUE(updateFinderDisplayAtPath(folder.path("Events")));
    EXPECT_TRUE(updateFinderDisplayAtPath(folder.path("a.ics")));
    EXPECT_THAT(scripts, ElementsAre("tell application \"Finder\"\n"
                                     "set updateTarget to \"Test:Events:\"\n"
                                     "update updateTarget with necessity\n"
                                     "end tell",
                                     "tell application \"Finder\"\n"
                                     "set updateTarget to \"Test:a.ics\"\n"
                                     "update updateTarget with necessity\n"
                                     "end tell"));
}

TEST_F(FinderScripts, EjectAVolume)
{
    EXPECT_TRUE(ejectVolumeAtPath(folder.path()));
    EXPECT_THAT(scripts, ElementsAre("tell application \"Finder\"\neject \"Test:\"\nend tell\n"));
}

TEST_F(FinderScripts, CannotBeEndedByAName)
{
    const std::string name = "x\"\ndelete \"y\\";
    EXPECT_TRUE(updateFinderDisplayAtPath(folder.path(name)));
    EXPECT_TRUE(createAliasAtPath(folder.path("\"a\""), folder.path(name)));
    const std::string quoted = "x\\\"\ndelete \\\"y\\\\";
    EXPECT_THAT(scripts,
                ElementsAre("tell application \"Finder\"\n"
                            "set updateTarget to \"Test:" +
                                quoted +
                                "\"\n"
                                "update updateTarget with necessity\n"
                                "end tell",
                            "tell application \"Finder\"\n"
                            "set linkTarget to \"Test:" +
                                quoted +
                                "\"\n"
                                "set aliasPath to make new alias file at \"Test:\" to linkTarget\n"
                                "set the name of aliasPath to \"\\\"a\\\"\"\n"
                                "end tell"));
}

TEST_F(FinderScripts, KeepPercentSignsOfAName)
{
    EXPECT_TRUE(ejectVolumeAtPath(folder.path("100 %@ %d")));
    EXPECT_THAT(scripts,
                ElementsAre("tell application \"Finder\"\neject \"Test:100 %@ %d\"\nend tell\n"));
}

TEST_F(FinderScripts, LogTheErrorDictionaryOfOneThatFails)
{
    failWith("Finder hat einen Fehler");
    const std::string line = "{\n    NSAppleScriptErrorMessage = \"Finder hat einen Fehler\";\n}";
    EXPECT_FALSE(createAliasAtPath(folder.path("alias"), folder.path("a.ics")));
    EXPECT_FALSE(updateFinderDisplayAtPath(folder.path("a.ics")));
    EXPECT_FALSE(ejectVolumeAtPath(folder.path()));
    EXPECT_THAT(platform.consoleLines(), ElementsAre(line, line, line));
}

TEST_F(FinderScripts, TakeTheDescriptionOfTheErrorForTheFormatOfItsLogLine)
{
    failWith("100%% %@ %d");
    EXPECT_FALSE(ejectVolumeAtPath(folder.path()));
    EXPECT_THAT(platform.consoleLines(),
                ElementsAre("{\n    NSAppleScriptErrorMessage = \"100% (null) 0\";\n}"));
}

TEST_F(FinderScripts, LogAnExceptionWhileAVolumeIsEjected)
{
    answer(
        []() -> std::optional<Dictionary> { throw Exception(NSGenericException, "kein Finder"); });
    EXPECT_FALSE(ejectVolumeAtPath(folder.path()));
    EXPECT_THAT(platform.consoleLines(), ElementsAre("[NSFileManager ejectVolumeAtPath]: '" +
                                                     folder.path() + "' - kein Finder"));
}

TEST_F(FinderScripts, PassOnWhatIsNoExceptionOfOursWhileAVolumeIsEjected)
{
    answer([]() -> std::optional<Dictionary> { throw std::runtime_error("anderes"); });
    EXPECT_THROW(ejectVolumeAtPath(folder.path()), std::runtime_error);
    EXPECT_THAT(platform.consoleLines(), IsEmpty());
}

TEST_F(FinderScripts, AreNotRunForItemsWithoutAnHFSPath)
{
    catalog->volumes.clear();
    EXPECT_FALSE(createAliasAtPath(folder.path("alias"), folder.path("a.ics")));
    EXPECT_FALSE(updateFinderDisplayAtPath(folder.path("a.ics")));
    EXPECT_FALSE(ejectVolumeAtPath(folder.path()));
    EXPECT_THAT(scripts, IsEmpty());
}

TEST_F(FinderScripts, RemoveWhatStandsAtAnAliassPathEvenWhereThereIsNoHFSPath)
{
    folder.write("a.ics", "x");
    folder.write("old", "y");
    catalog->volumes.clear();
    EXPECT_FALSE(createAliasAtPath(folder.path("old"), folder.path("a.ics")));
    EXPECT_THAT(folder.tree(), ElementsAre(Pair("a.ics", "x")));
}

TEST_F(FinderScripts, FailWhereThereIsNoAppleScript)
{
    Platform::shared().setScriptRunner({});
    EXPECT_FALSE(ejectVolumeAtPath(folder.path()));
    EXPECT_THAT(platform.consoleLines(),
                ElementsAre(
                    "{\n    NSAppleScriptErrorMessage = \"AppleScript ist auf diesem System "
                    "nicht vorhanden\";\n}"));
}

}  // namespace
}  // namespace kt
