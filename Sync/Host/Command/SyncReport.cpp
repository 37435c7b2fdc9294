#include "Sync/Host/Command/SyncReport.h"

#include <nlohmann/json.hpp>

#include "Sync/Foundation/Format.h"

namespace kt {

namespace {

/// "a.ics" oder "a.ics und 2 weitere Stellen".
std::string firstLossAndNumber(const std::vector<KTLoss>& losses)
{
    const KTLoss& first = losses.front();
    std::string text = first.file.empty() ? first.reason : first.file;
    if (losses.size() > 1)
        text += " und " + counted(losses.size() - 1, "weitere Stelle", "weitere Stellen");
    return text;
}

std::string listed(std::string_view heading, const std::vector<std::string>& lines)
{
    std::string text(heading);
    text += '\n';
    for (const std::string& line : lines)
        text += "  " + line + "\n";
    return lines.empty() ? "" : text;
}

std::vector<std::string> linesForLosses(const std::vector<KTLoss>& losses)
{
    std::vector<std::string> lines;
    for (const KTLoss& loss : losses)
        lines.push_back(lineForLoss(loss));
    return lines;
}

std::string countsOf(const SyncRunSummary& summary)
{
    return stringWithFormat("Zum Server: %@, %@\nVom Server: %@, %@\n",
                            counted(summary.sent, "Datensatz", "Datensätze"),
                            counted(summary.deletedOnServer, "Löschung", "Löschungen"),
                            counted(summary.received, "Datensatz", "Datensätze"),
                            counted(summary.deletedHere, "Löschung", "Löschungen"));
}

std::string advice(const SyncReport& report)
{
    if (!report.result.summary.held)
        return "";
    return "Nichts wurde überschrieben. Sind die Dateien repariert, geht es von selbst weiter; "
           "\"icalsync sync --accept-losses\" macht ohne sie weiter.\n";
}

}  // namespace

std::string statusOfRun(const SyncReport& report)
{
    const SyncRunResult& result = report.result;
    if (result.summary.held && !result.summary.losses.empty())
        return "Die Synchronisierung wird angehalten: " +
               firstLossAndNumber(result.summary.losses) +
               (result.summary.losses.size() == 1 ? " kann" : " können") + " nicht gelesen werden";
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
    text += listed("Nicht gelesen:", linesForLosses(result.summary.losses));
    text += advice(report);
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
                 {"reasons", result.reasons}};
    if (report.wishes.dryRun) {
        json["goingUp"] = report.goingUp;
        json["comingDown"] = report.comingDown;
    }
    return json;
}

}  // namespace kt
