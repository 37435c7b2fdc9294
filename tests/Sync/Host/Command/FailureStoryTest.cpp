#include <filesystem>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include "Sync/HostInterface/KTSyncPluginProtocol.h"
#include "tests/support/SyncKit.h"

namespace kt::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* kSuite = "Library/Application Support/VeloraSuite";

struct UsageRow {
    std::vector<std::string> arguments;
    const char* complaint;
};
class WrongUsage : public testing::TestWithParam<UsageRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, WrongUsage,
    testing::Values(
        UsageRow{{}, "Es fehlt ein Befehl."}, UsageRow{{"tanzen"}, "Unbekannter Befehl: tanzen"},
        UsageRow{{"publish"}, "Es fehlt: KEY"},
        UsageRow{{"sync", "--alles"}, "Unbekannte Angabe: --alles"},
        UsageRow{{"sync", "check"}, "Unbekannte Angabe: check"}, UsageRow{{"on"}, "Es fehlt: KEY"},
        UsageRow{{"off"}, "Es fehlt: KEY"},
        UsageRow{{"sync", "--home"}, "Bei --home fehlt der Wert."},
        UsageRow{{"check", "--system-version", "6"}, "Ungültiger Wert bei --system-version."},
        UsageRow{{"check", "--server", "http://x"}, "Unbekannte Server-Adresse 'http://x'"},
        UsageRow{{"check", "--config", "/nonexistent/x.toml"},
                 "Die Einstellungen \"/nonexistent/x.toml\" können nicht gelesen "
                 "werden."}));

TEST_P(WrongUsage, EndsWith2AndSaysWhy)
{
    const ProgramResult run = runProgram("icalsync", GetParam().arguments);
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_THAT(run.err, HasSubstr(GetParam().complaint));
    EXPECT_THAT(run.out, IsEmpty());
}

TEST(Help, IsGermanAndNoFailure)
{
    const ProgramResult run = runProgram("icalsync", {"--help"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.out, HasSubstr("Aufruf: icalsync"));
    EXPECT_THAT(runProgram("icalsync", {"sync", "--help"}).out, HasSubstr("--allow-mass-delete"));
}

class FailureStory : public testing::Test {
protected:
    FailureStory()
    {
        home.addCalendar("PRIVAT", "Privat");
        home.addEvent("PRIVAT", "a.ics", {.title = "Zahnarzt"});
    }
    /// The command fails with one line for the user, in either form, and the store stays.
    void expectFailure(const std::vector<std::string>& arguments, const std::string& line) const
    {
        const auto before = home.storeSnapshot();
        const ProgramResult run = home.run(arguments);
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_THAT(run.out + run.err, HasSubstr(line));
        EXPECT_EQ(home.storeSnapshot(), before);
    }

    StoryServer server;
    StoryHome home{server};
};

TEST_F(FailureStory, AMissingHomeIsNamed)
{
    for (const char* command : {"sync", "records", "enable"}) {
        const ProgramResult run = runProgram("icalsync", {command, "--home", "/nonexistent/home"});
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_EQ(run.err, "Den Heimordner \"/nonexistent/home\" gibt es nicht.\n");
    }
}

TEST_F(FailureStory, AFailureIsToldInJsonAsWell)
{
    const ProgramResult run =
        runProgram("icalsync", {"sync", "--json", "--home", "/nonexistent/home"});
    EXPECT_EQ(run.json()["error"], "Den Heimordner \"/nonexistent/home\" gibt es nicht.");
}

TEST_F(FailureStory, AHomeThatCannotBeWrittenCanStillBeLookedAt)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "needs root, to act as somebody without rights";
    fs::permissions(home.path(),
                    fs::perms::owner_all | fs::perms::others_read | fs::perms::others_exec);
    if (home.run({"--help"}, RunAs::nobody).exitCode != 0)
        GTEST_SKIP() << "the program cannot be reached without rights here";
    const ProgramResult sync = home.run({"sync"}, RunAs::nobody);
    EXPECT_EQ(sync.exitCode, 1);
    EXPECT_THAT(sync.err, HasSubstr("Der Ordner \"" + home.folder().path(kSuite) +
                                    "\" kann nicht angelegt werden."));
    EXPECT_EQ(home.run({"records", "--count"}, RunAs::nobody).out,
              "1 Kalender, 1 Ereignis, 0 Aufgaben\n");
}

