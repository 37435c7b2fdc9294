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
            {"Privat", "/" + std::to_string(i), "falsch benannt", KTLoss::Kind::unsafe});
    return report;
}

KTLoss loss(KTLoss::Kind kind, const std::string& file = "/0.ics")
{
    return {"Privat", file, "leer", kind};
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

TEST(SyncReport, OfAHeldRunNamesTheFoldersAndWhatToDo)
{
    EXPECT_EQ(statusOfRun(held(1)), "Die Synchronisierung wird angehalten: /0");
    EXPECT_EQ(statusOfRun(held(3)),
              "Die Synchronisierung wird angehalten: /0 und 2 weitere Stellen");
    const std::string text = textForReport(held(2));
    EXPECT_THAT(text, HasSubstr("Hält die Synchronisierung an:\n"
                                "  /0: falsch benannt (Kalender 'Privat')\n"
                                "  /1: falsch benannt (Kalender 'Privat')\n"));
    EXPECT_THAT(text, HasSubstr("icalsync check --repair"));
}

TEST(SyncReport, NamesUnreadTextWhenItIsNewAndCountsItAfterThat)
{
    SyncReport report = completed();
    report.result.summary.losses = {loss(KTLoss::Kind::unread)};
    EXPECT_THAT(textForReport(report), testing::EndsWith("1 Stelle bleibt unverändert liegen. Mehr "
                                                         "dazu: icalsync check\n"));
    report.result.summary.newlyUnread = report.result.summary.losses;
    EXPECT_THAT(textForReport(report),
                HasSubstr("Bleibt unverändert liegen:\n  /0.ics: leer (Kalender 'Privat')\n"));
    EXPECT_THAT(textForReport(report), HasSubstr("--accept-losses"));
    EXPECT_EQ(statusOfRun(report), "Die iCal-Kalender wurden synchronisiert");
}

TEST(SyncReport, OnlyCountsWhatIsReadButNotInAll)
{
    SyncReport report = completed();
    report.result.summary.losses = {loss(KTLoss::Kind::thinned)};
    EXPECT_THAT(textForReport(report),
                testing::EndsWith("1 Stelle ist nicht in allem gelesen. Mehr "
                                  "dazu: icalsync check\n"));
    EXPECT_THAT(textForReport(report), testing::Not(HasSubstr("übersprungen")));
}

TEST(SyncReport, HasHeadingsForWhatCouldNotBeWritten)
{
    SyncReport report = completed();
    report.result.summary.losses = {loss(KTLoss::Kind::curtailed, "/1.ics"),
                                    loss(KTLoss::Kind::unwritten)};
    EXPECT_THAT(textForReport(report),
                HasSubstr("Konnte nicht geschrieben werden:\n  /0.ics: leer (Kalender 'Privat')\n"
                          "Geschrieben, aber nicht in allem:\n  /1.ics: leer"));
}

TEST(SyncReport, SaysWhatWasWrittenOverTextThatNobodyCouldRead)
{
    SyncReport report = completed();
    report.result.summary.overwritten = {loss(KTLoss::Kind::unread)};
    EXPECT_THAT(textForReport(report),
                HasSubstr("Durch den letzten bekannten Stand ersetzt, der Text steht in der "
                          "Sicherungskopie:\n  /0.ics: leer (Kalender 'Privat')\n"));
}

TEST(SyncReport, OfARewriteThatIsNotSettledSaysWhyAndWhatIsMissing)
{
    SyncReport report = completed();
    report.result.summary.needsSettling = true;
    report.result.summary.unproved = {"Ereignis 'Eins'"};
    report.result.reasons = {"Nicht alles ist angekommen"};
    EXPECT_TRUE(isUnsettled(report.result));
    EXPECT_EQ(statusOfRun(report), "Nicht alles ist angekommen");
    EXPECT_THAT(textForReport(report), HasSubstr("Nicht angekommen:\n  Ereignis 'Eins'\n"));
    report.result.summary.settled = true;
    EXPECT_FALSE(isUnsettled(report.result));
    EXPECT_EQ(statusOfRun(report), "Die iCal-Kalender wurden synchronisiert");
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
              "{\"completed\":true,\"status\":\"Die Synchronisierung wird angehalten: /0\","
              "\"pluginStatus\":\"3 Kalender\\n1 Ereignis, 0 Aufgaben\","
              "\"dryRun\":false,\"enabledNow\":false,\"restored\":false,\"device\":\"Büro\","
              "\"server\":\"sqlite:/k\",\"startResult\":1,\"held\":true,\"rewritten\":false,"
              "\"settled\":false,\"sent\":1,\"received\":0,\"deletedOnServer\":0,"
              "\"deletedHere\":2,\"refused\":0,\"losses\":[{\"kind\":\"unsafe\","
              "\"calendar\":\"Privat\","
              "\"file\":\"/0\",\"reason\":\"falsch benannt\"}],\"newlyUnread\":[],"
              "\"overwritten\":[],\"unproved\":[],\"notices\":[],\"reasons\":[]}");
}

}  // namespace
}  // namespace kt
