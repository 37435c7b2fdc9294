#include <rapidcheck/gtest.h>

#include "Sync/Foundation/KeyedArchive.h"
#include "tests/Sync/PlugIns/iCal/Calendar/Store104Fixture.h"
#include "tests/support/FailingFileManager.h"

namespace kt::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

using Calendars = KTSyncCalendarStore::Calendars;

class Layout104Writer : public Store104Fixture {
protected:
    /// A store that iCal has made, without calendars.
    Layout104Writer()
    {
        home.makeFolder(kICal + "Sources");
        writeNodes({});
    }

    std::shared_ptr<KTSyncCalendar> named(const std::string& title,
                                          std::int32_t type = kCalendarTypeNode)
    {
        const bool isGroup = type == kCalendarTypeGroup;
        const auto made = calendar(type, isGroup ? std::nullopt : std::optional("source " + title));
        made->setTitle(title);
        return made;
    }
    std::shared_ptr<KTSyncCalendar> group(const std::string& title)
    {
        return named(title, kCalendarTypeGroup);
    }
    static std::shared_ptr<KTSyncCalendar> in(const std::shared_ptr<KTSyncCalendar>& parent,
                                              std::shared_ptr<KTSyncCalendar> member)
    {
        member->setParentRecordKey(parent->recordKey());
        return member;
    }
    static Dictionary withSubnodes(const KTSyncCalendar& group, Array members)
    {
        return with(group.iCalNode(), "Subnodes", std::move(members));
    }
};

TEST_F(Layout104Writer, WritesTheNodeFileAndACalendarsFolder)
{
    const auto work = named("Arbeit");
    work->addEvent(event("SUMMARY:Fest\nDTSTART:20071224T100000Z"));
    ASSERT_TRUE(store->storeCalendars({work}));
    EXPECT_EQ(storedDictionary(kNodeFile),
              (Dictionary{{"Version", 2}, {"List", Array{work->iCalNode()}}}));
    EXPECT_THAT(home.read(folderOf("source Arbeit") + "corestorage.ics").value_or(""),
                ::testing::HasSubstr("SUMMARY:Fest\r\n"));
    EXPECT_EQ(storedDictionary(folderOf("source Arbeit") + "Info.plist"),
              (Dictionary{{"Title", "Arbeit"}, {"Key", "source Arbeit"}, {"Type", kOrdinary}}));
    EXPECT_THAT(losses(), IsEmpty());
    EXPECT_THAT(helper.fileLog(), IsEmpty());
}

TEST_F(Layout104Writer, LogsEachCalendarAndNothingElse)
{
    ASSERT_TRUE(store->storeCalendars({named("Arbeit"), group("Team")}));
    EXPECT_THAT(helper.messages(),
                ElementsAre(named("Arbeit")->description(),
                            "Arbeit -> " + home.path(kICal + "Sources/source Arbeit.calendar")));
    EXPECT_THAT(platform.consoleLines(), IsEmpty());
}

TEST_F(Layout104Writer, WritesAnEmptyStore)
{
    ASSERT_TRUE(store->storeCalendars({}));
    EXPECT_EQ(storedDictionary(kNodeFile), (Dictionary{{"Version", 2}, {"List", Array{}}}));
    EXPECT_TRUE(home.tree().contains(kICal + "Sources/"));
}

TEST_F(Layout104Writer, KeepsTheOldStoreOnBothSidesInPlaceOfAnOlderOne)
{
    const std::string old = home.read(kNodeFile).value_or("");
    home.write(kICal + "Sources/old", "old");
    for (const std::string& side : {kICal, kPlugin}) {
        home.write(side + "Sources.bak/older", "older");
        home.write(side + "nodes.plist.bak", "older");
    }
    ASSERT_TRUE(store->storeCalendars({group("Team")}));
    const auto tree = home.tree();
    for (const std::string& side : {kICal, kPlugin}) {
        EXPECT_EQ(home.read(side + "Sources.bak/old"), "old");
        EXPECT_FALSE(home.exists(side + "Sources.bak/older"));
        EXPECT_EQ(home.read(side + "nodes.plist.bak"), old);
    }
    EXPECT_TRUE(tree.contains(kICal + "Sources/"));
    EXPECT_EQ(home.read(kPlugin + "nodes.plist"), home.read(kNodeFile));
}

