// The node file of the 10.4 layout, before its nodes are looked at.

#include "Sync/Host/Engine/HostCarefulWriting.h"
#include "tests/Sync/PlugIns/iCal/Calendar/Store104Fixture.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kNoNodeFile =
    "Es gibt keine nodes.plist, evtl. wurde iCal noch nie gestartet";
constexpr const char* kNoEmptyNodeFile = "Es konnte keine leere nodes.plist angelegt werden!";
constexpr const char* kUnknownVersion =
    "Unbekannte Kalender-Version. Bitte wenden Sie sich an den Support: "
    "support@velorasuite.invalid";

class NodeFile : public Store104Fixture {
protected:
    void expectOnBothLogs(const std::vector<std::string>& lines) const
    {
        EXPECT_EQ(helper.messages(), lines);
        EXPECT_EQ(platform.consoleLines(), lines);
    }
};

TEST_F(NodeFile, MissingCannotBeMadeAndTheStoreCannotBeRead)
{
    EXPECT_FALSE(store->calendars().has_value());
    expectOnBothLogs({kNoNodeFile, "Fehler (1): 'Sources' konnte nicht gesichert werden",
                      "Fehler (2): 'Sources' konnte nicht gesichert/verschoben werden",
                      "Fehler: Die nodes.plist von iCal konnte nicht gesichert werden",
                      kNoEmptyNodeFile});
    EXPECT_FALSE(store->calendarsList().has_value());
    EXPECT_THAT(losses(), IsEmpty());
}

TEST_F(NodeFile, MissingLeavesTheNewOneInThePluginFolderAndTheCalendarsAside)
{
    writeCalendar("A", "Arbeit");
    store->calendars();
    EXPECT_FALSE(home.exists(kNodeFile));
    EXPECT_EQ(storedDictionary(kPlugin + "nodes.plist"),
              (Dictionary{{"Version", 2}, {"List", Array{}}}));
    EXPECT_TRUE(home.tree().contains(kICal + "Sources/"));  // empty
    EXPECT_TRUE(home.exists(kICal + "Sources.bak/A.calendar/Info.plist"));
    EXPECT_TRUE(home.exists(kPlugin + "Sources.bak/A.calendar/Info.plist"));
    EXPECT_THAT(losses(),
                ElementsAre(KTLoss{"", home.path(kICal + "Sources"),
                                   "Die nodes.plist fehlt: die Kalender in 'Sources' werden nicht "
                                   "gelesen"}));
}

class UnreadableNodeFile : public NodeFile, public ::testing::WithParamInterface<std::string> {};

INSTANTIATE_TEST_SUITE_P(Contents, UnreadableNodeFile,
                         ::testing::Values("", "no property list", "<plist><dict>",
                                           xmlPropertyList(Array{1}), std::string("bplist00")));

TEST_P(UnreadableNodeFile, IsReplacedByAnEmptyOneAndKeptInBothBackups)
{
    writeCalendar("A", "Arbeit");
    home.write(kNodeFile, GetParam());
    EXPECT_THAT(readStore(), IsEmpty());
    expectOnBothLogs({kNoNodeFile});
    EXPECT_THAT(storedNodes(), IsEmpty());
    EXPECT_EQ(home.read(kNodeFile + ".bak"), GetParam());
    EXPECT_EQ(home.read(kPlugin + "nodes.plist.bak"), GetParam());
    EXPECT_TRUE(home.exists(kICal + "Sources.bak/A.calendar/Info.plist"));
    EXPECT_THAT(losses(), ElementsAre(KTLoss{"", home.path(kNodeFile),
                                             "Die nodes.plist kann nicht gelesen werden"}));
}

/// On a disk that fails it may be whole, and would name all calendars at the next try.
TEST_P(UnreadableNodeFile, StaysWhereTheHostWantsTextsKept)
{
    HostCarefulWriting careful;
    KTClassTable table = hostClassTable();
    table.setClass(KTCarefulWriting::className, &careful);
    setHostClassTable(table);
    writeCalendar("A", "Arbeit");
    home.write(kNodeFile, GetParam());
    const auto before = home.tree();
    EXPECT_FALSE(store->calendars().has_value());
    EXPECT_EQ(home.tree(), before);
    EXPECT_THAT(losses(), ElementsAre(KTLoss{"", home.path(kNodeFile),
                                             "Die nodes.plist kann nicht gelesen werden"}));
}

TEST_F(NodeFile, IsLeftAloneBehindAWriteGuard)
{
    home.write(kNodeFile, "no property list");
    const auto before = home.tree();
    const WriteGuard guard;
    EXPECT_FALSE(store->calendars().has_value());
    EXPECT_EQ(home.tree(), before);
    EXPECT_EQ(helper.messages().back(), kNoEmptyNodeFile);
}

TEST_F(NodeFile, NestedDeeperThanPropertyListsMayBeIsUnreadable)
{
    const auto nested = [](int groups) {
        std::string file = "<plist><dict><key>Version</key><integer>2</integer><key>List</key>";
        std::string end;
        for (int group = 0; group < groups; ++group) {
            file +=
                "<array><dict><key>Type</key><string>CALNamedGroupNode</string>"
                "<key>ThemeColor</key><string>#FF0000</string><key>Title</key><string>" +
                std::to_string(group) + "</string><key>Subnodes</key>";
            end += "</dict></array>";
        }
        return file + "<array/>" + end + "</dict></plist>";
    };
    const int deepest = (kPropertyListDepthLimit - 2) / 2;  // the dictionary, the last list
    home.write(kNodeFile, nested(deepest));
    EXPECT_EQ(readStore().size(), static_cast<std::size_t>(deepest));
    EXPECT_THAT(losses(), IsEmpty());

    home.write(kNodeFile, nested(deepest + 1));
    EXPECT_THAT(readStore(), IsEmpty());
    EXPECT_EQ(lossReasons(), std::vector<std::string>{"Die nodes.plist kann nicht gelesen werden"});
}

