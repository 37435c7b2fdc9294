#include "Sync/Host/Command/SyncReport.h"

#include <algorithm>
#include <iterator>

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

std::vector<KTLoss> ofKind(const std::vector<KTLoss>& losses, KTLoss::Kind kind)
{
    std::vector<KTLoss> found;
    std::copy_if(losses.begin(), losses.end(), std::back_inserter(found),
                 [kind](const KTLoss& loss) { return loss.kind == kind; });
    return found;
}

/// What is worth a line of its own in a run: what holds it, what could not be written, and what is
/// unread since this run.
std::vector<KTLoss> lossesToShow(const SyncRunSummary& summary)
{
    std::vector<KTLoss> shown = summary.newlyUnread;
    for (const KTLoss& loss : summary.losses) {
        if (loss.kind != KTLoss::Kind::unread && loss.kind != KTLoss::Kind::thinned)
            shown.push_back(loss);
    }
    return shown;
}

/// How many places are no news.
std::string sentenceForKnownLosses(const SyncRunSummary& summary)
{
    std::vector<KTLoss> known = ofKind(summary.losses, KTLoss::Kind::thinned);
    const auto unread = ofKind(summary.losses, KTLoss::Kind::unread);
    known.insert(known.end(), unread.begin(), unread.end());
    const std::string sentence = sentenceForLossCounts(known);
    return sentence.empty() ? "" : sentence + " Mehr dazu: icalsync check\n";
}

std::string linesForOverwritten(const std::vector<KTLoss>& losses)
{
    std::string text;
    for (const KTLoss& loss : losses)
        text += "  " + lineForLoss(loss) + "\n";
    return text.empty() ? ""
                        : "Durch den letzten bekannten Stand ersetzt, der Text steht in der "
                          "Sicherungskopie:\n" +
                              text;
}

std::string countsOf(const SyncRunSummary& summary)
{
    return stringWithFormat("Zum Server: %@, %@\nVom Server: %@, %@\n",
                            counted(summary.sent, "Datensatz", "Datensätze"),
                            counted(summary.deletedOnServer, "Löschung", "Löschungen"),
                            counted(summary.received, "Datensatz", "Datensätze"),
                            counted(summary.deletedHere, "Löschung", "Löschungen"));
}

std::string advice(const SyncRunSummary& summary)
{
    if (summary.held)
        return "Nichts wurde überschrieben. \"icalsync check --repair\" benennt Ordner nach ihren "
               "Schlüsseln; danach geht es von selbst weiter.\n";
    if (summary.newlyUnread.empty())
        return "";
    return "Was unverändert liegen bleibt, wird weder gelöscht noch überschrieben. Ist die Datei "
           "repariert oder entfernt, geht es von selbst weiter; \"icalsync sync "
           "--accept-losses\" schreibt den letzten bekannten Stand darüber.\n";
}

}  // namespace

bool isUnsettled(const SyncRunResult& result)
{
    return result.summary.needsSettling && !result.summary.settled;
}

std::string statusOfRun(const SyncReport& report)
{
    const SyncRunResult& result = report.result;
    const auto unsafe = ofKind(result.summary.losses, KTLoss::Kind::unsafe);
    if (result.summary.held && !unsafe.empty())
        return "Die Synchronisierung wird angehalten: " + firstLossAndNumber(unsafe);
    if (result.isCompleted && isUnsettled(result) && !result.reasons.empty())
        return result.reasons.front();
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
    text += textForLosses(lossesToShow(result.summary));
    text += linesForOverwritten(result.summary.overwritten);
    text += listed("Nicht angekommen:", result.summary.unproved);
    text += sentenceForKnownLosses(result.summary);
    text += advice(result.summary);
    std::vector<std::string> hints = result.summary.notices;
    hints.insert(hints.end(), result.reasons.begin(), result.reasons.end());
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
                 {"notices", summary.notices},
                 {"reasons", result.reasons}};
    if (report.wishes.dryRun) {
        json["goingUp"] = report.goingUp;
        json["comingDown"] = report.comingDown;
    }
    return json;
}

}  // namespace kt
