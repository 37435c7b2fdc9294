// What a calendar's node cannot hold in its layout.

#include <functional>

#include "Sync/Foundation/KeyedArchive.h"
#include "tests/Sync/PlugIns/iCal/Calendar/ModelFixture.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class KTSyncCalendarNodeLosses : public ModelFixture {};

struct PublisherRow {
    Dictionary publisher;
    int version;
    bool isLost;
};
class KTSyncCalendarPublisherLoss : public KTSyncCalendarNodeLosses,
                                    public testing::WithParamInterface<PublisherRow> {};
const Dictionary kOf104{{"UploadURL", "http://u"}};
const Dictionary kOf105{{"PublicationURL", "http://p"}};
const Dictionary kOfNeither{{"Name", "Privat"}};
INSTANTIATE_TEST_SUITE_P(
    Rows, KTSyncCalendarPublisherLoss,
    testing::Values(PublisherRow{kOf104, 5, true}, PublisherRow{kOf105, 5, false},
                    PublisherRow{kOf104, 4, false}, PublisherRow{kOf105, 4, false},
                    PublisherRow{kOfNeither, 4, true}, PublisherRow{kOfNeither, 5, true},
                    PublisherRow{{}, 4, false}, PublisherRow{{}, 5, false}));
TEST_P(KTSyncCalendarPublisherLoss, IsToldWhereItHasNoForm)
{
    helper.script.macOSVersion = GetParam().version;
    const auto made = calendar();
    made->setPublisher(GetParam().publisher);
    made->iCalNode();
    const KTLoss loss{
        "Privat", "",
        "Die Veröffentlichung hat in dieser Ablage keine Form und wird nicht geschrieben"};
    EXPECT_EQ(classes.losses(),
              GetParam().isLost ? std::vector<KTLoss>{loss} : std::vector<KTLoss>{});
}

struct SubscriptionRow {
    Value subscriber;
    std::function<Value()> data;
    bool isLost;
};
Value nothing() { return {}; }
Value noArchive() { return Data{"kein Archiv"}; }
std::function<Value()> archived(const Value& value)
{
    return [value] { return Value(Data{archivedDataWithRootObject(value)}); };
}
class KTSyncCalendarSubscriptionLoss : public KTSyncCalendarNodeLosses,
                                       public testing::WithParamInterface<SubscriptionRow> {};
const Value kAddressOnly = Dictionary{{"SubscriptionURL", "http://s"}};
const Dictionary kArchived{{"RemoteURL", "http://r"}, {"AutoRefresh", true}, {"Filter", 3}};
INSTANTIATE_TEST_SUITE_P(
    Rows, KTSyncCalendarSubscriptionLoss,
    testing::Values(
        SubscriptionRow{{}, nothing, false}, SubscriptionRow{kAddressOnly, nothing, false},
        SubscriptionRow{kAddressOnly, noArchive, false},
        SubscriptionRow{Dictionary{}, archived(kArchived), false},
        SubscriptionRow{{}, archived(Dictionary{{"RemoteURL", "http://r"}}), false},
        SubscriptionRow{{}, noArchive, true}, SubscriptionRow{{}, archived(Array{1}), true},
        SubscriptionRow{{}, archived(Dictionary{{"AutoRefresh", true}}), true},
        SubscriptionRow{{}, archived(Dictionary{{"RemoteURL", "r"}, {"Filter", 4}}), true},
        SubscriptionRow{{}, archived(Dictionary{{"RemoteURL", "r"}, {"Notiz", 1}}), true},
        SubscriptionRow{Dictionary{{"AutoRefresh", true}}, nothing, true},
        SubscriptionRow{Data{"x"}, archived(kArchived), true}));
TEST_P(KTSyncCalendarSubscriptionLoss, IsToldWhereNotAllOfItHasAForm)
{
    const auto made = calendar(kCalendarTypeSubscriber);
    made->setSubscriber(GetParam().subscriber);
    made->setSubscriberData(GetParam().data());
    made->iCalNode();
    const KTLoss loss{
        "Privat", "",
        "Das Abo hat in dieser Ablage nicht in allem eine Form und wird nicht vollständig "
        "geschrieben"};
    EXPECT_EQ(classes.losses(),
              GetParam().isLost ? std::vector<KTLoss>{loss} : std::vector<KTLoss>{});
}

// The entries of a subscription come last, whatever their names are.
TEST_F(KTSyncCalendarNodeLosses, ASubscriptionThatReplacesTheCalendarsOwnEntriesIsToldAndLogged)
{
    const auto made = calendar(kCalendarTypeSubscriber);
    made->setSubscriber(Dictionary{{"SubscriptionURL", "http://s"},
                                   {"Key", "anderer"},
                                   {"Title", "Privat"},
                                   {"Type", "Local"},
                                   {"Sonstiges", 1}});
    EXPECT_EQ(made->iCalNode()["Key"], Value("anderer"));
    EXPECT_THAT(lossReasons(), ElementsAre("Das Abo ersetzt den Eintrag 'Key' des Kalenders",
                                           "Das Abo ersetzt den Eintrag 'Type' des Kalenders"));
    EXPECT_THAT(helper.messages(),
                ElementsAre("Kalender 'Privat': das Abo ersetzt den Eintrag 'Key'",
                            "Kalender 'Privat': das Abo ersetzt den Eintrag 'Type'"));
}

}  // namespace
}  // namespace kt::test
