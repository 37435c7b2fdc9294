#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/SyncKit.h"

// What the program does with stores of the 10.4 layout that cannot be used, and with a home of
// which it is told the wrong layout.

namespace kt::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

const std::string kStore = "Library/Application Support/iCal";
const std::string kNodes = kStore + "/nodes.plist";
const std::string kSuite = "Library/Application Support/VeloraSuite";

std::string propertyList(const std::string& dictionary)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>" +
           dictionary + "</dict>\n</plist>\n";
}

std::string listOf(const std::string& nodes)
{
    return propertyList("<key>Version</key><integer>2</integer><key>List</key><array>" + nodes +
                        "</array>");
}

std::string calendarNode(const std::string& sourceKey)
{
    return "<dict><key>SourceKey</key><string>" + sourceKey +
           "</string><key>ThemeColor</key><string>#0E61B9FF</string>"
           "<key>Type</key><string>CALSourceNode</string></dict>";
}

/// A home with a 10.4 store: the calendar "Privat" with one event.
class OldHome : public StoryHome {
public:
    explicit OldHome(const StoryServer& server) : StoryHome(server)
    {
        folder().write(kNodes, listOf(calendarNode("PRIVAT")));
        describe("PRIVAT", "Privat");
        folder().write(kStore + "/Sources/PRIVAT.calendar/corestorage.ics",
                       textForEvent({.title = "Zahnarzt"}));
    }
    void describe(const std::string& sourceKey, const std::string& title) const
    {
        folder().write(kStore + "/Sources/" + sourceKey + ".calendar/Info.plist",
                       propertyList("<key>Title</key><string>" + title +
                                    "</string><key>Key</key><string>" + sourceKey +
                                    "</string><key>Type</key><string>"
                                    "com.apple.ical.sources.naivereadwrite</string>"));
    }
    /// What is in the store, and nothing of the suite's own.
    std::map<std::string, std::string> store() const
    {
        auto all = snapshot();
        std::erase_if(all, [](const auto& entry) { return !entry.first.starts_with(kStore); });
        return all;
    }
};

class OldStoreFailure : public testing::Test {
protected:
    /// The run ends with that one line and nothing but the log has changed.
    void expectRefusal(const ProgramResult& run, const std::string& line) const
    {
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_EQ(run.out, line + "\n");
    }
    /// A sync as `arguments` ask for it is refused, and not a byte in the home changes.
    void expectNothingTouched(const std::string& line,
                              std::vector<std::string> arguments = {}) const
    {
        const auto before = home.snapshot();
        const ProgramResult run = home.sync(std::move(arguments));
        expectRefusal(run, line);
        EXPECT_THAT(run.err, IsEmpty());
        EXPECT_EQ(home.snapshot(), before);
        EXPECT_FALSE(fs::exists(server.path()));
    }
    /// The same on a home that has been synced: its log grows, its store stays.
    void expectStoreUntouched(const std::string& line,
                              std::vector<std::string> arguments = {}) const
    {
        const auto storeBefore = home.store();
        const auto serverBefore = server.records();
        expectRefusal(home.sync(std::move(arguments)), line);
        EXPECT_EQ(home.store(), storeBefore);
        EXPECT_EQ(server.records(), serverBefore);
    }
    std::string quoted(const std::string& path) const
    {
        return "\"" + home.folder().path(path) + "\"";
    }
    std::string damaged() const
    {
        return "Die Datei " + quoted(kNodes) + " kann nicht gelesen werden oder ist beschädigt.";
    }

    StoryServer server;
    OldHome home{server};
};

TEST_F(OldStoreFailure, ANodeFileThatIsNoDictionaryEndsTheRunBeforeItBegins)
{
    for (const char* text : {"", "Unsinn", "<plist version=\"1.0\"><dict><key>Versi",
                             "<plist version=\"1.0\"><array/></plist>"}) {
        home.folder().write(kNodes, text);
        expectNothingTouched(damaged());
    }
}

TEST_F(OldStoreFailure, ANodeFileNestedTooDeepEndsTheRunBeforeItBegins)
{
    std::string nested = "<key>List</key>";
    for (int depth = 0; depth < 512; ++depth)
        nested += "<array>";
    for (int depth = 0; depth < 512; ++depth)
        nested += "</array>";
    home.folder().write(kNodes, propertyList(nested));
    expectNothingTouched("Die Datei " + quoted(kNodes) + " ist zu tief verschachtelt.");
}