TEST_F(Layout104Writer, MakesBothFoldersOfAHomeThatHasNeither)
{
    home.remove("Library");
    EXPECT_FALSE(store->storeCalendars({}));
    EXPECT_TRUE(home.exists(kICal + "Sources"));
    EXPECT_TRUE(home.exists(kPlugin + "nodes.plist"));
}

TEST_F(Layout104Writer, StopsWithoutAnOldNodeFileAfterTheCalendarsWereMovedAside)
{
    home.remove(kNodeFile);
    home.write(kICal + "Sources/old", "old");
    const auto work = named("Arbeit");
    EXPECT_FALSE(store->storeCalendars({work}));
    EXPECT_THAT(helper.messages(),
                Contains("Fehler: Die nodes.plist von iCal konnte nicht gesichert werden"));
    EXPECT_THAT(platform.consoleLines(),
                ElementsAre("Fehler: Die nodes.plist von iCal konnte nicht gesichert werden"));
    EXPECT_FALSE(home.exists(kNodeFile));
    EXPECT_EQ(storedNodes(kPlugin + "nodes.plist"), (Array{work->iCalNode()}));
    EXPECT_EQ(home.read(kICal + "Sources.bak/old"), "old");
    EXPECT_TRUE(home.exists(folderOf("source Arbeit")));
}

// Groups.

TEST_F(Layout104Writer, GivesAGroupTheMembersThatComeBeforeAndAfterIt)
{
    const auto team = group("Team");
    const auto before = in(team, named("Vorher"));
    const auto after = in(team, named("Nachher"));
    const auto inner = in(team, group("Unter"));
    const auto innermost = in(inner, named("Innen"));
    ASSERT_TRUE(store->storeCalendars({innermost, before, team, inner, after}));
    EXPECT_EQ(storedNodes(),
              (Array{withSubnodes(*team, {before->iCalNode(),
                                          withSubnodes(*inner, {innermost->iCalNode()}),
                                          after->iCalNode()})}));
}

TEST_F(Layout104Writer, PutsItsOwnParentAtTheTop)
{
    const auto work = named("Arbeit");
    const auto team = group("Team");
    ASSERT_TRUE(store->storeCalendars({in(work, work), in(team, team)}));
    EXPECT_EQ(storedNodes(), (Array{work->iCalNode(), withSubnodes(*team, {})}));
}

TEST_F(Layout104Writer, PutsACalendarWhoseGroupIsMissingIntoNoNode)
{
    const auto work = named("Arbeit");
    work->setParentRecordKey("fehlt");
    ASSERT_TRUE(store->storeCalendars({work}));
    EXPECT_THAT(storedNodes(), IsEmpty());
    EXPECT_TRUE(home.exists(folderOf("source Arbeit") + "corestorage.ics"));
    EXPECT_THAT(losses(), ElementsAre(KTLoss{"Arbeit", home.path(kNodeFile),
                                             "Der Kalender wird nicht geschrieben: seine Gruppe "
                                             "fehlt"}));
}

TEST_F(Layout104Writer, WritesNoFolderForAGroup)
{
    const auto team = calendar(kCalendarTypeGroup, "G");
    ASSERT_TRUE(store->storeCalendars({team}));
    EXPECT_FALSE(home.exists(folderOf("G")));
}

TEST_F(Layout104Writer, PublishesACalendarOf105InTheFormOf104)
{
    const auto work = named("Arbeit");
    work->setPublisher(Dictionary{{"PublicationURL", "http://a.invalid"}});
    ASSERT_TRUE(store->storeCalendars({work}));
    EXPECT_EQ(storedNodes()[0].dictionary()["Publishers"],
              Value(Array{Dictionary{{"Sources", Array{"source Arbeit"}},
                                     {"Type", "CALURLPublisher"},
                                     {"UploadURL", "http://a.invalid"},
                                     {"Filter", 5}}}));
}

