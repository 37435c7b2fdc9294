// Values of a wrong kind, where the reader has no way to go on.

#include "tests/Sync/PlugIns/iCal/Calendar/Layout104ReaderFixture.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::StartsWith;

struct WrongKindRow {
    const char* key;
    Value value;
};
class Layout104ReaderWrongKind : public Layout104Reader,
                                 public ::testing::WithParamInterface<WrongKindRow> {};

INSTANTIATE_TEST_SUITE_P(Nodes, Layout104ReaderWrongKind,
                         ::testing::Values(WrongKindRow{"SourceKey", Value(7)},
                                           WrongKindRow{"ThemeColor", Value(Array{})},
                                           WrongKindRow{"Selection", Value(Dictionary{})}));

TEST_P(Layout104ReaderWrongKind, EndTheReadingAndAreTold)
{
    writeCalendar("A", "Arbeit");
    writeCalendar("B", "Zuhause");
    writeNodes({calendarNode("B"), with(calendarNode("A"), GetParam().key, GetParam().value)});
    EXPECT_FALSE(store->calendars().has_value());
    EXPECT_THAT(helper.messages().back(),
                StartsWith("KTSyncCalendarStore.calendars: NSInvalidArgumentException, (null), "));
    EXPECT_EQ(platform.consoleLines(), std::vector<std::string>{helper.messages().back()});
    EXPECT_THAT(lossReasons(), ElementsAre(StartsWith("Der Kalender kann nicht gelesen werden: ")));
}

TEST_F(Layout104Reader, EndsAtATitleOfTheWrongKind)
{
    writeInfo("A", {{"Title", 2007}, {"Type", kOrdinary}});
    writeNodes({calendarNode("A")});
    EXPECT_FALSE(store->calendars().has_value());
}

TEST_F(Layout104Reader, EndsAtANodeThatIsNoDictionary)
{
    writeNodes({"text"});
    EXPECT_FALSE(store->calendars().has_value());
    EXPECT_EQ(losses().size(), 1u);
}

TEST_F(Layout104Reader, EndsAtSubnodesThatAreNoList)
{
    writeNodes({with(groupNode("Team"), "Subnodes", "text")});
    EXPECT_FALSE(store->calendars().has_value());
}

TEST_F(Layout104Reader, PassesOnAForeignObject)
{
    writeNodes({groupNode("Team")});
    helper.script.before = [](std::string_view call) {
        if (call == "logMsg:Gruppe: 'Team'")
            throw 42;
    };
    EXPECT_THROW(store->calendars(), int);
}

}  // namespace
}  // namespace kt::test
