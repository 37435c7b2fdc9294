#include "Sync/Host/Command/Output.h"

#include <algorithm>

#include <nlohmann/json.hpp>
#include <unistd.h>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/FileDescriptor.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Host/Services/StatusLine.h"

namespace kt {

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

std::string_view nameOfLossKind(KTLoss::Kind kind)
{
    switch (kind) {
    case KTLoss::Kind::thinned:
        return "thinned";
    case KTLoss::Kind::unread:
        return "unread";
    case KTLoss::Kind::unsafe:
        return "unsafe";
    case KTLoss::Kind::unwritten:
        return "unwritten";
    case KTLoss::Kind::curtailed:
        return "curtailed";
    }
    return "";
}

std::string_view headingForLossKind(KTLoss::Kind kind)
{
    switch (kind) {
    case KTLoss::Kind::thinned:
        return "Gelesen, aber nicht in allem:";
    case KTLoss::Kind::unread:
        return "Bleibt unverändert liegen:";
    case KTLoss::Kind::unsafe:
        return "Hält die Synchronisierung an:";
    case KTLoss::Kind::unwritten:
        return "Nicht geschrieben:";
    case KTLoss::Kind::curtailed:
        return "Nicht ganz geschrieben:";
    }
    return "";
}

std::string listed(std::string_view heading, const std::vector<std::string>& lines)
{
    if (lines.empty())
        return "";
    std::string text(heading);
    text += '\n';
    for (const std::string& line : lines)
        text += "  " + line + "\n";
    return text;
}

std::string listedLosses(std::string_view heading, const std::vector<KTLoss>& losses)
{
    std::vector<std::string> lines;
    for (const KTLoss& loss : losses)
        lines.push_back(lineForLoss(loss));
    return listed(heading, lines);
}

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
