#include "Sync/PlugIns/iCal/Calendar/NodeTree104.h"
#include "tests/Sync/PlugIns/iCal/Calendar/Store104Fixture.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class NodeTree : public Store104Fixture {
protected:
    NodeTree104 tree{&helper};

    void addCalendar(const std::string& title, const std::optional<std::string>& parent = {})
    {
        tree.add(Dictionary{{"SourceKey", title}}, std::nullopt, parent, title);
    }
    void addGroup(const std::string& title, const std::optional<std::string>& parent = {})
    {
        tree.add(Dictionary{{"Title", title}}, title, parent, title);
    }
    /// "A [B C [D]]": calendars by their keys, groups with their members.
    std::string outline() const { return outline(tree.nodeFile()["List"].array()); }

private:
    static std::string outline(const Array& nodes)
    {
        std::string text;
        for (const Value& node : nodes) {
            const Dictionary& entries = node.dictionary();
            text += text.empty() ? "" : " ";
            if (entries.contains("Subnodes"))
                text += std::string(entries["Title"].string()) + " [" +
                        outline(entries["Subnodes"].array()) + "]";
            else
                text += entries["SourceKey"].string();
        }
        return text;
    }
};

TEST_F(NodeTree, WithoutNodesIsAnEmptyListOfVersionTwo)
{
    EXPECT_EQ(tree.nodeFile(), (Dictionary{{"Version", 2}, {"List", Array{}}}));
    EXPECT_THAT(keysOf(tree.nodeFile()), ElementsAre("Version", "List"));
}

TEST_F(NodeTree, KeepsTheOrderInWhichNodesCame)
{
    addCalendar("B");
    addGroup("G");
    addCalendar("A");
    EXPECT_EQ(outline(), "B G [] A");
}

TEST_F(NodeTree, GivesAGroupTheMembersThatCameBeforeAndAfterIt)
{
    addCalendar("A", "G");
    addGroup("G");
    addCalendar("B", "G");
    EXPECT_EQ(outline(), "G [A B]");
    EXPECT_THAT(losses(), IsEmpty());
}

TEST_F(NodeTree, PutsGroupsIntoGroups)
{
    addCalendar("A", "Innen");
    addGroup("Innen", "Außen");
    addGroup("Außen");
    EXPECT_EQ(outline(), "Außen [Innen [A]]");
}

TEST_F(NodeTree, SetsSubnodesBehindTheNodesOwnEntries)
{
    addGroup("G");
    EXPECT_THAT(keysOf(tree.nodeFile()["List"].array()[0].dictionary()),
                ElementsAre("Title", "Subnodes"));
}

TEST_F(NodeTree, LeavesOutANodeWhoseGroupNeverComesAndTellsTheLoss)
{
    addCalendar("A", "fehlt");
    addCalendar("B");
    EXPECT_EQ(outline(), "B");
    EXPECT_THAT(losses(), ElementsAre(KTLoss{"A", home.path(kNodeFile),
                                             "Der Kalender wird nicht geschrieben: seine Gruppe "
                                             "fehlt"}));
    EXPECT_THAT(helper.messages(), IsEmpty());
}

TEST_F(NodeTree, PutsTheFirstOfGroupsThatHoldOneAnotherAtTheTop)
{
    addCalendar("A", "H");
    addGroup("G", "H");
    addGroup("H", "I");
    addGroup("I", "G");
    addCalendar("B");
    addCalendar("C", "G");
    EXPECT_EQ(outline(), "B G [I [H [A]] C]");
    EXPECT_THAT(helper.messages(),
                ElementsAre("Gruppe 'G' ist in sich selbst verschachtelt: ohne ihre Gruppe "
                            "geschrieben"));
    EXPECT_THAT(losses(), IsEmpty());
}

TEST_F(NodeTree, KeepsEachCircleOfGroups)
{
    addGroup("G", "H");
    addGroup("H", "G");
    addGroup("I", "J");
    addGroup("J", "I");
    addGroup("K", "J");
    EXPECT_EQ(outline(), "G [H []] I [J [K []]]");
    EXPECT_EQ(helper.messages().size(), 2u);
}