TEST_F(FailureStory, ASuitesFolderThatCannotBeMadeIsNamed)
{
    home.folder().write("Library/Application Support", "eine Datei, wo der Ordner sein müsste");
    expectFailure({"sync"},
                  "Der Ordner \"" + home.folder().path(kSuite) + "\" kann nicht angelegt werden.");
}

TEST_F(FailureStory, CorruptPreferencesAreNamedAndStay)
{
    const std::string path = std::string(kSuite) + "/Preferences.plist";
    home.folder().write(path, "kaputt");
    expectFailure({"sync"},
                  "Die Einstellungen in \"" + home.folder().path(path) + "\" sind nicht lesbar.");
    EXPECT_EQ(home.folder().read(path), "kaputt");
}

TEST_F(FailureStory, ACorruptLocalStateIsNamedAndStays)
{
    const std::string path = std::string(kSuite) + "/LocalState.sqlite";
    home.folder().write(path, "keine Datenbank, aber lang genug, um wie eine auszusehen");
    expectFailure({"sync"}, home.folder().path(path));
    EXPECT_THAT(home.folder().read(path).value(), HasSubstr("keine Datenbank"));
}

TEST_F(FailureStory, AServerThatIsNoneIsNamedAndStays)
{
    std::ofstream(server.path()) << "keine Datenbank, aber lang genug, um wie eine auszusehen";
    const auto before = home.storeSnapshot();
    const ProgramResult run = home.sync();
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.out, HasSubstr(server.path()));
    EXPECT_EQ(home.storeSnapshot(), before);
}

TEST_F(FailureStory, AServerThatCannotBeReachedIsNamedAndTheNextSyncGoesOn)
{
    const auto run = runProgram("icalsync", {"sync", "--home", home.path(), "--server",
                                             "sqlite:/nonexistent/folder/server.sqlite"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.out, HasSubstr("/nonexistent/folder/server.sqlite"));
    EXPECT_EQ(home.sync().exitCode, 0);
    EXPECT_EQ(server.records().size(), 2U);
}

TEST_F(FailureStory, TwoRunsDoNotMeet)
{
    home.sync();
    const int lock =
        ::open(home.folder().path(std::string(kSuite) + "/Synchronisierung.lock").c_str(), O_RDWR);
    ASSERT_EQ(::flock(lock, LOCK_EX), 0);
    const std::string taken = "Für diesen Heimordner läuft gerade eine andere Synchronisierung.";
    expectFailure({"sync"}, taken);
    expectFailure({"records"}, taken);
    expectFailure({"disable"}, taken);
    ::close(lock);
    EXPECT_EQ(home.sync().exitCode, 0);
}

TEST_F(FailureStory, ABundleThatIsNoneIsNamed)
{
    expectFailure({"sync", "--plugin", "/nonexistent/X.bundle"},
                  "Es gibt kein Plug-in \"/nonexistent/X.bundle\".");
    const std::string wrong = std::string(KT_TEST_BUNDLE_DIR) + "/WrongVersion.bundle";
    expectFailure({"records", "--plugin", wrong},
                  "Version " + std::to_string(kPluginInterfaceVersion + 1) + " der Schnittstelle");
}

TEST_F(FailureStory, SettingsThatMeanNothingAreWrongUsage)
{
    home.folder().write(std::string(kSuite) + "/icalsync.toml", "servr = \"sqlite:x\"\n");
    const ProgramResult run = home.sync();
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_THAT(run.err, HasSubstr("Unbekannte Einstellung \"servr\"."));
}

TEST_F(FailureStory, ResultsThatCannotBeWrittenAreAFailure)
{
    const std::string command = std::string(KT_PROGRAM_DIR) + "/icalsync records --home '" +
                                home.path() + "' >/dev/full 2>/dev/null";
    EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 1);
}

}  // namespace
}  // namespace kt::test
