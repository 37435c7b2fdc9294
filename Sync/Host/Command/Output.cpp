#include "Sync/Host/Command/Output.h"

#include <algorithm>
#include <array>

#include <nlohmann/json.hpp>
#include <unistd.h>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/FileDescriptor.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Host/Services/StatusLine.h"

namespace kt {

namespace {

/// How a kind of loss is spoken of.
struct KindWords {
    KTLoss::Kind kind;
    std::string_view name;
    std::string_view heading;
    std::string_view one;  // behind "1 Stelle"
    std::string_view many;
};

/// What holds most comes first.
constexpr std::array kKindWords{
    KindWords{KTLoss::Kind::unsafe, "unsafe", "Hält die Synchronisierung an:",
              "hält die Synchronisierung an", "halten die Synchronisierung an"},
    KindWords{KTLoss::Kind::unread, "unread", "Bleibt unverändert liegen:",
              "bleibt unverändert liegen", "bleiben unverändert liegen"},
    KindWords{KTLoss::Kind::unwritten, "unwritten", "Konnte nicht geschrieben werden:",
              "konnte nicht geschrieben werden", "konnten nicht geschrieben werden"},
    KindWords{KTLoss::Kind::curtailed, "curtailed", "Geschrieben, aber nicht in allem:",
              "ist nicht in allem geschrieben", "sind nicht in allem geschrieben"},
    KindWords{KTLoss::Kind::thinned, "thinned", "Gelesen, aber nicht in allem:",
              "ist nicht in allem gelesen", "sind nicht in allem gelesen"},
};

const KindWords& wordsFor(KTLoss::Kind kind)
{
    const auto found = std::find_if(kKindWords.begin(), kKindWords.end(),
                                    [kind](const KindWords& words) { return words.kind == kind; });
    return found == kKindWords.end() ? kKindWords.front() : *found;
}

std::size_t countOf(const std::vector<KTLoss>& losses, KTLoss::Kind kind)
{
    return static_cast<std::size_t>(
        std::count_if(losses.begin(), losses.end(),
                      [kind](const KTLoss& loss) { return loss.kind == kind; }));
}

}  // namespace

std::string jsonText(const Json& json)
{
    constexpr int kOnOneLine = -1;
    constexpr bool kUTF8 = false;
    return json.dump(kOnOneLine, ' ', kUTF8, Json::error_handler_t::replace);
}

void printResult(std::string_view text)
{
    if (!writeFully(STDOUT_FILENO, text))
        throw Exception(NSGenericException, "Das Ergebnis kann nicht ausgegeben werden.");
}

std::string_view nameOfLossKind(KTLoss::Kind kind) { return wordsFor(kind).name; }

std::string_view headingForLossKind(KTLoss::Kind kind) { return wordsFor(kind).heading; }

KTLoss::Kind lossKindNamed(std::string_view name)
{
    const auto found = std::find_if(kKindWords.begin(), kKindWords.end(),
                                    [name](const KindWords& words) { return words.name == name; });
    return found == kKindWords.end() ? KTLoss::Kind::unread : found->kind;
}

bool isRemark(KTLoss::Kind kind)
{
    return kind == KTLoss::Kind::thinned || kind == KTLoss::Kind::curtailed;
}

bool isRemark(const KTLoss& loss) { return isRemark(loss.kind); }

Json jsonForLosses(const std::vector<KTLoss>& losses)
{
    Json all = Json::array();
    for (const KTLoss& loss : losses)
        all.push_back({{"kind", nameOfLossKind(loss.kind)},
                       {"calendar", loss.calendar},
                       {"file", loss.file},
                       {"reason", loss.reason}});
    return all;
}

Json jsonForLossCounts(const std::vector<KTLoss>& losses)
{
    Json counts = Json::object();
    for (const KindWords& words : kKindWords)
        counts[std::string(words.name)] = countOf(losses, words.kind);
    return counts;
}

std::string textForLosses(const std::vector<KTLoss>& losses)
{
    std::string text;
    for (const KindWords& words : kKindWords) {
        if (countOf(losses, words.kind) == 0)
            continue;
        text += std::string(words.heading) + "\n";
        for (const KTLoss& loss : losses)
            if (loss.kind == words.kind)
                text += "  " + lineForLoss(loss) + "\n";
    }
    return text;
}

std::string sentenceForLossCounts(const std::vector<KTLoss>& losses)
{
    std::string sentence;
    for (const KindWords& words : kKindWords) {
        const std::size_t count = countOf(losses, words.kind);
        if (count == 0)
            continue;
        sentence += (sentence.empty() ? "" : ", ") + counted(count, "Stelle ", "Stellen ") +
                    std::string(count == 1 ? words.one : words.many);
    }
    return sentence.empty() ? "" : sentence + ".";
}

std::string lineForLoss(const KTLoss& loss)
{
    std::string line = loss.file.empty() ? loss.reason : loss.file + ": " + loss.reason;
    if (!loss.calendar.empty())
        line += stringWithFormat(" (Kalender '%@')", loss.calendar);
    return line;
}

std::string counted(std::size_t count, std::string_view one, std::string_view many)
{
    return stringWithFormat("%d %@", count, count == 1 ? one : many);
}

std::string tableText(const std::vector<std::vector<std::string>>& rows)
{
    if (rows.empty())
        return "";
    std::vector<std::size_t> widths(rows.front().size());
    for (const auto& row : rows)
        for (std::size_t column = 0; column < row.size(); ++column)
            widths[column] = std::max(widths[column], columnsOfText(row[column]));
    std::string text;
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t column = 0; column < row.size(); ++column) {
            line += row[column];
            line.append(widths[column] - columnsOfText(row[column]) + 2, ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + '\n';
    }
    return text;
}

}  // namespace kt
