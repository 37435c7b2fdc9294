#include <algorithm>

#include "Sync/Foundation/Digest.h"
#include "Sync/Foundation/KeyedArchive.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"
#include "tests/Sync/PlugIns/iCal/Calendar/ModelFixture.h"

namespace kt::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;

class KTSyncCalendarNodeTest : public ModelFixture {};

TEST_F(KTSyncCalendarNodeTest, ACalendarsInfoHoldsItsKeysInTheirOrder)
{
    const auto made = calendar(kCalendarTypeNode, "quelle");
    made->setOrder(5);
    made->setNotes("Notiz");
    made->setAlarmsDisabled(true);
    made->setSelected(false);
    const Dictionary node = made->iCalNode();
    EXPECT_THAT(keysOf(node), ElementsAre("Key", "Color", "Order", "Title", "Checked",
                                          "AlarmsDisabled", "Notes", "Type"));
    EXPECT_EQ(node, (Dictionary{{"Key", "quelle"},
                                {"Color", "#FF0000"},
                                {"Order", 5},
                                {"Title", "Privat"},
                                {"Checked", false},
                                {"AlarmsDisabled", true},
                                {"Notes", "Notiz"},
                                {"Type", "Local"}}));
    EXPECT_EQ(node["Checked"].kind(), Value::Kind::boolean);
    EXPECT_EQ(node["AlarmsDisabled"].kind(), Value::Kind::boolean);
}

TEST_F(KTSyncCalendarNodeTest, AGroupsInfoTellsWhetherItIsExpanded)
{
    const auto made = calendar(kCalendarTypeGroup, "quelle");
    made->setExpanded(false);
    const Dictionary node = made->iCalNode();
    EXPECT_THAT(keysOf(node), ElementsAre("Key", "Color", "Order", "Title", "Checked", "Expanded",
                                          "Notes", "Type"));
    EXPECT_EQ(node["Expanded"], Value(false));
    EXPECT_EQ(node["Expanded"].kind(), Value::Kind::boolean);
}

TEST_F(KTSyncCalendarNodeTest, TheKeyIsTheRecordKeyWithoutASourceKey)
{
    for (const std::int32_t type : {kCalendarTypeNode, kCalendarTypeGroup}) {
        const auto made = calendar(type, std::nullopt);
        EXPECT_EQ(made->iCalNode()["Key"], Value(made->recordKey()));
    }
}

struct TypeRow {
    std::int32_t type;
    std::string_view nodeType;
};
class KTSyncCalendarNodeType : public KTSyncCalendarNodeTest,
                               public testing::WithParamInterface<TypeRow> {};
INSTANTIATE_TEST_SUITE_P(Rows, KTSyncCalendarNodeType,
                         testing::Values(TypeRow{0, "Local"}, TypeRow{1, "Local"},
                                         TypeRow{2, "Subscription"}, TypeRow{3, "Birthday"},
                                         TypeRow{7, "Local"}));
TEST_P(KTSyncCalendarNodeType, IsWritten)
{
    EXPECT_EQ(calendar(GetParam().type)->iCalNode()["Type"], Value(GetParam().nodeType));
}

struct MissingRow {
    std::string_view field;
    void (*remove)(KTSyncCalendar&);
};
class KTSyncCalendarNodeMissing : public KTSyncCalendarNodeTest,
                                  public testing::WithParamInterface<MissingRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, KTSyncCalendarNodeMissing,
    testing::Values(MissingRow{"Color", [](KTSyncCalendar& made) { made.setColor({}); }},
                    MissingRow{"Title", [](KTSyncCalendar& made) { made.setTitle({}); }}));
TEST_P(KTSyncCalendarNodeMissing, IsLoggedAndThrownOn)
{
    const auto made = calendar();
    GetParam().remove(*made);
    const std::string reason = reasonOfException([&] { made->iCalNode(); });
    EXPECT_NE(reason, "");
    ASSERT_EQ(helper.fileLog().size(), 1u);
    EXPECT_THAT(helper.fileLog().front(),
                testing::StartsWith("[KTSyncCalendar iCalNode(105)]:\n{\n"));
    EXPECT_THAT(helper.fileLog().front(), testing::EndsWith("}\n" + reason));
}