TEST_F(NodeTree, WritesAGroupThatHoldsItselfWithoutMembers)
{
    // Two groups of one key share their members, so a listed one can come to stand in itself.
    addGroup("G");
    addGroup("G", "G");
    addCalendar("A", "G");
    EXPECT_EQ(outline(), "G [G [] A]");
    EXPECT_THAT(helper.messages(),
                ElementsAre("Gruppe 'G' ist in sich selbst oder zu tief verschachtelt: ohne "
                            "Mitglieder geschrieben"));
    EXPECT_THAT(losses(),
                ElementsAre(KTLoss{"G", home.path(kNodeFile),
                                   "Die Gruppe ist in sich selbst oder zu tief verschachtelt"}));
}

TEST_F(NodeTree, GivesTwoGroupsOfOneKeyTheSameMembers)
{
    addGroup("G");
    addCalendar("A", "G");
    addGroup("G");
    EXPECT_EQ(outline(), "G [A] G [A]");
    EXPECT_THAT(losses(), IsEmpty());
}

TEST_F(NodeTree, RepeatsNoMembersWithoutEnd)
{
    // Each level twice: so many groups of one key in each of the level above would be 2^100.
    constexpr int kLevels = 100;
    for (int level = 0; level < kLevels; ++level)
        for (int i = 0; i < 2; ++i)
            addGroup(std::to_string(level),
                     level == 0 ? std::nullopt : std::optional(std::to_string(level - 1)));
    addCalendar("A", std::to_string(kLevels - 1));
    const std::string text = outline();
    EXPECT_LE(std::count(text.begin(), text.end(), '['), 4 * 2 * kLevels);
    EXPECT_THAT(text, ::testing::HasSubstr("99 [A] 99 [A]"));
    EXPECT_THAT(helper.messages(),
                ::testing::Contains("Gruppe '0' kommt zu oft vor: ohne Mitglieder geschrieben"));
    EXPECT_THAT(lossReasons(), ::testing::Contains("Die Gruppe kommt zu oft vor"));
}

class NodeTreeDepth : public NodeTree {
protected:
    /// So many groups inside one another, the innermost with a published calendar.
    void nest(int groups)
    {
        for (int group = 0; group < groups; ++group)
            addGroup(std::to_string(group),
                     group == 0 ? std::nullopt : std::optional(std::to_string(group - 1)));
        tree.add(Dictionary{{"SourceKey", "A"},
                            {"Publishers", Array{Dictionary{{"Sources", Array{"A"}}}}}},
                 std::nullopt, std::to_string(groups - 1), "A");
    }
    // "List", its file, and around the calendar's own four levels two for each group.
    static constexpr int kDeepest = (kPropertyListDepthLimit - 2 - 4) / 2;
};

TEST_F(NodeTreeDepth, ReachesAsFarAsAPropertyListCanBeRead)
{
    nest(kDeepest);
    ASSERT_TRUE(writeDictionaryToFile(tree.nodeFile(), home.path("nodes.plist")));
    EXPECT_EQ(storedDictionary("nodes.plist"), tree.nodeFile());
    EXPECT_THAT(losses(), IsEmpty());
    EXPECT_THAT(outline(), ::testing::HasSubstr("[A]"));
}

TEST_F(NodeTreeDepth, EndsBeforeAPropertyListCouldNotBeWritten)
{
    nest(kDeepest + 1);
    EXPECT_TRUE(writeDictionaryToFile(tree.nodeFile(), home.path("nodes.plist")));
    EXPECT_EQ(helper.messages().size(), 1u);
    EXPECT_THAT(lossReasons(),
                ElementsAre("Die Gruppe ist in sich selbst oder zu tief verschachtelt",
                            "Der Kalender wird nicht geschrieben: seine Gruppe fehlt"));
}

TEST_F(NodeTreeDepth, EndsForAnyNumberOfGroups)
{
    nest(100000);
    EXPECT_TRUE(writeDictionaryToFile(tree.nodeFile(), home.path("nodes.plist")));
}

}  // namespace
}  // namespace kt::test
