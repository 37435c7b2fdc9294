#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"
#include "Sync/PlugIns/iCal/Calendar/NodeTreeMerge104.h"
#include "tests/support/RecordingPluginHelper.h"

namespace kt::test {
namespace {

/// A stored tree of nodes "a" to "d", of which every one in capitals gave no calendar; what is
/// wanted has the record keys "Ka" and so on.
class NodeTreeMerge : public ::testing::Test {
protected:
    static Dictionary node(const std::string& key)
    {
        return {{"Key", "iCal-" + key}, {"SourceKey", key}, {"Type", "CALSourceNode"}, {"X", 1}};
    }
    static Dictionary group(const std::string& key, Array members)
    {
        return {{"Key", key},
                {"Type", "CALNamedGroupNode"},
                {"X", 1},
                {"Subnodes", std::move(members)}};
    }
    static Dictionary written(const std::string& key, bool isGroup)
    {
        Dictionary node{{"Key", "K" + key},
                        {"Type", isGroup ? "CALNamedGroupNode" : "CALSourceNode"}};
        if (!isGroup)
            node.set("SourceKey", key);
        return node;
    }
    static Dictionary wantedGroup(const std::string& key, Array members)
    {
        Dictionary node = written(key, true);
        node.set("Subnodes", std::move(members));
        return node;
    }
    static Dictionary file(Array list) { return {{"Version", 2}, {"List", std::move(list)}}; }

    void know(const std::string& key, bool isGroup, bool isWanted = true)
    {
        LoadedCalendar& calendar = *loaded.emplace_back(std::make_unique<LoadedCalendar>());
        calendar.recordKey = "K" + key;
        calendar.calendar = KTSyncCalendar::syncCalendarWithPluginHelper(
            &host, isGroup ? kCalendarTypeGroup : kCalendarTypeNode, key, std::nullopt);
        merge.addLoaded(calendar, written(key, isGroup));
        if (isWanted)
            merge.addWanted("K" + key, &calendar);
    }

    RecordingPluginHelper host;
    std::vector<std::unique_ptr<LoadedCalendar>> loaded;
    NodeTreeMerge104 merge;
};

TEST_F(NodeTreeMerge, ChangesNothingWhereNothingChanged)
{
    know("a", false);
    know("g", true);
    know("b", false);
    const Dictionary stored =
        file({node("a"), node("FREMD"), group("g", {node("b"), node("LOS")})});
    EXPECT_EQ(merge.merged(stored,
                           file({written("a", false), wantedGroup("g", {written("b", false)})})),
              stored);
}

TEST_F(NodeTreeMerge, PutsNodesInTheWantedOrderAndWhatNobodyKnowsBehindThoseItStoodBehind)
{
    know("a", false);
    know("b", false);
    EXPECT_EQ(merge.merged(file({node("a"), node("FREMD"), node("b")}),
                           file({written("b", false), written("a", false)})),
              file({node("b"), node("a"), node("FREMD")}));
}

// As a rewrite leaves it that could write the node but not the calendar's description.
TEST_F(NodeTreeMerge, ReplacesTheNodeWithoutACalendarOfANewCalendarsFolder)
{
    know("a", false);
    EXPECT_EQ(merge.merged(file({node("HALB"), node("a"), group("FREMD", {node("HALB")})}),
                           file({written("a", false), written("HALB", false)})),
              file({node("a"), group("FREMD", {}), written("HALB", false)}));
}

TEST_F(NodeTreeMerge, MovesANodeIntoAGroupWithAllThatItHolds)
{
    know("a", false);
    know("g", true);
    EXPECT_EQ(merge.merged(file({node("a"), group("g", {})}),
                           file({wantedGroup("g", {written("a", false)})})),
              file({group("g", {node("a")})}));
}

TEST_F(NodeTreeMerge, LeavesWhatNobodyKnowsOfAGroupThatIsGone)
{
    know("a", false);
    know("g", true, false);
    EXPECT_EQ(merge.merged(file({group("g", {node("a"), node("FREMD")})}),
                           file({written("a", false)})),
              file({node("FREMD"), node("a")}));
}

TEST_F(NodeTreeMerge, LeavesCalendarsInAGroupThatNobodyKnowsAndNowhereElse)
{
    know("a", false);
    know("b", false, false);
    know("g", true);
    know("c", false);
    const Dictionary stored =
        file({group("FREMD", {node("a"), node("b")}), group("g", {node("c")})});
    Dictionary changed = written("a", false);
    changed.set("Selection", true);
    Dictionary kept = node("a");
    kept.set("Selection", true);
    EXPECT_EQ(merge.merged(stored, file({wantedGroup("g", {changed, written("c", false)})})),
              file({group("FREMD", {kept}), group("g", {node("c")})}));
}

TEST_F(NodeTreeMerge, PutsANewNodeWhereItIsWanted)
{
    know("a", false);
    know("b", false);
    EXPECT_EQ(merge.merged(file({node("a"), node("FREMD"), node("b")}),
                           file({written("a", false), written("c", false), written("b", false)})),
              file({node("a"), node("FREMD"), written("c", false), node("b")}));
}

TEST_F(NodeTreeMerge, TakesOutWhatIsWantedNoMoreAndAddsNewNodesLast)
{
    know("a", false, false);
    EXPECT_EQ(merge.merged(file({node("a"), node("FREMD")}), file({written("c", false)})),
              file({node("FREMD"), written("c", false)}));
}

}  // namespace
}  // namespace kt::test
