// Which keys of a node count for a calendar, and which for a group alone.

#include "tests/Sync/PlugIns/iCal/Calendar/Layout104ReaderFixture.h"

namespace kt::test {
namespace {

using ::testing::IsEmpty;

TEST_F(Layout104Reader, PrefersTheSourceKeyOfANodeToItsKey)
{
    writeCalendar("A", "Arbeit");
    writeNodes({with(with(calendarNode("A"), "Key", "B"), "SourceKey", "A")});
    EXPECT_EQ(titled(readStore(), "Arbeit")->ownSourceKey(), "A");
}

TEST_F(Layout104Reader, GivesAGroupTheSourceKeyOfItsNodeToo)
{
    writeNodes({with(with(groupNode("Eins"), "Key", "k"), "SourceKey", "s"),
                with(without(groupNode("Zwei"), "SourceKey"), "Key", "k")});
    const auto calendars = readStore();
    EXPECT_EQ(titled(calendars, "Eins")->ownSourceKey(), "s");
    EXPECT_EQ(titled(calendars, "Zwei")->ownSourceKey(), "k");
}

TEST_F(Layout104Reader, TakesTitleAndNotesOfACalendarFromItsInfoFileAlone)
{
    writeInfo("A", {{"Title", "Arbeit"}, {"Notes", "Büro"}});
    writeInfo("B", {{"Title", "Zuhause"}});
    const auto named = [](const std::string& key) {
        return with(with(calendarNode(key), "Title", "Knoten"), "Notes", "vom Knoten");
    };
    writeNodes({named("A"), named("B")});
    const auto calendars = readStore();
    EXPECT_EQ(titled(calendars, "Arbeit")->notes(), "Büro");
    EXPECT_EQ(titled(calendars, "Zuhause")->notes(), "");
}

TEST_F(Layout104Reader, RejectsACalendarWhoseNodeAloneHasATitle)
{
    writeInfo("A", {{"Notes", "Büro"}});
    const Dictionary node = with(calendarNode("A"), "Title", "Knoten");
    writeNodes({node});
    EXPECT_THAT(readStore(), IsEmpty());
    expectOnHostOnly(lineAbout("Fehlerhafter Kalender ohne Farbe oder Name: %@", node));
}

struct SelectionRow {
    Value value;
    bool isSelected;
};
class Layout104ReaderSelection : public Layout104Reader,
                                 public ::testing::WithParamInterface<SelectionRow> {};
INSTANTIATE_TEST_SUITE_P(Values, Layout104ReaderSelection,
                         ::testing::Values(SelectionRow{true, true}, SelectionRow{false, false},
                                           SelectionRow{1, true}, SelectionRow{0, false},
                                           SelectionRow{"1", true}, SelectionRow{"0", false},
                                           SelectionRow{"NO", false}));

TEST_P(Layout104ReaderSelection, IsThatOfTheNodeForCalendarsAndGroups)
{
    writeCalendar("A", "Arbeit");
    writeNodes({with(calendarNode("A"), "Selection", GetParam().value),
                with(groupNode("Team"), "Selection", GetParam().value)});
    for (const auto& entry : readStore())
        EXPECT_EQ(entry.second->selected(), GetParam().isSelected);
}

}  // namespace
}  // namespace kt::test
