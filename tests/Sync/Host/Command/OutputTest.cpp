#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "Sync/Host/Command/Output.h"

namespace kt {
namespace {

TEST(Output, CountsInGerman)
{
    EXPECT_EQ(counted(0, "Ereignis", "Ereignisse"), "0 Ereignisse");
    EXPECT_EQ(counted(1, "Ereignis", "Ereignisse"), "1 Ereignis");
    EXPECT_EQ(counted(2, "Ereignis", "Ereignisse"), "2 Ereignisse");
}

TEST(Output, ALossIsOneLine)
{
    EXPECT_EQ(lineForLoss({"Privat", "/a.ics", "leer"}), "/a.ics: leer (Kalender 'Privat')");
    EXPECT_EQ(lineForLoss({"", "/a.ics", "leer"}), "/a.ics: leer");
    EXPECT_EQ(lineForLoss({"Privat", "", "doppelt"}), "doppelt (Kalender 'Privat')");
}

TEST(Output, LossesInJson)
{
    EXPECT_EQ(jsonText(jsonForLosses({})), "[]");
    EXPECT_EQ(
        jsonText(jsonForLosses({{"Privat", "/a.ics", "leer"}})),
        "[{\"kind\":\"unread\",\"calendar\":\"Privat\",\"file\":\"/a.ics\",\"reason\":\"leer\"}]");
}

TEST(Output, LossesStandUnderTheirKindsWhatHoldsMostFirst)
{
    using Kind = KTLoss::Kind;
    const std::vector<KTLoss> losses{{"", "/a", "1", Kind::thinned},
                                     {"", "/b", "2", Kind::unsafe},
                                     {"", "/c", "3", Kind::unread},
                                     {"", "/d", "4", Kind::unread}};
    EXPECT_EQ(textForLosses(losses),
              "Hält die Synchronisierung an:\n  /b: 2\nBleibt unverändert liegen:\n  /c: 3\n"
              "  /d: 4\nGelesen, aber nicht in allem:\n  /a: 1\n");
    EXPECT_EQ(sentenceForLossCounts(losses),
              "1 Stelle hält die Synchronisierung an, 2 Stellen bleiben unverändert liegen, "
              "1 Stelle ist nicht in allem gelesen.");
    EXPECT_EQ(jsonText(jsonForLossCounts(losses)),
              "{\"unsafe\":1,\"unread\":2,\"unwritten\":0,\"curtailed\":0,\"thinned\":1}");
    EXPECT_EQ(textForLosses({}) + sentenceForLossCounts({}), "");
}

TEST(Output, ATableAlignsByWhatIsSeen)
{
    EXPECT_EQ(tableText({{"Titel", "Zahl", ""}, {"Äpfel", "1", "x"}, {"日本", "22", ""}}),
              "Titel  Zahl\nÄpfel  1     x\n日本   22\n");
    EXPECT_EQ(tableText({}), "");
}

}  // namespace
}  // namespace kt
