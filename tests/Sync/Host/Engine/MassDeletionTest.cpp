#include <string>

#include <gtest/gtest.h>

#include "Sync/Host/Engine/MassDeletion.h"

namespace kt::test {
namespace {

struct Row {
    std::string name;
    MassDeletionFacts facts;
    bool isRefused;
};

class Rule17 : public testing::TestWithParam<Row> {};

INSTANTIATE_TEST_SUITE_P(
    Limits, Rule17,
    testing::Values(Row{"Nothing", {0, 0, false, true}, false},
                    Row{"TenOfTen", {10, 10, false, false}, false},
                    Row{"ElevenOfTwenty", {11, 20, false, false}, true},
                    Row{"ElevenOfTwentyTwo", {11, 22, false, false}, false},
                    Row{"ElevenOfTwentyThree", {11, 23, false, false}, false},
                    Row{"AllOfMany", {500, 500, false, false}, true},
                    Row{"EmptyStore", {0, 5, true, false}, true},
                    Row{"EmptyStoreThatWasEmpty", {0, 5, true, true}, false},
                    Row{"TenOfTenInTheStore", {0, 0, false, false, 10, 10}, false},
                    Row{"MostOfTheStore", {0, 0, false, false, 11, 21}, true},
                    Row{"HalfOfTheStore", {0, 0, false, false, 11, 22}, false},
                    Row{"TwoWentBack", {0, 0, false, false, 0, 0, 2, 0}, false},
                    Row{"ThreeWentBack", {0, 0, false, false, 0, 0, 3, 0}, true},
                    Row{"AsManyWentOn", {0, 0, false, false, 0, 0, 3, 3}, false},
                    Row{"MoreWentBack", {0, 0, false, false, 0, 0, 4, 3}, true}),
    [](const auto& row) { return row.param.name; });

TEST_P(Rule17, MassDeletionIsRefused)
{
    EXPECT_EQ(massDeletionReason(GetParam().facts).has_value(), GetParam().isRefused);
}

TEST(MassDeletionReason, SaysHowManyAndHowToGoOn)
{
    EXPECT_EQ(
        massDeletionReason({12, 20, false, false}),
        "12 von 20 Datensätzen des Kontos würden auf allen Geräten gelöscht; es wurde nichts "
        "gelöscht. Mit --allow-mass-delete wird gelöscht; mit --from-server kommt zurück, was "
        "hier fehlt.");
    EXPECT_EQ(
        massDeletionReason({0, 0, false, false, 12, 20}),
        "12 von 20 Datensätzen dieses Kalenderspeichers fehlen auf dem Server und würden hier "
        "gelöscht; es wurde nichts gelöscht. Mit --allow-mass-delete wird gelöscht; ohne "
        "--from-server gehen sie zum Server.");
    EXPECT_EQ(massDeletionReason({0, 5, true, false}),
              "Der Kalenderspeicher ist leer, obwohl er beim letzten Abgleich Kalender enthielt; "
              "es wurde nichts gelöscht. Mit --from-server füllt ihn der Stand des Servers wieder; "
              "mit --allow-mass-delete wird alles auf allen Geräten gelöscht.");
    EXPECT_EQ(
        massDeletionReason({2, 20, false, false, 0, 0, 5, 1}),
        "Der Kalenderspeicher sieht nach einer älteren Kopie aus: 5 Einträge sind älter als "
        "beim letzten Abgleich, 2 fehlen; es wurde nichts geändert. Mit --put-back kommt "
        "wieder, was seitdem geschah; mit --allow-mass-delete gilt der ältere Stand auf allen "
        "Geräten.");
}

}  // namespace
}  // namespace kt::test