TEST_F(KTSyncCalendarNodeTest, MissingNotesAreLoggedAndThrownOn)
{
    const auto made = KTSyncCalendar::syncCalendarWithPluginHelper(&helper, 0, "source", {});
    made->setTitle("Privat");
    made->setColor("#FF0000");
    const std::string reason = reasonOfException([&] { made->iCalNode(); });
    const Dictionary built{{"Key", "source"},   {"Color", "#FF0000"}, {"Order", 0},
                           {"Title", "Privat"}, {"Checked", true},    {"AlarmsDisabled", false}};
    EXPECT_NE(reason, "");
    EXPECT_THAT(helper.fileLog(),
                ElementsAre(
                    stringWithFormat("[KTSyncCalendar iCalNode(105)]:\n%@\n%@", built, reason)));
}

class KTSyncCalendarNodeVersion : public KTSyncCalendarNodeTest,
                                  public testing::WithParamInterface<int> {};
INSTANTIATE_TEST_SUITE_P(Rows, KTSyncCalendarNodeVersion, testing::Values(0, 3, 6));
TEST_P(KTSyncCalendarNodeVersion, WithoutAStoreGivesAnEmptyDictionary)
{
    helper.script.macOSVersion = GetParam();
    const auto made = KTSyncCalendar::syncCalendarWithPluginHelper(&helper, 0, "source", {});
    EXPECT_TRUE(made->iCalNode().empty());
}

TEST_F(KTSyncCalendarNodeTest, PublishingSettingsOfThisLayoutAreWrittenAsTheyAre)
{
    const auto made = calendar();
    const Dictionary publisher{{"PublicationURL", "http://p"}, {"Sonstiges", 1}};
    made->setPublisher(publisher);
    EXPECT_EQ(made->iCalNode()["Publication"], Value(publisher));
}

TEST_F(KTSyncCalendarNodeTest, PublishingSettingsOfNeitherLayoutAreWrittenAsAnEmptyDictionary)
{
    const auto made = calendar();
    made->setPublisher(Dictionary{{"Name", "Privat"}});
    const Dictionary node = made->iCalNode();
    EXPECT_EQ(node["Publication"], Value(Dictionary()));
    EXPECT_EQ(keysOf(node).back(), "Publication");
}

TEST_F(KTSyncCalendarNodeTest, PublishingSettingsOfTheOtherLayoutAreNotWritten)
{
    const auto made = calendar();
    made->setPublisher(Dictionary{{"UploadURL", "http://u"}});
    EXPECT_FALSE(made->iCalNode().contains("Publication"));
}

TEST_F(KTSyncCalendarNodeTest, PublishingSettingsThatAreNoDictionaryAreLoggedAndThrownOn)
{
    const auto made = calendar();
    made->setPublisher("http://p");
    EXPECT_THROW(made->iCalNode(), Exception);
    EXPECT_EQ(helper.fileLog().size(), 1u);
}

TEST_F(KTSyncCalendarNodeTest, ASubscriptionsEntriesAreCopied)
{
    const auto made = calendar(kCalendarTypeSubscriber);
    made->setSubscriber(Dictionary{{"SubscriptionURL", "http://s"}, {"Sonstiges", 1}});
    made->setSubscriberData(Data{
        archivedDataWithRootObject(Dictionary{{"RemoteURL", "http://r"}, {"AutoRefresh", true}})});
    const Dictionary node = made->iCalNode();
    EXPECT_EQ(node["SubscriptionURL"], Value("http://s"));
    EXPECT_EQ(node["Sonstiges"], Value(1));
    EXPECT_FALSE(node.contains("AutoRefresh"));
}

TEST_F(KTSyncCalendarNodeTest, AnArchivedSubscriptionIsDecoded)
{
    const auto made = calendar(kCalendarTypeSubscriber);
    made->setSubscriber(Dictionary{{"Sonstiges", 1}});  // no address: not used
    const Date refreshed{std::chrono::sys_days(std::chrono::year(2007) / 12 / 24)};
    made->setSubscriberData(
        Data{archivedDataWithRootObject(Dictionary{{"RemoteURL", std::make_shared<URL>("http://r")},
                                                   {"AutoRefresh", true},
                                                   {"RefreshInterval", 3600},
                                                   {"LastRefreshDate", refreshed},
                                                   {"Filter", 3}})});
    const Dictionary node = made->iCalNode();
    EXPECT_EQ(node["SubscriptionURL"], Value("http://r"));
    EXPECT_EQ(node["AutoRefresh"], Value(true));
    EXPECT_EQ(node["RefreshInterval"], Value(3600));
    EXPECT_EQ(node["RefreshDate"], Value(refreshed));
    EXPECT_FALSE(node.contains("Sonstiges"));
}

