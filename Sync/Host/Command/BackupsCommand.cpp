#include <nlohmann/json.hpp>

#include "Sync/Foundation/CalendarDate.h"
#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/Host/Command/Commands.h"
#include "Sync/Host/Command/Output.h"
#include "Sync/Host/Command/Workplace.h"
#include "Sync/Host/Services/StoreBackups.h"

namespace kt {

namespace {

struct Listed {
    BackupName name;
    std::uint64_t size = 0;            // bytes
    std::optional<BackupFacts> facts;  // nullopt for a damaged one
    std::string failure;
};

Listed listed(const StoreBackups& backups, const BackupName& name)
{
    Listed entry{name, backups.size(name), std::nullopt, ""};
    try {
        entry.facts = backups.facts(name);
    } catch (const Exception& exception) {
        entry.failure = exception.reason();
    }
    return entry;
}

/// In the machine's own zone.
std::string dateText(const BackupName& name)
{
    const auto date = name.date();
    return date ? calendarDateOfInstant(*date, Platform::shared().localTimeZoneName())
                      .descriptionWithCalendarFormat("%d.%m.%Y %H:%M:%S")
                : "?";
}

Json dateJson(const BackupName& name)
{
    const auto date = name.date();
    return date ? Json(iso8601(*date)) : Json(nullptr);
}

/// "812 Bytes", "1,4 KB", "23,0 MB".
std::string sizeText(std::uint64_t bytes)
{
    constexpr double kStep = 1000;
    if (static_cast<double>(bytes) < kStep)
        return stringWithFormat("%d Bytes", bytes);
    double size = static_cast<double>(bytes) / kStep;
    std::string_view unit = "KB";
    for (const std::string_view larger : {"MB", "GB"}) {
        if (size < kStep)
            break;
        size /= kStep;
        unit = larger;
    }
    std::string text = stringWithFormat("%.1f %@", size, unit);
    text[text.find('.')] = ',';
    return text;
}

Json jsonFor(const Listed& entry)
{
    Json json = {{"name", entry.name.text()}, {"date", dateJson(entry.name)},
                 {"size", entry.size},        {"first", entry.name.isFirst()},
                 {"calendars", nullptr},      {"items", nullptr}};
    if (entry.facts) {
        json["calendars"] = entry.facts->calendars.size();
        json["items"] = entry.facts->items();
    } else {
        json["error"] = entry.failure;
    }
    return json;
}

std::vector<std::string> rowFor(const Listed& entry)
{
    if (!entry.facts)
        return {entry.name.text(), dateText(entry.name), sizeText(entry.size), "?", "?"};
    return {entry.name.text(), dateText(entry.name), sizeText(entry.size),
            std::to_string(entry.facts->calendars.size()), std::to_string(entry.facts->items())};
}

void printList(const CommandLine& line, const StoreBackups& backups)
{
    Json json = Json::array();
    std::vector<std::vector<std::string>> rows{{"Name", "Vom", "Größe", "Kalender", "Einträge"}};
    std::string failures;
    for (const BackupName& name : backups.all()) {
        const Listed entry = listed(backups, name);
        json.push_back(jsonFor(entry));
        rows.push_back(rowFor(entry));
        if (!entry.failure.empty())
            failures += entry.failure + "\n";
    }
    if (line.json)
        printResult(jsonText(json) + "\n");
    else
        printResult(rows.size() == 1 ? "Es gibt keine Sicherungskopien.\n"
                                     : tableText(rows) + failures);
}

std::string textFor(const Listed& entry)
{
    std::string text = stringWithFormat("%@, vom %@, %@\n", entry.name.text(), dateText(entry.name),
                                        sizeText(entry.size));
    std::vector<std::vector<std::string>> rows{{"Schlüssel", "Einträge", "Titel"}};
    for (const BackupCalendar& calendar : entry.facts->calendars)
        rows.push_back({calendar.recordKey.empty() ? calendar.sourceKey : calendar.recordKey,
                        std::to_string(calendar.items), calendar.title});
    text += rows.size() == 1 ? "Keine Kalender.\n" : tableText(rows);
    if (!entry.facts->unreadable.empty())
        text += "Nicht gesichert:\n";
    for (const std::string& path : entry.facts->unreadable)
        text += "  " + path + "\n";
    return text;
}

Json contentsJson(const Listed& entry)
{
    Json calendars = Json::array();
    for (const BackupCalendar& calendar : entry.facts->calendars)
        calendars.push_back({{"key", calendar.recordKey},
                             {"sourceKey", calendar.sourceKey},
                             {"title", calendar.title},
                             {"items", calendar.items}});
    return {{"name", entry.name.text()},
            {"date", dateJson(entry.name)},
            {"size", entry.size},
            {"calendars", calendars},
            {"unreadable", entry.facts->unreadable}};
}

void printContents(const CommandLine& line, const StoreBackups& backups)
{
    const BackupName name = backups.named(line.backupName);
    const Listed entry{name, backups.size(name), backups.facts(name), ""};
    printResult(line.json ? jsonText(contentsJson(entry)) + "\n" : textFor(entry));
}

}  // namespace

ExitCode backupsCommand(const CommandLine& line, const Place& place)
{
    const Workplace workplace(place, line, Workplace::Access::look);
    const StoreBackups backups(workplace.suite().backupsPath());
    if (line.backupName.empty())
        printList(line, backups);
    else
        printContents(line, backups);
    return ExitCode::done;
}

}  // namespace kt