/// A node file in the binary form, where an object is held by its number: number 0 is { "Version":
/// 2, "List": number 3 }, number 3 the list of number 4, and number 4 { "Subnodes": the given }.
std::string binaryNodeFile(char subnodes)
{
    const std::string objects = std::string("\xD2\x01\x05\x02\x03") + "\x57Version" + "\x10\x02" +
                                "\xA1\x04" + "\xD1\x06" + subnodes + "\x54List" + "\x58Subnodes";
    const std::string offsets = {8, 13, 21, 23, 25, 28, 33};
    const auto eightBytes = [](std::size_t number) {
        return std::string(7, '\0') + static_cast<char>(number);
    };
    return "bplist00" + objects + offsets + std::string(6, '\0') + "\x01\x01" +
           eightBytes(offsets.size()) + eightBytes(0) + eightBytes(8 + objects.size());
}

TEST_F(NodeFile, InWhichAGroupContainsItselfIsUnreadable)
{
    ASSERT_TRUE(propertyListWithData(binaryNodeFile(2)).has_value());
    home.write(kNodeFile, binaryNodeFile(3));
    EXPECT_THAT(readStore(), IsEmpty());
    EXPECT_EQ(lossReasons(), std::vector<std::string>{"Die nodes.plist kann nicht gelesen werden"});
}

class NodeFileVersion : public NodeFile, public ::testing::WithParamInterface<Value> {};

INSTANTIATE_TEST_SUITE_P(Accepted, NodeFileVersion,
                         ::testing::Values(Value(2), Value("2"), Value(2.9), Value(" 2 und mehr")));

TEST_P(NodeFileVersion, WhoseIntegerValueIsTwoIsAccepted)
{
    writeNodeFile({{"Version", GetParam()}, {"List", Array{groupNode("Team")}}});
    EXPECT_EQ(readStore().size(), 1u);
}

class UnknownNodeFileVersion : public NodeFileVersion {};

INSTANTIATE_TEST_SUITE_P(Rejected, UnknownNodeFileVersion,
                         ::testing::Values(Value(), Value(1), Value(3), Value(0), Value(-2),
                                           Value("zwei"), Value("20"), Value(true), Value(false)));

TEST_P(UnknownNodeFileVersion, IsRejectedWithTheSupportAddress)
{
    Dictionary file{{"List", Array{groupNode("Team")}}};
    file.setIfPresent("Version", GetParam());
    writeNodeFile(file);
    const auto before = home.tree();
    EXPECT_FALSE(store->calendars().has_value());
    expectOnBothLogs({kUnknownVersion});
    EXPECT_EQ(home.tree(), before);
}

TEST_F(NodeFile, WithAVersionOfTheWrongKindRaises)
{
    writeNodeFile({{"Version", Array{2}}, {"List", Array{}}});
    EXPECT_FALSE(store->calendars().has_value());
    EXPECT_THAT(helper.messages(), ElementsAre(::testing::StartsWith(
                                       "KTSyncCalendarStore.calendars: NSInvalidArgumentException, "
                                       "(null), ")));
    EXPECT_EQ(platform.consoleLines(), helper.messages());
}

TEST_F(NodeFile, WithoutAListIsRejected)
{
    writeNodeFile({{"Version", 2}});
    const auto before = home.tree();
    EXPECT_FALSE(store->calendars().has_value());
    expectOnBothLogs({"nodes.plist ohne Kalender"});
    EXPECT_EQ(home.tree(), before);
}

TEST_F(NodeFile, WithAListOfTheWrongKindRaises)
{
    writeNodeFile({{"Version", 2}, {"List", "keine Liste"}});
    EXPECT_FALSE(store->calendars().has_value());
}

TEST_F(NodeFile, IsReadInItsBinaryFormAsWell)
{
    home.write(kNodeFile,
               binaryPropertyList(Dictionary{{"Version", 2}, {"List", Array{groupNode("Team")}}}));
    EXPECT_THAT(titles(readStore()), ElementsAre("Team"));
}

TEST_F(NodeFile, IsReadInTheOldASCIIFormWhoseNumbersAreTexts)
{
    writeCalendar("A", "Arbeit");
    home.write(kNodeFile, R"(// by hand
{
    Version = 2;
    List = (
        {
            Type = CALNamedGroupNode;
            Title = "B\U00fcro";
            ThemeColor = "#FF0000";
            Expanded = 0;
            Subnodes = ({ SourceKey = A; ThemeColor = "#0252D4"; Selection = NO; });
        }
    );
}
)");
    const auto read = readStore();
    EXPECT_THAT(titles(read), ElementsAre("Büro", "Arbeit"));
    EXPECT_FALSE(titled(read, "Büro")->expanded());
    EXPECT_FALSE(titled(read, "Arbeit")->selected());
    EXPECT_THAT(losses(), IsEmpty());
}

TEST_F(NodeFile, IsReadInUTF16AsWell)
{
    std::string bytes = "\xFF\xFE";
    for (const char character :
         xmlPropertyList(Dictionary{{"Version", 2}, {"List", Array{groupNode("Team")}}}))
        bytes += {character, '\0'};
    home.write(kNodeFile, bytes);
    EXPECT_THAT(titles(readStore()), ElementsAre("Team"));
}

TEST_F(NodeFile, IsNotChangedByReading)
{
    writeCalendar("A", "Arbeit");
    writeNodes({calendarNode("A")});
    const auto before = home.tree();
    readStore();
    EXPECT_EQ(home.tree(), before);
}

}  // namespace
}  // namespace kt::test
