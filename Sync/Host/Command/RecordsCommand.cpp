#include <nlohmann/json.hpp>

#include "Sync/Host/Command/Commands.h"
#include "Sync/Host/Command/Look.h"
#include "Sync/Host/Command/Output.h"
#include "Sync/Host/Command/RecordJson.h"

namespace kt {

namespace {

std::string numbers(const Look& look, const CommandLine& line)
{
    const std::size_t calendars = look.count(kConduitCalendar);
    const std::size_t events = look.count(kConduitEvent);
    const std::size_t tasks = look.count(kConduitTask);
    if (line.json)
        return jsonText({{"calendars", calendars}, {"events", events}, {"tasks", tasks}}) + "\n";
    return counted(calendars, "Kalender", "Kalender") + ", " +
           counted(events, "Ereignis", "Ereignisse") + ", " +
           counted(tasks, "Aufgabe", "Aufgaben") + "\n";
}

/// One array, one record a line; no more than one record stands in memory as JSON at a time.
std::string everything(const StoreContents& contents)
{
    std::string text = "[";
    const char* separator = "\n";
    for (const SyncRecordList* records : {&contents.active, &contents.switchedOff})
        for (const SyncRecord& record : *records) {
            text += separator;
            text += jsonText(jsonForRecord(*record));
            separator = ",\n";
        }
    return text + "\n]\n";
}

/// The program ends with this answer; to give thousands of records back to the heap one by one
/// would only delay it.
const Look& keptToTheEnd(std::unique_ptr<const Look> look)
{
    static const Look* kept = look.release();
    return *kept;
}

}  // namespace

ExitCode recordsCommand(const CommandLine& line, const Place& place)
{
    Workplace workplace(place, line, Workplace::Access::look);
    const Look& look = keptToTheEnd(std::make_unique<const Look>(workplace));
    warnOfLosses(workplace, look);
    printResult(line.countOnly ? numbers(look, line) : everything(look.contents()));
    return ExitCode::done;
}

}  // namespace kt