TEST_F(Layout104Writer, WritesACalendarWithoutColourAndNotes)
{
    const auto bare = KTSyncCalendar::syncCalendarWithPluginHelper(&helper, 0, "A", std::nullopt);
    bare->setTitle("Arbeit");
    ASSERT_TRUE(store->storeCalendars({bare}));
    EXPECT_FALSE(storedNodes()[0].dictionary().contains("ThemeColor"));
}

// What has no place in the store.

TEST_F(Layout104Writer, RefusesASourceKeyThatLeadsOutOfTheStoreWithOneLineAndWritesTheRest)
{
    const auto outside = calendar(kCalendarTypeNode, "../../outside");
    const auto work = named("Arbeit");
    ASSERT_TRUE(store->storeCalendars({outside, work}));
    EXPECT_EQ(storedNodes(), (Array{work->iCalNode()}));
    EXPECT_EQ(helper.messages().front(),
              "Kalender 'Privat': '../../outside' ist als Ordnername nicht erlaubt");
    EXPECT_EQ(helper.messages().size(), 3u);  // two of the other calendar
    EXPECT_THAT(losses(), ElementsAre(KTLoss{"Privat", "",
                                             "Der Kalender wird nicht geschrieben: sein Schlüssel "
                                             "ist kein Ordnername"}));
    EXPECT_FALSE(home.exists("Library/outside.calendar"));
}

TEST_F(Layout104Writer, WritesTheNodeOfACalendarWithoutASourceKeyAndTellsTheLossOfItsItems)
{
    const auto keyless = calendar(kCalendarTypeNode, std::nullopt);
    ASSERT_TRUE(store->storeCalendars({keyless}));
    EXPECT_EQ(storedNodes(), (Array{keyless->iCalNode()}));
    EXPECT_THAT(helper.messages(), ElementsAre("Kalender 'Privat' ohne corestoragepath"));
    EXPECT_THAT(losses(), ElementsAre(KTLoss{"Privat", "",
                                             "Die Ereignisse und Aufgaben konnten nicht "
                                             "vollständig geschrieben werden"}));
}

TEST_F(Layout104Writer, TellsWhenTwoCalendarsShareAFolder)
{
    const auto first = calendar(kCalendarTypeNode, "A");
    const auto second = calendar(kCalendarTypeBirthday, "A");
    second->setTitle("Feste");
    ASSERT_TRUE(store->storeCalendars({first, second}));
    EXPECT_EQ((*storedDictionary(folderOf("A") + "Info.plist"))["Title"], Value("Feste"));
    EXPECT_THAT(losses(),
                ElementsAre(KTLoss{"Feste", home.path(kICal + "Sources/A.calendar"),
                                   "Zwei Kalender haben denselben Ordner, der spätere gilt"}));
}

// Exceptions.

TEST_F(Layout104Writer, LogsTheCalendarAndSaysNoWhenOneCannotBePrepared)
{
    home.write(kICal + "Sources/old", "old");
    const std::string oldNodes = home.read(kNodeFile).value_or("");
    const auto broken = named("Arbeit");
    broken->setPublisher("text");
    EXPECT_FALSE(store->storeCalendars({group("Team"), broken}));
    const std::string reason = "Wörterbuch erwartet, Text gefunden";
    ASSERT_EQ(helper.fileLog().size(), 2u);
    EXPECT_THAT(helper.fileLog()[0], StartsWith("[KTSyncCalendar iCalNode(104)]:\n{"));
    EXPECT_EQ(helper.fileLog()[1],
              "[KTSyncCalendarStore write104Calendars]:\n" + broken->description() + "\n" + reason);
    EXPECT_EQ(helper.messages().back(),
              "KTSyncCalendarStore.storeCalendars: NSInvalidArgumentException, (null), " + reason);
    EXPECT_EQ(platform.consoleLines().back(), helper.messages().back());

    // The old calendars are not put back.
    EXPECT_EQ(home.read(kICal + "Sources.bak/old"), "old");
    EXPECT_FALSE(home.exists(kICal + "Sources/old"));
    EXPECT_EQ(home.read(kNodeFile), oldNodes);
}

TEST_F(Layout104Writer, SaysNoForAGroupWithoutATitle)
{
    const auto nameless = group("");
    nameless->setTitle(std::nullopt);
    EXPECT_FALSE(store->storeCalendars({nameless}));
    EXPECT_THAT(helper.fileLog().back(),
                StartsWith("[KTSyncCalendarStore write104Calendars]:\nName:'(Kein Name)'"));
}

