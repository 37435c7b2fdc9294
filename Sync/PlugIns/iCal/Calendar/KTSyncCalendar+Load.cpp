// Reads the item files of a calendar's folder into its two lists.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "Sync/Foundation/FileManager.h"
#include "Sync/HostInterface/Guard.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/HostInterface/StorePaths.h"
#include "Sync/PlugIns/iCal/Calendar/DigestTable.h"
#include "Sync/PlugIns/iCal/Calendar/ItemFile.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"
#include "Sync/PlugIns/iCal/Calendar/StoreLayout.h"
#include "Sync/PlugIns/iCal/Calendar/UnreadText.h"

namespace kt {

namespace {

constexpr std::string_view kBegin = "BEGIN:";
constexpr std::string_view kEnd = "END:";

void reportComponentLoss(std::string_view name)
{
    reportLoss(KTLoss::Kind::thinned,
               stringWithFormat("Komponente '%@' wird nicht übernommen", name));
}

/// Time zones are known by their names, so the definitions that files carry are not needed.
bool isTimeZonePart(std::string_view name)
{
    return name == "VTIMEZONE" || name == "STANDARD" || name == "DAYLIGHT";
}

/// What nobody took: the lines of a file around its items, or those of one item.
enum class LeftIn { file, item };

/// Goes through the lines that nobody took and tells of components, the outermost of each nest, and
/// of the first END without a BEGIN, behind which nothing is read.
class LeftLinesReport {
public:
    explicit LeftLinesReport(LeftIn place) : _place(place) {}

    void add(std::string_view line)
    {
        tellOfStrayEnd();
        if (line.starts_with(kBegin))
            begin(line.substr(kBegin.size()));
        else if (line.starts_with(kEnd))
            end(line.substr(kEnd.size()));
    }

    /// Behind a part of a time zone that is not closed properties are taken for its own.
    void finish() const
    {
        if (_timeZoneParts > 0 && stopsReading(_timeZonePart))
            reportLoss(KTLoss::Kind::thinned,
                       stringWithFormat("Komponente '%@' ohne END: was folgt, bleibt ungelesen",
                                        _timeZonePart));
    }

private:
    /// Whether an END too many hides what follows. Of a file, and of the alarms of an item, taking
    /// the components out has told already.
    bool stopsReading(std::string_view name) const
    {
        return _place == LeftIn::item && name != "VALARM";
    }

    /// Only once there is a line behind it.
    void tellOfStrayEnd()
    {
        if (_strayEnd && !std::exchange(_hasTold, true))
            reportLoss(KTLoss::Kind::thinned,
                       stringWithFormat("Ende ohne Anfang: END:%@, was folgt, bleibt ungelesen",
                                        *_strayEnd));
    }

    void begin(std::string_view name)
    {
        if (_depth > 0) {
            _depth += name == _open ? 1 : 0;
        } else if (name == "VCALENDAR") {
            reportLoss(KTLoss::Kind::thinned,
                       "Zweiter VCALENDAR: seine Eigenschaften werden nicht übernommen");
        } else if (isTimeZonePart(name)) {
            ++_timeZoneParts;
            _timeZonePart = name;
        } else {
            reportComponentLoss(name);
            _open = name;
            _depth = 1;
        }
    }

    void end(std::string_view name)
    {
        if (_depth > 0)
            _depth -= name == _open ? 1 : 0;
        else if (isTimeZonePart(name) && _timeZoneParts > 0)
            --_timeZoneParts;
        else if (!_strayEnd && stopsReading(name))
            _strayEnd = name;
    }

    LeftIn _place;
    std::string_view _open;
    std::size_t _depth = 0;  // of components named as the open one
    std::size_t _timeZoneParts = 0;
    std::string_view _timeZonePart;  // the last that began
    std::optional<std::string_view> _strayEnd;
    bool _hasTold = false;
};

void reportLeftLines(const LineList& lines)
{
    LeftLinesReport report(LeftIn::item);
    for (std::string_view line : lines)
        report.add(line);
    report.finish();
}

void reportLeftLines(const FileLines& lines)
{
    LeftLinesReport report(LeftIn::file);
    lines.forEach([&](std::string_view line) { report.add(line); });
    report.finish();
}

/// What two copies of one event may differ in without anything being lost with the second.
Dictionary withoutRevision(Dictionary record)
{
    for (std::string_view key :
         {"Sequence", "DateStamp", "RecurrenceParentRecordKey", "RecurrenceExceptionDates"})
        record.remove(key);
    return record;
}

/// Tells whether events of one digest are copies. What an event is compared by is made once for all
/// its copies: it may be large, and they may be many and small.
class CopyCheck {
public:
    bool isCopyOf(const KTSyncEvent& first, const KTSyncEvent& second)
    {
        return guardedOr(
            [&] {
                auto known = _firsts.find(&first);
                if (known == _firsts.end())
                    known = _firsts.emplace(&first, withoutRevision(first.syncRecord())).first;
                return known->second == withoutRevision(second.syncRecord());
            },
            [](const Exception&) { return false; });
    }

private:
    std::unordered_map<const KTSyncEvent*, Dictionary> _firsts;
};

/// A UID may have come twice and is an array then, which is no text but as good a name.
std::string nameOfUID(const Value& uid) { return (uid.isString() ? "s" : "v") + uid.description(); }

}  // namespace

/// One run over a calendar's files. Copies of an event are found across files, the occurrences of a
/// series within one.
class KTSyncCalendar::Loading {
public:
    Loading(KTSyncCalendar& calendar, std::size_t fileCount)
        : _calendar(calendar),
          _helper(calendar._pluginHelper),
          _logger(calendar.fileLogger()),
          _parentKey(calendar._recordKey)
    {
        _known.reserve(fileCount);  // one event a file in the newer layout
    }