TEST_F(OldStoreFailure, CalendarsWithoutTheirNodeFileAreLeftAlone)
{
    home.folder().remove(kNodes);
    const std::string line = "Die Datei " + quoted(kNodes) +
                             " fehlt, und ohne sie gilt keiner der Kalender: bitte sie erst ";
    expectNothingTouched(line + "aus einer Sicherungskopie zurückholen.");
    home.folder().write(kNodes + ".bak", listOf(calendarNode("PRIVAT")));
    expectNothingTouched(line + "aus " + quoted(kNodes + ".bak") + " zurückholen.");
    fs::rename(home.folder().path(kNodes + ".bak"), home.folder().path(kNodes));
    EXPECT_EQ(home.sync().exitCode, 0) << "that is all that was missing";
}

TEST_F(OldStoreFailure, AHomeWithoutANodeFileIsToldHowToGetOne)
{
    home.folder().remove(kStore);
    const std::string line =
        "Es gibt keine Datei " + quoted(kNodes) +
        ", ohne die sich keine Kalender schreiben lassen: bitte iCal einmal starten und beenden "
        "oder --system-version 5 angeben.";
    expectNothingTouched(line, {"--system-version", "4"});
    home.folder().makeFolder(kStore + "/Sources");
    expectNothingTouched(line, {"--system-version", "4"});
    EXPECT_EQ(home.sync().exitCode, 0) << "in the newer layout a store can begin";
}

TEST_F(OldStoreFailure, LookingIsRefusedInTheSameWords)
{
    home.folder().write(kNodes, "");
    for (const char* command : {"records", "calendars", "check"}) {
        const auto before = home.snapshot();
        const ProgramResult run = home.run({command});
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_EQ(run.err, damaged() + "\n");
        EXPECT_EQ(home.snapshot(), before);
    }
}

TEST_F(OldStoreFailure, ARefusalIsToldInJsonAsWell)
{
    home.folder().write(kNodes, "");
    const auto json = home.sync({"--json"}).json();
    EXPECT_EQ(json["completed"], false);
    EXPECT_EQ(json["status"], damaged());
    EXPECT_THAT(json["reasons"], ElementsAre(damaged()));
}

TEST_F(OldStoreFailure, AStoreThatWasSyncedIsLeftAloneAsWell)
{
    ASSERT_EQ(home.sync().exitCode, 0);
    const std::string nodes = *home.folder().read(kNodes);
    home.folder().write(kNodes, nodes.substr(0, nodes.size() / 2));
    expectStoreUntouched(damaged());
    home.folder().remove(kNodes);
    const std::string backups = kSuite + "/Backups";
    expectStoreUntouched("Die Datei " + quoted(kNodes) +
                         " fehlt, und ohne sie gilt keiner der Kalender: bitte sie erst aus " +
                         quoted(backups) + " zurückholen.");
    home.folder().write(kNodes, nodes);
    EXPECT_EQ(home.sync().exitCode, 0);
}

struct UnknownRow {
    const char* dictionary;
    const char* message;
};
class UnknownNodeFile : public OldStoreFailure, public testing::WithParamInterface<UnknownRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, UnknownNodeFile,
    testing::Values(UnknownRow{"<key>Version</key><integer>3</integer><key>List</key><array/>",
                               "Unbekannte Kalender-Version. Bitte wenden Sie sich an den Support: "
                               "support@velorasuite.invalid"},
                    UnknownRow{"<key>List</key><array/>", "Unbekannte Kalender-Version."},
                    UnknownRow{"<key>Version</key><integer>2</integer>",
                               "nodes.plist ohne Kalender"}));

TEST_P(UnknownNodeFile, IsThePluginsToRefuse)
{
    home.folder().write(kNodes, propertyList(GetParam().dictionary));
    const auto before = home.store();
    const ProgramResult run = home.sync();
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.out, HasSubstr("Die Kalender konnten nicht geladen werden!\n"));
    EXPECT_THAT(run.err, HasSubstr(GetParam().message));
    EXPECT_EQ(home.store(), before);
    EXPECT_THAT(server.records(), IsEmpty());
}

