#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "Sync/Host/Command/SyncReport.h"

namespace kt {
namespace {

using testing::HasSubstr;

SyncReport completed()
{
    SyncReport report;
    report.result.isCompleted = true;
    report.result.status = "3 Kalender\n1 Ereignis, 0 Aufgaben";
    report.result.summary.sent = 1;
    report.result.summary.deletedHere = 2;
    return report;
}

SyncReport ended(const std::string& status, const std::vector<std::string>& reasons)
{
    SyncReport report;
    report.result.status = status;
    report.result.reasons = reasons;
    return report;
}

SyncReport held(std::size_t losses)
{
    SyncReport report = completed();
    report.result.summary.held = true;
    for (std::size_t i = 0; i < losses; ++i)
        report.result.summary.losses.push_back(
            {"Privat", "/" + std::to_string(i) + ".ics", "leer"});
    return report;
}

TEST(SyncReport, OfACompletedRunHasTheCounts)
{
    EXPECT_EQ(textForReport(completed()),
              "Die iCal-Kalender wurden synchronisiert\n"
              "3 Kalender\n1 Ereignis, 0 Aufgaben\n"
              "Zum Server: 1 Datensatz, 0 Löschungen\n"
              "Vom Server: 0 Datensätze, 2 Löschungen\n");
}

TEST(SyncReport, OfARunThatEndedHasThePluginsStatus)
{
    EXPECT_EQ(textForReport(ended("iCal ist noch aktiv", {})), "iCal ist noch aktiv\n");
}

TEST(SyncReport, WhereTheHostKnowsWhyItSaysSo)
{
    const SyncReport report =
        ended("iCal-Kalender laden...", {"Der Server ist weg", "und bleibt es"});
    EXPECT_EQ(statusOfRun(report), "Der Server ist weg");
    EXPECT_EQ(textForReport(report), "Der Server ist weg\nHinweise:\n  und bleibt es\n");
    EXPECT_EQ(statusOfRun(ended("", {})), "Die Synchronisierung wurde nicht gestartet");
}

TEST(SyncReport, OfAHeldRunNamesTheFilesAndWhatToDo)
{
    EXPECT_EQ(statusOfRun(held(1)),
              "Die Synchronisierung wird angehalten: /0.ics kann nicht gelesen werden");
    EXPECT_EQ(statusOfRun(held(3)),
              "Die Synchronisierung wird angehalten: /0.ics und 2 weitere "
              "Stellen können nicht gelesen werden");
    const std::string text = textForReport(held(2));
    EXPECT_THAT(text, HasSubstr("Nicht gelesen:\n  /0.ics: leer (Kalender 'Privat')\n"
                                "  /1.ics: leer (Kalender 'Privat')\n"));
    EXPECT_THAT(text, HasSubstr("--accept-losses"));
}

TEST(SyncReport, AcceptedLossesAreNamedAsWell)
{
    SyncReport report = held(1);
    report.result.summary.held = false;
    EXPECT_EQ(statusOfRun(report), "Die iCal-Kalender wurden synchronisiert");
    EXPECT_THAT(textForReport(report), HasSubstr("Nicht gelesen:\n  /0.ics: leer"));
}

TEST(SyncReport, HintsOfACompletedRunFollow)
{
    SyncReport report = completed();
    report.result.reasons = {"Bitte noch einmal"};
    EXPECT_THAT(textForReport(report), HasSubstr("Hinweise:\n  Bitte noch einmal\n"));
}

TEST(SyncReport, OfADryRunListsTheRecords)
{
    SyncReport report = completed();
    report.wishes.dryRun = true;
    report.wasSwitchedOn = true;
    report.goingUp = {"Aufgabe: 'Tee'"};
    report.comingDown = {"Gelöscht: Aufgabe: 'Kaffee'"};
    const std::string text = textForReport(report);
    EXPECT_THAT(text, testing::StartsWith("Die iCal-Synchronisierung würde eingeschaltet.\n"
                                          "Probelauf: es wurde nichts geändert\n"));
    EXPECT_THAT(text, HasSubstr("Zum Server ginge:\n  Aufgabe: 'Tee'\n"
                                "Vom Server käme:\n  Gelöscht: Aufgabe: 'Kaffee'\n"));
    EXPECT_EQ(jsonForReport(report)["goingUp"][0], "Aufgabe: 'Tee'");
}

TEST(SyncReport, ARestoredStoreIsTold)
{
    SyncReport report = completed();
    report.result.wasRestored = true;
    EXPECT_THAT(textForReport(report), HasSubstr("wurde zurückgeholt.\n"));
}

TEST(SyncReport, InJsonHasEverything)
{
    SyncReport report = held(1);
    report.device = "Büro";
    report.server = "sqlite:/k";
    report.result.summary.startResult = 1;
    EXPECT_EQ(jsonText(jsonForReport(report)),
              "{\"completed\":true,\"status\":\"Die Synchronisierung wird angehalten: /0.ics kann "
              "nicht gelesen werden\",\"pluginStatus\":\"3 Kalender\\n1 Ereignis, 0 Aufgaben\","
              "\"dryRun\":false,\"enabledNow\":false,\"restored\":false,\"device\":\"Büro\","
              "\"server\":\"sqlite:/k\",\"startResult\":1,\"held\":true,\"rewritten\":false,"
              "\"settled\":false,\"sent\":1,\"received\":0,\"deletedOnServer\":0,"
              "\"deletedHere\":2,\"refused\":0,\"losses\":[{\"kind\":\"unread\","
              "\"calendar\":\"Privat\","
              "\"file\":\"/0.ics\",\"reason\":\"leer\"}],\"reasons\":[]}");
}

}  // namespace
}  // namespace kt