    void loadFile(const std::string& path)
    {
        const LossScope scope(_calendar._title.value_or(""), path);
        const std::optional<std::string> text = itemFileText(path);
        if (!text && !FileManager::defaultManager().fileExistsAtPath(path)) {
            logMsg(_helper, "'%@' existiert nicht", path);
            reportUnread({KTLoss::Extent::file}, "Datei existiert nicht");
        } else if (!text) {
            refuseEmptyFile("Datei ist leer, nicht lesbar oder kein UTF-8");
        } else {
            std::string_view lines = *text;
            if (opensCalendar(lines))
                loadItems(FileLines(lines));
        }
    }

private:
    /// One component as it stands in the file, for the log: making an item empties its lines.
    struct AsRead {
        std::string description() const { return all[index].description(); }

        const FileComponents& all;
        std::size_t index;
    };

    void refuseEmptyFile(std::string_view reason) const
    {
        logMsg(_helper, "Leere iCalendar-Datei fuer Kalender '%@'", _calendar._title);
        reportUnread({KTLoss::Extent::file}, reason);
    }

    /// Leaves what stands inside the calendar.
    bool opensCalendar(std::string_view& text) const
    {
        if (!beginsCalendar(text)) {
            logMsg(_helper, "Fehlerhafte iCalendar-Datei fuer '%@': kein BEGIN:VCALENDAR",
                   _calendar._title);
            reportUnread({KTLoss::Extent::file}, "Datei beginnt nicht mit BEGIN:VCALENDAR");
            return false;
        }
        reportHiddenComponents(text);
        switch (removeEnvelope(text)) {
        case Envelope::filled:
            return true;
        case Envelope::empty:
            refuseEmptyFile("Datei enthält nichts");
            return false;
        case Envelope::notClosed:
            refuseEmptyFile("END:VCALENDAR fehlt");
            return false;
        }
        return false;
    }

    void loadItems(FileLines lines)
    {
        _firstEventOfFile = _calendar._events->size();
        _occurrences.clear();
        const FileComponents events =
            KTSyncCalendarTools::findAndRemoveComponents("VEVENT", lines, _logger);
        makeRoomForEvents(events.size());
        loadComponents(events, "[ICalCalendar loadEvents(event)]: '%@'\n%@", &Loading::loadEvent);
        linkOccurrences();
        loadComponents(KTSyncCalendarTools::findAndRemoveComponents("VTODO", lines, _logger),
                       "[ICalCalendar loadEvents(task)]: '%@'\n%@", &Loading::loadTask);
        reportLeftLines(lines);
    }

    /// Grows once for a file of many events, not over and over; small files grow as they go.
    void makeRoomForEvents(std::size_t count)
    {
        Events& events = *_calendar._events;
        if (count <= events.size())
            return;
        _known.reserve(events.size() + count);
        events.reserve(events.size() + count);
    }

    void loadComponents(const FileComponents& components, std::string_view failure,
                        void (Loading::*load)(LineList&, const AsRead&))
    {
        LineList component;
        for (std::size_t index = 0; index < components.size(); ++index) {
            const AsRead asRead{components, index};
            components.putLines(index, component);
            reportCutKeys(component);
            guarded(
                _logger, failure, [&] { return asRead.description(); },
                [&] { (this->*load)(component, asRead); });
            reportLeftLines(component);
        }
    }

