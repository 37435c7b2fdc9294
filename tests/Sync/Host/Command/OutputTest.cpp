#include <set>

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
    EXPECT_EQ(jsonText(jsonForLosses({{"Privat", "/a.ics", "leer"}})),
              "[{\"kind\":\"unread\",\"calendar\":\"Privat\",\"file\":\"/a.ics\","
              "\"reason\":\"leer\"}]");
}

TEST(Output, EveryKindOfLossHasAWordAndAHeadingOfItsOwn)
{
    std::set<std::string_view> words;
    std::set<std::string_view> headings;
    for (const KTLoss::Kind kind :
         {KTLoss::Kind::thinned, KTLoss::Kind::unread, KTLoss::Kind::unsafe,
          KTLoss::Kind::unwritten, KTLoss::Kind::curtailed}) {
        words.insert(nameOfLossKind(kind));
        headings.insert(headingForLossKind(kind));
        EXPECT_TRUE(headingForLossKind(kind).ends_with(':'));
    }
    EXPECT_EQ(words.size(), 5U);
    EXPECT_EQ(headings.size(), 5U);
}

TEST(Output, LossesAreListedBelowTheirHeading)
{
    EXPECT_EQ(listedLosses("Hier:", {{"Privat", "/a.ics", "leer"}, {"", "/b.ics", "doppelt"}}),
              "Hier:\n  /a.ics: leer (Kalender 'Privat')\n  /b.ics: doppelt\n");
    EXPECT_EQ(listedLosses("Hier:", {}), "");
}

TEST(Output, ATableAlignsByWhatIsSeen)
{
    EXPECT_EQ(tableText({{"Titel", "Zahl", ""}, {"Äpfel", "1", "x"}, {"日本", "22", ""}}),
              "Titel  Zahl\nÄpfel  1     x\n日本   22\n");
    EXPECT_EQ(tableText({}), "");
}

}  // namespace
}  // namespace kt