TEST_F(KTSyncCalendarNodeTest, AnArchivedSubscriptionGivesWhatItHolds)
{
    const auto made = calendar(kCalendarTypeSubscriber);
    made->setSubscriberData(Data{archivedDataWithRootObject(Dictionary{{"AutoRefresh", false}})});
    EXPECT_THAT(keysOf(made->iCalNode()),
                ElementsAre("Key", "Color", "Order", "Title", "Checked", "AlarmsDisabled", "Notes",
                            "Type", "AutoRefresh"));
}

struct FilterRow {
    int filter;
    std::optional<int> alarms, tasks, attachments;
};
class KTSyncCalendarNodeFilter : public KTSyncCalendarNodeTest,
                                 public testing::WithParamInterface<FilterRow> {};
INSTANTIATE_TEST_SUITE_P(Rows, KTSyncCalendarNodeFilter,
                         testing::Values(FilterRow{0, 0, 0, 0}, FilterRow{1, 0, 1, 0},
                                         FilterRow{2, 1, 0, 0}, FilterRow{3, 1, 1, 0},
                                         FilterRow{4, {}, {}, {}}, FilterRow{-1, {}, {}, {}}));
TEST_P(KTSyncCalendarNodeFilter, BecomesThreeSwitches)
{
    const auto made = calendar(kCalendarTypeSubscriber);
    made->setSubscriberData(
        Data{archivedDataWithRootObject(Dictionary{{"Filter", GetParam().filter}})});
    const Dictionary node = made->iCalNode();
    const auto expected = [](std::optional<int> flag) { return flag ? Value(*flag) : Value(); };
    EXPECT_EQ(node["AlarmFilter"], expected(GetParam().alarms));
    EXPECT_EQ(node["TaskFilter"], expected(GetParam().tasks));
    EXPECT_EQ(node["AttachmentFilter"], expected(GetParam().attachments));
    EXPECT_FALSE(node.contains("Filter"));
    if (GetParam().alarms) {
        EXPECT_EQ(node["AlarmFilter"].kind(), Value::Kind::integer);
    }
}

TEST_F(KTSyncCalendarNodeTest, SubscriberDataThatHoldNoDictionaryGiveNothing)
{
    const auto made = calendar(kCalendarTypeSubscriber);
    const std::size_t withoutSubscription = made->iCalNode().size();
    made->setSubscriberData(Data{"kein Archiv"});
    EXPECT_EQ(made->iCalNode().size(), withoutSubscription);
    made->setSubscriberData(Data{archivedDataWithRootObject(Value(Array{1, 2}))});
    EXPECT_EQ(made->iCalNode().size(), withoutSubscription);
}

TEST_F(KTSyncCalendarNodeTest, ASubscriptionOnAGroupIsWrittenAsWell)
{
    const auto made = calendar(kCalendarTypeGroup);
    made->setSubscriber(Dictionary{{"SubscriptionURL", "http://s"}});
    EXPECT_EQ(made->iCalNode()["SubscriptionURL"], Value("http://s"));
}

struct ConversionRow {
    Dictionary given;
    int format;
    std::optional<Dictionary> converted;
};
const Dictionary kFormat4{{"UploadURL", "http://u"}, {"Filter", 0}};
const Dictionary kFormat5{{"PublicationURL", "http://p"}};
const Dictionary kBothFormats{{"PublicationURL", "http://p"}, {"UploadURL", "http://u"}};
const Dictionary kNoFormat{{"Name", "Privat"}};
class KTSyncCalendarPublisher : public KTSyncCalendarNodeTest,
                                public testing::WithParamInterface<ConversionRow> {};
INSTANTIATE_TEST_SUITE_P(Rows, KTSyncCalendarPublisher,
                         testing::Values(ConversionRow{kNoFormat, 4, Dictionary()},
                                         ConversionRow{kNoFormat, 5, Dictionary()},
                                         ConversionRow{kNoFormat, 6, Dictionary()},
                                         ConversionRow{kFormat4, 4, kFormat4},
                                         ConversionRow{kFormat5, 5, kFormat5},
                                         ConversionRow{kFormat4, 5, std::nullopt},
                                         ConversionRow{kBothFormats, 4, kBothFormats},
                                         ConversionRow{kBothFormats, 5, std::nullopt},
                                         ConversionRow{kFormat4, 3, Dictionary()},
                                         ConversionRow{kFormat5, 6, Dictionary()},
                                         ConversionRow{kFormat5, 4,
                                                       Dictionary{{"Sources", Array{"quelle"}},
                                                                  {"Type", "CALURLPublisher"},
                                                                  {"UploadURL", "http://p"},
                                                                  {"Filter", 5}}}));
