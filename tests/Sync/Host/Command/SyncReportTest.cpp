#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "Sync/Host/Command/SyncReport.h"

namespace kt {
namespace {

using testing::HasSubstr;
using testing::Not;

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

KTLoss loss(const std::string& file, KTLoss::Kind kind)
{
    KTLoss loss{"Privat", file, "leer"};
    loss.kind = kind;
    return loss;
}

SyncReport held(std::size_t losses)
{
    SyncReport report = completed();
    report.result.summary.held = true;
    for (std::size_t i = 0; i < losses; ++i)
        report.result.summary.losses.push_back(
            loss("/" + std::to_string(i) + ".ics", KTLoss::Kind::unsafe));
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
              "Die Synchronisierung wird angehalten: /0.ics bliebe beim Schreiben nicht erhalten");
    EXPECT_EQ(statusOfRun(held(3)),
              "Die Synchronisierung wird angehalten: /0.ics und 2 weitere Stellen blieben beim "
              "Schreiben nicht erhalten");
    const std::string text = textForReport(held(2));
    EXPECT_THAT(text, HasSubstr("Hält die Synchronisierung an:\n"
                                "  /0.ics: leer (Kalender 'Privat')\n"
                                "  /1.ics: leer (Kalender 'Privat')\n"));
    EXPECT_THAT(text, HasSubstr("icalsync check --repair"));
}

TEST(SyncReport, WhatStaysWhereItIsIsToldWithWhatToDoWhenItIsNew)
{
    SyncReport report = completed();
    report.result.summary.losses = {loss("/a.ics", KTLoss::Kind::unread),
                                    loss("/b.ics", KTLoss::Kind::unread)};
    EXPECT_EQ(textForReport(report), textForReport(completed())) << "told when it was new";
    report.result.summary.newlyUnread = {loss("/b.ics", KTLoss::Kind::unread)};
    const std::string text = textForReport(report);
    EXPECT_EQ(statusOfRun(report), "Die iCal-Kalender wurden synchronisiert");
    EXPECT_THAT(text, HasSubstr("Bleibt unverändert liegen:\n"
                                "  /b.ics: leer (Kalender 'Privat')\n"));
    EXPECT_THAT(text, Not(HasSubstr("/a.ics")));
    EXPECT_THAT(text, HasSubstr("--accept-losses"));
}

TEST(SyncReport, WhatWasWrittenOverIsNamed)
{
    SyncReport report = completed();
    report.result.summary.overwritten = {loss("/a.ics", KTLoss::Kind::unread)};
    EXPECT_THAT(textForReport(report), HasSubstr("Mit dem zuletzt bekannten Inhalt überschrieben:\n"
                                                 "  /a.ics: leer"));
}

TEST(SyncReport, RemarksAreOnlyCounted)
{
    SyncReport report = completed();
    report.result.summary.losses = {loss("/a.ics", KTLoss::Kind::thinned)};
    EXPECT_THAT(textForReport(report),
                HasSubstr(
                    "1 Stelle wurde gelesen, aber nicht in allem; mehr dazu: icalsync check\n"));
    report.result.summary.remarksLeftOut = 2;
    EXPECT_THAT(textForReport(report), HasSubstr("3 Stellen wurden gelesen"));
    EXPECT_THAT(textForReport(report), Not(HasSubstr("/a.ics")));
}

TEST(SyncReport, WhatCouldNotBeWrittenStandsUnderItsOwnHeading)
{
    SyncReport report = completed();
    report.result.summary.needsSettling = true;
    report.result.summary.losses = {loss("/a.ics", KTLoss::Kind::unwritten),
                                    loss("/b.ics", KTLoss::Kind::curtailed)};
    report.result.summary.unproved = {"'Kino' (Kalender 'Privat')"};
    EXPECT_TRUE(isUnsettled(report.result));
    EXPECT_EQ(statusOfRun(report), "Nicht geschrieben: /a.ics und 1 weitere Stelle");
    const std::string text = textForReport(report);
    EXPECT_THAT(text, HasSubstr("Nicht geschrieben:\n  /a.ics: leer (Kalender 'Privat')\n"));
    EXPECT_THAT(text, HasSubstr("Nicht im Kalenderspeicher angekommen:\n"
                                "  'Kino' (Kalender 'Privat')\n"));
    EXPECT_THAT(text, HasSubstr("Nicht ganz geschrieben:\n  /b.ics: leer (Kalender 'Privat')\n"));
    EXPECT_THAT(text, Not(HasSubstr("Nicht gelesen")));
}

TEST(SyncReport, OfARunThatIsNotSettledHasTheReason)
{
    SyncReport report = completed();
    report.result.summary.needsSettling = true;
    report.result.reasons = {"Der Speicherplatz reicht nicht"};
    EXPECT_EQ(statusOfRun(report), "Der Speicherplatz reicht nicht");
    report.result.summary.settled = true;
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
    EXPECT_EQ(
        jsonText(jsonForReport(report)),
        "{\"completed\":true,\"status\":\"Die Synchronisierung wird angehalten: /0.ics bliebe "
        "beim Schreiben nicht erhalten\",\"pluginStatus\":\"3 Kalender\\n1 Ereignis, 0 Aufgaben\","
        "\"dryRun\":false,\"enabledNow\":false,\"restored\":false,\"device\":\"Büro\","
        "\"server\":\"sqlite:/k\",\"startResult\":1,\"held\":true,\"rewritten\":false,"
        "\"settled\":false,\"sent\":1,\"received\":0,\"deletedOnServer\":0,"
        "\"deletedHere\":2,\"refused\":0,\"losses\":[{\"kind\":\"unsafe\",\"calendar\":\"Privat\","
        "\"file\":\"/0.ics\",\"reason\":\"leer\"}],\"newlyUnread\":[],"
        "\"overwritten\":[],\"unproved\":[],\"reasons\":[]}");
}

}  // namespace
}  // namespace kt
