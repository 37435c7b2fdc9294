#include "Sync/Host/Command/SyncReport.h"

#include <nlohmann/json.hpp>

#include "Sync/Foundation/Format.h"
#include "Sync/Host/Engine/HostLossReport.h"

namespace kt {

namespace {

using Kind = KTLoss::Kind;

std::vector<KTLoss> lossesOf(const SyncRunSummary& summary, Kind kind)
{
    return lossesOfKind(summary.losses, kind);
}

/// "a.ics" oder "a.ics und 2 weitere Stellen".
std::string firstAndNumber(const std::string& first, std::size_t count)
{
    if (count < 2)
        return first;
    return first + " und " + counted(count - 1, "weitere Stelle", "weitere Stellen");
}

std::string placeOf(const KTLoss& loss) { return loss.file.empty() ? loss.reason : loss.file; }

std::string countsOf(const SyncRunSummary& summary)
{
    return stringWithFormat("Zum Server: %@, %@\nVom Server: %@, %@\n",
                            counted(summary.sent, "Datensatz", "Datensätze"),
                            counted(summary.deletedOnServer, "Löschung", "Löschungen"),
                            counted(summary.received, "Datensatz", "Datensätze"),
                            counted(summary.deletedHere, "Löschung", "Löschungen"));
}

/// What of the texts concerns the user, each kind under its own heading.
std::string textForLosses(const SyncRunSummary& summary)
{
    const auto unsafe = lossesOf(summary, Kind::unsafe);
    std::string text;
    if (summary.held && !unsafe.empty())
        text += listedLosses(headingForLossKind(Kind::unsafe), unsafe) +
                "Nichts wurde überschrieben. \"icalsync check --repair\" bringt das nach einer "
                "Sicherung in Ordnung.\n";
    else
        text += listedLosses("Ist nur noch in der Sicherungskopie sicher:", unsafe);
    if (!summary.newlyUnread.empty())
        text += listedLosses(headingForLossKind(Kind::unread), summary.newlyUnread) +
                "Bitte reparieren oder entfernen; \"icalsync sync --accept-losses\" schreibt den "
                "zuletzt bekannten Inhalt darüber (der Text bleibt in der Sicherungskopie).\n";
    text += listedLosses("Mit dem zuletzt bekannten Inhalt überschrieben:", summary.overwritten);
    text += listedLosses(headingForLossKind(Kind::unwritten), lossesOf(summary, Kind::unwritten));
    text += listed("Nicht im Kalenderspeicher angekommen:", summary.unproved);
    text += listedLosses(headingForLossKind(Kind::curtailed), lossesOf(summary, Kind::curtailed));
    if (const std::size_t remarks =
            lossesOf(summary, Kind::thinned).size() + summary.remarksLeftOut)
        text += stringWithFormat("%@ gelesen, aber nicht in allem; mehr dazu: icalsync check\n",
                                 counted(remarks, "Stelle wurde", "Stellen wurden"));
    return text;
}

/// Of a run that rewrote the store without being able to prove it.
std::string statusOfUnsettled(const SyncRunResult& result)
{
    const SyncRunSummary& summary = result.summary;
    const auto unwritten = lossesOf(summary, Kind::unwritten);
    const std::size_t count = unwritten.size() + summary.unproved.size();
    if (!unwritten.empty())
        return "Nicht geschrieben: " + firstAndNumber(placeOf(unwritten.front()), count);
    if (!summary.unproved.empty())
        return "Nicht im Kalenderspeicher angekommen: " +
               firstAndNumber(summary.unproved.front(), count);
    return result.reasons.empty() ? "Das Schreiben der Kalender konnte nicht geprüft werden"
                                  : result.reasons.front();
}

}  // namespace

bool isUnsettled(const SyncRunResult& result)
{
    return result.summary.needsSettling && !result.summary.settled;
}

std::string statusOfRun(const SyncReport& report)
{
    const SyncRunResult& result = report.result;
    const auto unsafe = lossesOf(result.summary, Kind::unsafe);
    if (result.summary.held && !unsafe.empty())
        return "Die Synchronisierung wird angehalten: " +
               firstAndNumber(placeOf(unsafe.front()), unsafe.size()) +
               (unsafe.size() == 1 ? " bliebe" : " blieben") + " beim Schreiben nicht erhalten";
    if (isUnsettled(result))
        return statusOfUnsettled(result);
    if (result.isCompleted)
        return report.wishes.dryRun ? "Probelauf: es wurde nichts geändert"
                                    : "Die iCal-Kalender wurden synchronisiert";
    // Before or without a session the plug-in has no words for what happened; the host has.
    if (!result.reasons.empty())
        return result.reasons.front();
    return result.status.empty() ? "Die Synchronisierung wurde nicht gestartet" : result.status;
}

std::string textForReport(const SyncReport& report)
{
    const SyncRunResult& result = report.result;
    std::string text;
    if (report.wasSwitchedOn)
        text += report.wishes.dryRun ? "Die iCal-Synchronisierung würde eingeschaltet.\n"
                                     : "Die iCal-Synchronisierung wurde eingeschaltet.\n";
    if (result.wasRestored)
        text +=
            "Die Kalender konnten nicht geladen werden; die Sicherungskopie von vor dem "
            "letzten Schreiben wurde zurückgeholt.\n";
    text += statusOfRun(report) + "\n";
    if (result.isCompleted) {
        text += result.status + "\n";
        text += countsOf(result.summary);
    }
    text += listed("Zum Server ginge:", report.goingUp);
    text += listed("Vom Server käme:", report.comingDown);
    text += textForLosses(result.summary);
    std::vector<std::string> hints = result.reasons;
    std::erase(hints, statusOfRun(report));
    text += listed("Hinweise:", hints);
    return text;
}

Json jsonForReport(const SyncReport& report)
{
    const SyncRunResult& result = report.result;
    const SyncRunSummary& summary = result.summary;
    Json json = {{"completed", result.isCompleted},
                 {"status", statusOfRun(report)},
                 {"pluginStatus", result.status},
                 {"dryRun", report.wishes.dryRun},
                 {"enabledNow", report.wasSwitchedOn},
                 {"restored", result.wasRestored},
                 {"device", report.device},
                 {"server", report.server},
                 {"startResult", summary.startResult},
                 {"held", summary.held},
                 {"rewritten", summary.rewriteExpected},
                 {"settled", summary.settled},
                 {"sent", summary.sent},
                 {"received", summary.received},
                 {"deletedOnServer", summary.deletedOnServer},
                 {"deletedHere", summary.deletedHere},
                 {"refused", summary.refused},
                 {"losses", jsonForLosses(summary.losses)},
                 {"newlyUnread", jsonForLosses(summary.newlyUnread)},
                 {"overwritten", jsonForLosses(summary.overwritten)},
                 {"unproved", summary.unproved},
                 {"reasons", result.reasons}};
    if (report.wishes.dryRun) {
        json["goingUp"] = report.goingUp;
        json["comingDown"] = report.comingDown;
    }
    return json;
}

}  // namespace kt