TEST_F(OldStoreFailure, ASourceKeyThatLeadsOutOfTheStoreIsNotFollowed)
{
    home.folder().write(kNodes, listOf(calendarNode("PRIVAT") + calendarNode("../../../Draussen")));
    home.folder().write("Library/Draussen.calendar/Info.plist", propertyList(""));
    const auto before = home.store();
    const ProgramResult run = home.sync();
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.err, HasSubstr("Der Kalender wird nicht gelesen: '../../../Draussen' ist als "
                                   "Ordnername nicht erlaubt"));
    EXPECT_THAT(run.out, HasSubstr(home.folder().path(kNodes)));
    EXPECT_EQ(home.store(), before);
}

TEST_F(OldStoreFailure, GroupsThatHoldOneAnotherReachTheHomeWithOneLineInTheLog)
{
    StoryHome other(server);
    other.addCalendar("ARBEIT", "Arbeit");
    other.addEvent("ARBEIT", "a.ics", {.title = "Messe"});
    const auto addGroup = [&](const std::string& key, const std::string& members) {
        other.folder().write("Library/Calendars/" + key + ".group/Info.plist",
                             propertyList(
                                 "<key>Key</key><string>" + key +
                                 "</string><key>Title</key><string>" + key +
                                 "</string><key>Color</key><string>#000000FF</string>"
                                 "<key>Notes</key><string></string><key>Calendars</key><array>" +
                                 members + "</array>"));
    };
    addGroup("Innen", "<string>Außen</string><string>ARBEIT</string>");
    addGroup("Außen", "<string>Innen</string>");
    ASSERT_EQ(other.sync().exitCode, 0);
    const ProgramResult run = home.sync();
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.err,
                HasSubstr("ist in sich selbst verschachtelt: ohne ihre Gruppe geschrieben"));
    EXPECT_THAT(home.titles(),
                ElementsAre("Arbeit", "Außen", "Innen", "Messe", "Privat", "Zahnarzt"));
    const auto before = home.store();
    EXPECT_EQ(other.sync().exitCode, 0);
    const auto serverBefore = server.records();
    EXPECT_EQ(home.sync().exitCode, 0);
    EXPECT_EQ(home.store(), before);
    EXPECT_EQ(server.records(), serverBefore);
}

/// A rewrite that did not come to its end: the plug-in could not write the new node file. What a
/// killed one would have left behind besides is then up to the test.
class InterruptedRewriteOf104 : public OldStoreFailure {
protected:
    InterruptedRewriteOf104()
    {
        EXPECT_EQ(home.sync().exitCode, 0);
        other.addCalendar("ARBEIT", "Arbeit");
        other.addEvent("ARBEIT", "a.ics", {.title = "Messe"});
        EXPECT_EQ(other.sync().exitCode, 0);
        const std::string newNodes = kSuite + "/SyncPlugins/ICalSyncPlugin/nodes.plist";
        home.folder().makeFolder(newNodes + "/im/Weg");
        EXPECT_EQ(home.sync().exitCode, 1);
        home.folder().remove(newNodes);
    }
    void expectHealed() const
    {
        const ProgramResult run = home.sync();
        EXPECT_EQ(run.exitCode, 0);
        EXPECT_THAT(run.out, HasSubstr("die Sicherungskopie von vor dem letzten Schreiben wurde "
                                       "zurückgeholt"));
        EXPECT_THAT(run.out, HasSubstr("\nDie iCal-Kalender wurden synchronisiert\n"));
        EXPECT_THAT(home.titles(), ElementsAre("Arbeit", "Messe", "Privat", "Zahnarzt"));
        const auto before = home.store();
        const auto serverBefore = server.records();
        EXPECT_THAT(home.sync().out, Not(HasSubstr("zurückgeholt")));
        EXPECT_EQ(home.store(), before);
        EXPECT_EQ(server.records(), serverBefore);
    }

    StoryHome other{server};
};

TEST_F(InterruptedRewriteOf104, IsHealedWhenTheNodeFileIsHalfWritten)
{
    const std::string nodes = *home.folder().read(kNodes);
    home.folder().write(kNodes, nodes.substr(0, nodes.size() / 2));
    expectHealed();
}