TEST_F(Layout104Writer, PassesOnAForeignObject)
{
    helper.script.before = [](std::string_view call) {
        if (call.starts_with("logMsg:Arbeit -> "))
            throw 42;
    };
    EXPECT_THROW(store->storeCalendars({named("Arbeit")}), int);
}

// There and back.

TEST_F(Layout104Writer, WritesWhatItHasReadWithoutMovingAByte)
{
    writeCalendar("A", "Arbeit");
    writeCalendar("S", "Spiele", kSubscription);
    home.write(folderOf("S") + "Properties.plist", "bytes");
    writeItems("A", "BEGIN:VTODO\r\nSUMMARY:Einkaufen\r\nEND:VTODO\r\n");
    writeNodes({groupNode("Team", {calendarNode("A")}), calendarNode("S")});
    const auto rewrite = [&] {
        auto calendars = store->calendarsList().value_or(Calendars());
        EXPECT_EQ(calendars.size(), 3u);
        for (const auto& calendar : calendars)
            calendar->events();
        EXPECT_TRUE(store->storeCalendars(calendars));
        auto tree = home.tree();
        std::erase_if(tree, [](const auto& entry) {
            return entry.first.find(".bak") != std::string::npos;
        });
        return tree;
    };
    const auto once = rewrite();
    EXPECT_EQ(rewrite(), once);
    EXPECT_EQ(rewrite(), once);
    EXPECT_EQ(home.read(folderOf("S") + "Properties.plist"), "bytes");
    EXPECT_THAT(losses(), IsEmpty());
}

RC_GTEST_FIXTURE_PROP(Layout104Writer, GivesBackWhatItWrote, ())
{
    // Calendars and groups of distinct titles, each in one of the groups before it or at the top.
    const auto count = *rc::gen::inRange(0, 12);
    Calendars written;
    Calendars groups;
    for (int number = 0; number < count; ++number) {
        const auto made = calendar(*rc::gen::inRange(0, 4), std::to_string(number));
        made->setTitle(std::to_string(number) +
                       *rc::gen::element<std::string>("", " ", "/x", "&<\">", "ü", "\r\n", "\x01",
                                                      "\xF0\x9F\x98\x80"));
        made->setColor(*rc::gen::element<std::string>("#FF0000", "", "grün"));
        made->setSelected(*rc::gen::arbitrary<bool>());
        if (made->calendarType() == kCalendarTypeSubscriber)
            made->setSubscriberData(Data{*rc::gen::string<std::string>()});
        if (*rc::gen::arbitrary<bool>())
            made->setPublisher(Dictionary{{"UploadURL", "http://a.invalid"}, {"Filter", number}});
        const bool isMember = !groups.empty() && *rc::gen::arbitrary<bool>();
        in(isMember ? *rc::gen::elementOf(groups) : made, made);
        if (made->calendarType() == kCalendarTypeGroup) {
            made->setExpanded(*rc::gen::arbitrary<bool>());
            groups.push_back(made);
        }
        written.push_back(made);
    }
    auto shuffled = written;
    if (*rc::gen::arbitrary<bool>())
        std::reverse(shuffled.begin(), shuffled.end());
    RC_ASSERT(store->storeCalendars(shuffled));

    const auto read = readStore();
    RC_ASSERT(read.size() == written.size());
    for (const auto& before : written) {
        const auto after = read.find(*before->recordKey());
        RC_ASSERT(after != nullptr);
        RC_ASSERT(after->title() == before->title());
        RC_ASSERT(after->color() == before->color());
        RC_ASSERT(after->calendarType() == before->calendarType());
        RC_ASSERT(after->parentRecordKey() == before->parentRecordKey());
        RC_ASSERT(after->selected() == before->selected());
        RC_ASSERT(after->expanded() == before->expanded());
        RC_ASSERT(after->publisher() == before->publisher());
        RC_ASSERT(after->subscriberData() == before->subscriberData());
    }
    RC_ASSERT(losses().empty());
}

}  // namespace
}  // namespace kt::test
