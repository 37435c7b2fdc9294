#include "Sync/Foundation/Digest.h"
#include "tests/Sync/PlugIns/iCal/Calendar/LoadFixture.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class KTSyncCalendarLoad : public LoadFixture {};

TEST_F(KTSyncCalendarLoad, FilesAreReadInTheOrderOfTheirNames)
{
    write("b.ics", eventLines("SUMMARY:zwei") + "\n" + taskLines("SUMMARY:drei"));
    write("a.ics", taskLines("SUMMARY:vier") + "\n" + eventLines("SUMMARY:eins"));
    EXPECT_THAT(titles(*loaded()), ElementsAre("eins", "zwei", "Aufgabe vier", "Aufgabe drei"));
    EXPECT_THAT(helper.calls(), IsEmpty());
    EXPECT_THAT(classes.losses(), IsEmpty());
}

TEST_F(KTSyncCalendarLoad, TheOlderLayoutKeepsItsFileInTheFolderItself)
{
    helper.script.macOSVersion = 4;
    home.write("Library/Application Support/iCal/Sources/source.calendar/corestorage.ics",
               "BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nSUMMARY:alt\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n");
    EXPECT_THAT(titles(*loaded()), ElementsAre("alt"));
}

TEST_F(KTSyncCalendarLoad, ItemsCarryTheCalendarsKeptRecordKey)
{
    write("a.ics", eventLines("SUMMARY:a"));
    const auto made = loaded();
    EXPECT_EQ(made->events()->front()->parentRecordKey(), made->recordKey());
    EXPECT_EQ(made->events()->front()->recordKey(), sha1DigestHex("a(null)1" + *made->recordKey()));

    const auto neverAsked = calendar();
    EXPECT_TRUE(neverAsked->loadEventsAndTasks());
    EXPECT_EQ(neverAsked->events()->front()->parentRecordKey(), std::nullopt);
    EXPECT_EQ(neverAsked->events()->front()->recordKey(), sha1DigestHex("a(null)1(null)"));
}

TEST_F(KTSyncCalendarLoad, WithoutAFolderPathNothingLoads)
{
    helper.script.macOSVersion = 3;
    EXPECT_FALSE(calendar()->loadEventsAndTasks());
    EXPECT_THAT(helper.messages(), ElementsAre("loadEventsAndTasks: _corestoragePath == nil"));
}

TEST_F(KTSyncCalendarLoad, AMissingFolderAndAnEmptyOneLoadNothing)
{
    const std::string line = "Es gibt keine Dateien fuer 'Privat' in '" + home.path(kFolder) + "'";
    EXPECT_THAT(*loaded()->events(), IsEmpty());
    home.makeFolder(kFolder);
    EXPECT_THAT(*loaded()->events(), IsEmpty());
    EXPECT_THAT(helper.messages(), ElementsAre(line, line));
    EXPECT_THAT(classes.losses(), IsEmpty());
}

TEST_F(KTSyncCalendarLoad, AFolderThatIsNoneIsALoss)
{
    home.write(kFolder, "keine Ordner");
    EXPECT_TRUE(calendar()->loadEventsAndTasks());
    EXPECT_THAT(helper.messages(), ElementsAre(StartsWith("Es gibt keine Dateien fuer 'Privat'")));
    EXPECT_THAT(classes.losses(), ElementsAre(KTLoss{"Privat", home.path(kFolder),
                                                     "Ordner kann nicht gelesen werden"}));
}

TEST_F(KTSyncCalendarLoad, OnlyTheExtensionInLowerCaseCounts)
{
    write("a.ICS", eventLines("SUMMARY:gross"));
    write("b.ics.bak", eventLines("SUMMARY:Kopie"));
    write("ics", eventLines("SUMMARY:ohne"));
    write(".ics", eventLines("SUMMARY:versteckt"));
    EXPECT_THAT(titles(*loaded()), IsEmpty());
    EXPECT_THAT(helper.messages(), IsEmpty());
}

TEST_F(KTSyncCalendarLoad, AnEntryThatLeadsNowhereDoesNotExist)
{
    write("b.ics", eventLines("SUMMARY:b"));
    std::filesystem::create_symlink("nirgends", home.path(kFolder + "/a.ics"));
    EXPECT_THAT(titles(*loaded()), ElementsAre("b"));
    EXPECT_THAT(helper.messages(),
                ElementsAre("'" + home.path(kFolder + "/a.ics") + "' existiert nicht"));
    EXPECT_THAT(classes.losses(), ElementsAre(loss("a.ics", "Datei existiert nicht")));
}

struct RefusedRow {
    std::string_view name;
    std::string bytes;
    std::string_view message;
    std::string_view reason;
};
constexpr std::string_view kEmpty = "Leere iCalendar-Datei fuer Kalender 'Privat'";
constexpr std::string_view kNoCalendar =
    "Fehlerhafte iCalendar-Datei fuer 'Privat': kein BEGIN:VCALENDAR";