    void loadEvent(LineList& component, const AsRead& asRead)
    {
        auto event = KTSyncEvent::syncEventWithPluginHelper(_helper, _parentKey, component);
        if (!event) {
            logMsg(_helper, "Leeres Ereignis aus:\n%@", asRead.description());
            return;
        }
        Events& events = *_calendar._events;
        const auto position = static_cast<std::uint32_t>(events.size());
        const std::uint32_t known =
            _known.enter(*event->uniquenessDigest(), position,
                         [&](std::uint32_t at) { return *events[at]->uniquenessDigest(); });
        if (known != position) {
            logMsg(_helper, "Doppeltes Ereignis:\n%@", asRead.description());
            if (!_copies.isCopyOf(*events[known], *event))
                reportUnread({KTLoss::Extent::component},
                             "Doppeltes Ereignis, das vom ersten abweicht, wird nicht übernommen");
            return;
        }
        if (!event->recurrenceRule() && event->recurrenceId() && !event->uid().isNil())
            _occurrences.push_back(event.get());
        events.push_back(std::move(event));
    }

    /// The series of this file by their UIDs, asked for only where there are occurrences.
    std::unordered_map<std::string, KTSyncEvent*> seriesByUID() const
    {
        std::unordered_map<std::string, KTSyncEvent*> series;
        const Events& events = *_calendar._events;
        for (std::size_t index = _firstEventOfFile; index < events.size(); ++index) {
            if (events[index]->recurrenceRule() && !events[index]->uid().isNil())
                series[nameOfUID(events[index]->uid())] = events[index].get();
        }
        return series;
    }

    void linkOccurrences() const
    {
        if (_occurrences.empty())
            return;
        const auto seriesOfFile = seriesByUID();
        for (KTSyncEvent* occurrence : _occurrences) {
            const auto series = seriesOfFile.find(nameOfUID(occurrence->uid()));
            if (series == seriesOfFile.end())
                continue;
            occurrence->setRecurrenceParentRecordKey(series->second->recordKey());
            series->second->addRecurrenceExceptionDate(occurrence->recurrenceId());
        }
    }

    void loadTask(LineList& component, const AsRead& asRead)
    {
        auto task = KTSyncTask::syncTaskWithPluginHelper(_helper, _parentKey, component);
        if (task)
            _calendar._tasks->push_back(std::move(task));
        else
            logMsg(_helper, "Leere Aufgabe aus:\n%@", asRead.description());
    }

    KTSyncCalendar& _calendar;
    KTSyncPluginHelper* _helper;
    KTFileLogger* _logger;
    const Value _parentKey;  // one text for all items
    DigestTable _known;      // where the events stand, by what makes them unique
    CopyCheck _copies;
    std::size_t _firstEventOfFile = 0;
    std::vector<KTSyncEvent*> _occurrences;  // of this file, detached; the calendar owns them
};

std::optional<std::string> KTSyncCalendar::itemsFolder() const
{
    const std::optional<std::string> folder = corestoragePath();
    const auto layout = StoreLayout::ofHost(_pluginHelper);
    return folder && layout ? layout->itemsFolder(*folder) : folder;
}

bool KTSyncCalendar::loadEventsAndTasks()
{
    const std::optional<std::string> folder = itemsFolder();
    if (!folder) {
        logMsg(_pluginHelper, "loadEventsAndTasks: _corestoragePath == nil");
        return false;
    }
    if (!_events)
        _events.emplace();
    if (!_tasks)
        _tasks.emplace();
    const FileManager& files = FileManager::defaultManager();
    const auto names = files.listDirectory(*folder);
    if (!names && files.linkStatusAtPath(*folder)) {
        const LossScope scope(_title.value_or(""), *folder);
        reportUnread({KTLoss::Extent::calendar}, "Ordner kann nicht gelesen werden");
    }
    if (!names || names->empty()) {
        logMsg(_pluginHelper, "Es gibt keine Dateien fuer '%@' in '%@'", _title, folder);
        return true;
    }
    loadItemFiles(*folder, *names);
    return true;
}

void KTSyncCalendar::loadItemFiles(const std::string& folder, const std::vector<std::string>& names)
{
    Loading loading(*this, names.size());
    for (const std::string& name : names) {
        if (pathExtension(name) != StorePaths::itemFileExtension)
            continue;
        const std::string path = stringByAppendingPathComponent(folder, name);
        try {
            loading.loadFile(path);
        } catch (const Exception& exception) {
            logMsg(_pluginHelper, "[ICalCalendar loadEvents] fuer '%@': %@", _title,
                   exception.description());
            const LossScope scope(_title.value_or(""), path);
            reportUnread({KTLoss::Extent::calendar},
                         stringWithFormat("Kalender abgebrochen: %@", exception.description()));
            throw;
        }
    }
}

/// A list that was only filled in part would pass for the whole calendar, so it goes as well.
void KTSyncCalendar::loadBothLists()
{
    const auto drop = [&] {
        _events.reset();
        _tasks.reset();
    };
    _events.emplace();
    _tasks.emplace();
    try {
        if (!loadEventsAndTasks())
            drop();
    } catch (const Exception&) {
        drop();
        throw;
    }
}

}  // namespace kt
