// What a calendar puts into the node file of the 10.4 layout.

#include "tests/Sync/PlugIns/iCal/Calendar/Store104Fixture.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const Dictionary kPublisher105{{"PublicationURL", "http://a.invalid/k.ics"}, {"Name", "k"}};

class Node104 : public Store104Fixture {
protected:
    std::shared_ptr<KTSyncCalendar> group() { return calendar(kCalendarTypeGroup, "G"); }
};

TEST_F(Node104, OfAGroupHoldsItsEntriesInOrder)
{
    const auto made = group();
    made->setNotes("alle");
    made->setSelected(false);
    const Dictionary node = made->iCalNode();
    EXPECT_EQ(node, (Dictionary{{"Key", *made->recordKey()},
                                {"ThemeColor", "#FF0000"},
                                {"Selection", false},
                                {"Title", "Privat"},
                                {"Notes", "alle"},
                                {"Type", "CALNamedGroupNode"},
                                {"Expanded", true}}));
    EXPECT_THAT(keysOf(node), ElementsAre("Key", "ThemeColor", "Selection", "Title", "Notes",
                                          "Type", "Expanded"));
    EXPECT_EQ(node["Selection"].kind(), Value::Kind::boolean);
    EXPECT_EQ(node["Expanded"].kind(), Value::Kind::boolean);
}

class Node104OfACalendar : public Node104, public ::testing::WithParamInterface<std::int32_t> {};

INSTANTIATE_TEST_SUITE_P(Types, Node104OfACalendar,
                         ::testing::Values(kCalendarTypeNode, kCalendarTypeSubscriber,
                                           kCalendarTypeBirthday, 7));

TEST_P(Node104OfACalendar, HoldsItsEntriesInOrder)
{
    const auto made = calendar(GetParam(), "A");
    made->setNotes("stehen nicht im Knoten");
    const Dictionary node = made->iCalNode();
    EXPECT_EQ(node, (Dictionary{{"Key", *made->recordKey()},
                                {"ThemeColor", "#FF0000"},
                                {"Selection", true},
                                {"Type", "CALSourceNode"},
                                {"SourceKey", "A"}}));
    EXPECT_THAT(keysOf(node), ElementsAre("Key", "ThemeColor", "Selection", "Type", "SourceKey"));
}

TEST_F(Node104, LeavesOutWhatIsMissing)
{
    const auto bare = KTSyncCalendar::syncCalendarWithPluginHelper(&helper, kCalendarTypeGroup,
                                                                   std::nullopt, std::nullopt);
    EXPECT_EQ(bare->iCalNode(),
              (Dictionary{{"Selection", true}, {"Type", "CALNamedGroupNode"}, {"Expanded", true}}));
    const auto calendar = KTSyncCalendar::syncCalendarWithPluginHelper(&helper, kCalendarTypeNode,
                                                                       std::nullopt, std::nullopt);
    calendar->setTitle("Privat");
    EXPECT_EQ(calendar->iCalNode(), (Dictionary{{"Key", *calendar->recordKey()},
                                                {"Selection", true},
                                                {"Type", "CALSourceNode"}}));
    EXPECT_THAT(helper.fileLog(), IsEmpty());
}

TEST_F(Node104, HoldsOneConvertedPublisherForThatOf105)
{
    const auto made = calendar(kCalendarTypeNode, "A");
    made->setPublisher(kPublisher105);
    const Dictionary node = made->iCalNode();
    EXPECT_EQ(node["Publishers"], Value(Array{Dictionary{{"Sources", Array{"A"}},
                                                         {"Type", "CALURLPublisher"},
                                                         {"PublishName", "k"},
                                                         {"UploadURL", "http://a.invalid/k.ics"},
                                                         {"Filter", 5}}}));
    EXPECT_EQ(keysOf(node).back(), "Publishers");
}

TEST_F(Node104, WithoutASourceKeyNamesInItsPublisherTheKeyThatTheReaderTakesInstead)
{
    const auto made = calendar(kCalendarTypeGroup, std::nullopt);
    made->setPublisher(kPublisher105);
    const Dictionary node = made->iCalNode();
    EXPECT_FALSE(node.contains("SourceKey"));
    const Dictionary publisher = node["Publishers"].array().at(0).dictionary();
    EXPECT_EQ(publisher["Sources"], Value(Array{node["Key"]}));

    writeNodes({node});
    EXPECT_EQ(titled(readStore(), "Privat")->sourceKey(), node["Key"].string());
}

TEST_F(Node104, KeepsAPublisherOf104AsItIs)
{
    const Dictionary publisher{{"UploadURL", "http://a.invalid/k.ics"}, {"Eigenes", 7}};
    const auto made = group();
    made->setPublisher(publisher);
    EXPECT_EQ(made->iCalNode()["Publishers"], Value(Array{publisher}));
}

TEST_F(Node104, HoldsAnEmptyPublisherForOneOfNeitherForm)
{
    const auto made = group();
    made->setPublisher(Dictionary{{"Eigenes", 7}});
    EXPECT_EQ(made->iCalNode()["Publishers"], Value(Array{Dictionary()}));
}

TEST_F(Node104, LogsThePartThatWasBuiltAndThrowsForAPublisherThatIsNoDictionary)
{
    const auto made = calendar(kCalendarTypeNode, "A");
    made->setPublisher("text");
    EXPECT_EQ(reasonOfException([&] { made->iCalNode(); }), "Wörterbuch erwartet, Text gefunden");
    const Dictionary built{{"Key", *made->recordKey()},
                           {"ThemeColor", "#FF0000"},
                           {"Selection", true},
                           {"Type", "CALSourceNode"},
                           {"SourceKey", "A"}};
    EXPECT_THAT(helper.fileLog(),
                ElementsAre(stringWithFormat("[KTSyncCalendar iCalNode(104)]:\n%@\n%@", built,
                                             "Wörterbuch erwartet, Text gefunden")));
}

class Node104OfASystemWithoutStore : public Node104, public ::testing::WithParamInterface<int> {};

INSTANTIATE_TEST_SUITE_P(Versions, Node104OfASystemWithoutStore, ::testing::Values(-1, 0, 3, 6));

TEST_P(Node104OfASystemWithoutStore, IsEmpty)
{
    helper.script.macOSVersion = GetParam();
    EXPECT_TRUE(calendar()->iCalNode().empty());
}

}  // namespace
}  // namespace kt::test