TEST_F(InterruptedRewriteOf104, IsHealedWhenTheNodeFileIsMovedAside)
{
    fs::rename(home.folder().path(kNodes), home.folder().path(kNodes + ".bak"));
    expectHealed();
}

TEST_F(InterruptedRewriteOf104, IsHealedWhenNothingIsLeftButTheCalendars)
{
    home.folder().remove(kNodes);
    expectHealed();
}

TEST_F(InterruptedRewriteOf104, IsHealedWhenPuttingBackWasInterruptedToo)
{
    fs::rename(home.folder().path(kStore),
               home.folder().path("Library/Application Support/.iCal.ersetzt"));
    expectHealed();
    EXPECT_FALSE(home.folder().exists("Library/Application Support/.iCal.ersetzt"));
}

TEST_F(InterruptedRewriteOf104, IsLeftAloneByADryRun)
{
    home.folder().remove(kNodes);
    const auto before = home.snapshot();
    EXPECT_EQ(home.sync({"--dry-run"}).exitCode, 1);
    EXPECT_EQ(home.snapshot(), before);
    expectHealed();
}

TEST_F(OldStoreFailure, TheWrongLayoutIsRefusedWhereThereIsNoStoreOfIt)
{
    expectNothingTouched("Die Kalender dieses Heimordners stehen in " + quoted(kStore) +
                             ", der Ablage von Mac OS X 10.4: bitte --system-version 4 angeben.",
                         {"--system-version", "5"});
    home.folder().remove(kStore);
    home.addCalendar("ARBEIT", "Arbeit");
    expectNothingTouched("Die Kalender dieses Heimordners stehen in " +
                             quoted("Library/Calendars") +
                             ", der Ablage von Mac OS X 10.5: bitte --system-version 5 angeben.",
                         {"--system-version", "4"});
}

TEST_F(OldStoreFailure, AStoreOfTheOtherLayoutThatWasLeftBehindIsNotTakenForTheHomes)
{
    home.addCalendar("ARBEIT", "Arbeit");
    home.addEvent("ARBEIT", "a.ics", {.title = "Messe"});
    ASSERT_EQ(home.sync().exitCode, 0);
    EXPECT_THAT(home.titles(), ElementsAre("Arbeit", "Messe"));
    expectStoreUntouched(
        "Dieser Heimordner wurde bisher in der Ablage von Mac OS X 10.5 synchronisiert: bitte "
        "--system-version 5 angeben.",
        {"--system-version", "4"});
}

TEST_F(OldStoreFailure, AHomeThatChangedItsLayoutLosesNothing)
{
    StoryHome other(server);
    ASSERT_EQ(home.sync().exitCode, 0);
    ASSERT_EQ(other.sync().exitCode, 0);
    // As an upgrade that did not take everything along.
    home.addCalendar("NEU", "Neu");
    home.addEvent("NEU", "a.ics", {.title = "Messe"});
    EXPECT_EQ(home.sync().exitCode, 0);
    EXPECT_THAT(home.titles(), ElementsAre("Messe", "Neu", "Privat", "Zahnarzt"));
    EXPECT_TRUE(home.folder().exists("Library/Calendars/PRIVAT.calendar"));
    EXPECT_EQ(other.sync().exitCode, 0);
    EXPECT_THAT(other.titles(), ElementsAre("Messe", "Neu", "Privat", "Zahnarzt"));
    home.removeItem("NEU", home.filesWith("NEU", "SUMMARY:Messe").front());
    EXPECT_EQ(home.sync().exitCode, 0);
    EXPECT_EQ(other.sync().exitCode, 0);
    EXPECT_THAT(other.titles(), ElementsAre("Neu", "Privat", "Zahnarzt"))
        << "from then on a deletion is one again";
}

TEST_F(OldStoreFailure, ANewLayoutThatIsStillEmptyDeletesNothing)
{
    ASSERT_EQ(home.sync().exitCode, 0);
    home.folder().makeFolder("Library/Calendars");
    const auto before = server.records();
    EXPECT_EQ(home.sync().exitCode, 1);
    EXPECT_EQ(server.records(), before);
    EXPECT_EQ(home.sync({"--allow-mass-delete"}).exitCode, 0);
    EXPECT_EQ(server.records(), before);
    EXPECT_THAT(home.titles(), ElementsAre("Privat", "Zahnarzt"));
}

}  // namespace
}  // namespace kt::test