constexpr std::string_view kUnreadable = "Datei ist leer, nicht lesbar oder kein UTF-8";
constexpr std::string_view kNoBegin = "Datei beginnt nicht mit BEGIN:VCALENDAR";
class KTSyncCalendarRefusedFile : public KTSyncCalendarLoad,
                                  public testing::WithParamInterface<RefusedRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, KTSyncCalendarRefusedFile,
    testing::Values(RefusedRow{"Empty", "", kEmpty, kUnreadable},
                    RefusedRow{"NoUTF8", "BEGIN:VCALENDAR\r\nX-A:\xFC\r\nEND:VCALENDAR\r\n", kEmpty,
                               kUnreadable},
                    RefusedRow{"BareLineFeeds",
                               "BEGIN:VCALENDAR\nBEGIN:VEVENT\nEND:VEVENT\nEND:VCALENDAR\n",
                               kNoCalendar, kNoBegin},
                    RefusedRow{"ByteOrderMark",
                               "\xEF\xBB\xBF"
                               "BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n",
                               kNoCalendar, kNoBegin},
                    RefusedRow{"BareComponent", "BEGIN:VEVENT\r\nSUMMARY:a\r\nEND:VEVENT\r\n",
                               kNoCalendar, kNoBegin},
                    RefusedRow{"NotClosed",
                               "BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nSUMMARY:a\r\nEND:VEVENT\r\n",
                               kEmpty, "END:VCALENDAR fehlt"},
                    RefusedRow{"NothingInside", "BEGIN:VCALENDAR\r\nEND:VCALENDAR\r\n", kEmpty,
                               "Datei enthält nichts"}));
TEST_P(KTSyncCalendarRefusedFile, IsSkippedLoggedAndTold)
{
    home.write(kFolder + "/a.ics", GetParam().bytes);
    write("b.ics", eventLines("SUMMARY:b"));
    EXPECT_THAT(titles(*loaded()), ElementsAre("b"));
    EXPECT_THAT(helper.messages(), ElementsAre(GetParam().message));
    EXPECT_THAT(classes.losses(), ElementsAre(loss("a.ics", std::string(GetParam().reason))));
}

TEST_F(KTSyncCalendarLoad, AFolderNamedLikeAFileIsAnEmptyFile)
{
    home.makeFolder(kFolder + "/a.ics");
    EXPECT_THAT(titles(*loaded()), IsEmpty());
    EXPECT_THAT(helper.messages(), ElementsAre(kEmpty));
    EXPECT_THAT(classes.losses(), ElementsAre(loss("a.ics", std::string(kUnreadable))));
}

TEST_F(KTSyncCalendarLoad, ACalendarWithPropertiesAloneIsNoLoss)
{
    writeLines("a.ics", "BEGIN:VCALENDAR\nVERSION:2.0\nX-WR-CALNAME:Privat\nEND:VCALENDAR\n");
    EXPECT_THAT(titles(*loaded()), IsEmpty());
    EXPECT_THAT(helper.messages(), IsEmpty());
    EXPECT_THAT(classes.losses(), IsEmpty());
}

TEST_F(KTSyncCalendarLoad, ALineEndThatTheFoldCutDoesNotSwallowTheNextLine)
{
    const std::string title(66, 'x');  // with its CR 75 characters
    const auto written = event("SUMMARY:" + title + "\nDESCRIPTION:Notiz");
    home.write(kFolder + "/a.ics",
               "BEGIN:VCALENDAR\r\n" + written->iCalLines() + "END:VCALENDAR\r\n");
    ASSERT_THAT(*home.read(kFolder + "/a.ics"), HasSubstr("x\r\r\n \nDESCRIPTION"));
    const auto made = loaded();
    ASSERT_EQ(made->events()->size(), 1u);
    EXPECT_EQ(made->events()->front()->title(), Value(title));
    EXPECT_EQ(made->events()->front()->notes(), Value("Notiz"));
}

TEST_F(KTSyncCalendarLoad, NothingIsWrittenWhileLoading)
{
    write("a.ics", eventLines("SUMMARY:a\nATTACH:http://a"));
    const auto before = home.tree();
    loaded();
    EXPECT_EQ(home.tree(), before);
}

TEST_F(KTSyncCalendarLoad, ACalendarWithoutTitleLoads)
{
    home.write(kFolder + "/a.ics", "");
    const auto made = KTSyncCalendar::syncCalendarWithPluginHelper(&helper, 0, "source", {});
    EXPECT_TRUE(made->loadEventsAndTasks());
    EXPECT_THAT(helper.messages(), ElementsAre("Leere iCalendar-Datei fuer Kalender '(null)'"));
}

}  // namespace
}  // namespace kt::test