TEST_P(KTSyncCalendarPublisher, IsConverted)
{
    EXPECT_EQ(calendar(0, "quelle")->convertPublisher(GetParam().given, GetParam().format),
              GetParam().converted);
}

TEST_F(KTSyncCalendarNodeTest, APublisherOfTheNewerFormatBecomesOneOfTheOlderInOneOrder)
{
    const Date published{std::chrono::sys_days(std::chrono::year(2007) / 12 / 24)};
    const auto converted = calendar(0, "quelle")
                               ->convertPublisher(Dictionary{{"PublicationURL", "http://p"},
                                                             {"Name", "Mein Kalender"},
                                                             {"PublishDate", published},
                                                             {"AutoPublish", true},
                                                             {"Sonstiges", 1}},
                                                  4);
    ASSERT_TRUE(converted);
    EXPECT_THAT(keysOf(*converted), ElementsAre("Sources", "Type", "AutoUpdate", "LastUpdateDate",
                                                "PublishName", "UploadURL", "Filter"));
    EXPECT_EQ((*converted)["AutoUpdate"], Value(true));
    EXPECT_EQ((*converted)["LastUpdateDate"], Value(published));
    EXPECT_EQ((*converted)["PublishName"], Value("Mein Kalender"));
    EXPECT_EQ((*converted)["UploadURL"], Value("http://p"));
}

TEST_F(KTSyncCalendarNodeTest, APublishersSourceIsTheRecordKeyWithoutASourceKey)
{
    const auto made = calendar(0, std::nullopt);
    EXPECT_EQ((*made->convertPublisher(kFormat5, 4))["Sources"], Value(Array{*made->recordKey()}));
}

struct PublisherFilterRow {
    std::optional<bool> alarms, tasks, text;
    int filter;
};
class KTSyncCalendarPublisherFilter : public KTSyncCalendarNodeTest,
                                      public testing::WithParamInterface<PublisherFilterRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, KTSyncCalendarPublisherFilter,
    testing::Values(PublisherFilterRow{true, true, true, 0},
                    PublisherFilterRow{true, false, true, 1}, PublisherFilterRow{true, {}, true, 1},
                    PublisherFilterRow{true, false, false, 3}, PublisherFilterRow{true, {}, {}, 3},
                    PublisherFilterRow{false, true, true, 4}, PublisherFilterRow{{}, true, true, 4},
                    PublisherFilterRow{true, true, false, 5},
                    PublisherFilterRow{false, true, false, 5},
                    PublisherFilterRow{false, false, true, 5},
                    PublisherFilterRow{false, false, false, 5}, PublisherFilterRow{{}, {}, {}, 5}));
TEST_P(KTSyncCalendarPublisherFilter, IsMadeOfThreeSwitches)
{
    Dictionary publisher = kFormat5;
    const auto set = [&](std::string_view key, std::optional<bool> flag) {
        if (flag)
            publisher.set(key, *flag);
    };
    set("AlarmFilter", GetParam().alarms);
    set("TaskFilter", GetParam().tasks);
    set("TextFilter", GetParam().text);
    EXPECT_EQ((*calendar()->convertPublisher(publisher, 4))["Filter"], Value(GetParam().filter));
}

TEST_F(KTSyncCalendarNodeTest, AConversionThatFailsIsLoggedAndGivesWhatItHasSoFar)
{
    Dictionary publisher = kFormat5;
    publisher.set("AlarmFilter", Array());
    const auto converted = calendar(0, "quelle")->convertPublisher(publisher, 4);
    EXPECT_EQ(converted, (Dictionary{{"Sources", Array{"quelle"}},
                                     {"Type", "CALURLPublisher"},
                                     {"UploadURL", "http://p"}}));
    const std::string reason =
        reasonOfException([&] { static_cast<void>(publisher["AlarmFilter"].boolValue()); });
    EXPECT_NE(reason, "");
    EXPECT_THAT(helper.fileLog(),
                ElementsAre("[KTSyncCalendar convertPublisherToFormat(105->104)]:\n" +
                            publisher.description() + "\n" + reason));
}

}  // namespace
}  // namespace kt::test
