// Reads the item files of a calendar's folder into its two lists.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "Sync/Foundation/Digest.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/HostInterface/Guard.h"
#include "Sync/HostInterface/KTCarefulWriting.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/HostInterface/StorePaths.h"
#include "Sync/PlugIns/iCal/Calendar/DigestTable.h"
#include "Sync/PlugIns/iCal/Calendar/EarlierItems.h"
#include "Sync/PlugIns/iCal/Calendar/EventCopies.h"
#include "Sync/PlugIns/iCal/Calendar/FileIdentity.h"
#include "Sync/PlugIns/iCal/Calendar/ItemFile.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"
#include "Sync/PlugIns/iCal/Calendar/LeftLines.h"
#include "Sync/PlugIns/iCal/Calendar/StoreLayout.h"
#include "Sync/PlugIns/iCal/Calendar/UnreadText.h"

namespace kt {

namespace {

std::string digestOfFile(const std::string& path)
{
    return hexText(
        sha1DigestBytes(FileManager::defaultManager().contentsAtPath(path).value_or("")));
}

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
        if (hostClass<KTCarefulWriting>() != nullptr)
            _sources = &_calendar._sources.emplace();
    }

    /// The file's items as they were found in it earlier.
    void takeOver(const EarlierItems::File& file)
    {
        _sources->files.push_back(file.source);
        const auto number = static_cast<std::uint32_t>(_sources->files.size() - 1);
        const auto itemOf = [&](const LoadedItem& item) {
            return ItemSources::Item{{number, item.place.offset, item.place.length}, &item};
        };
        for (const LoadedItem& event : file.events) {
            _calendar._events->push_back(nullptr);
            _sources->events.push_back(itemOf(event));
            _known.enter(event.uniqueness,
                         static_cast<std::uint32_t>(_calendar._events->size() - 1),
                         [&](std::uint32_t at) { return uniquenessOf(at); });
        }
        for (const LoadedItem& task : file.tasks) {
            _calendar._tasks->push_back(nullptr);
            _sources->tasks.push_back(itemOf(task));
        }
    }

    void loadFile(const std::string& path)
    {
        const std::uint64_t lossesBefore = lossesTold();
        const std::optional<FileStatus> status = readFile(path);
        if (_sources != nullptr && status && isLongUnchanged(*status, _begun) &&
            lossesTold() == lossesBefore && !_hasCopiesInFile)
            _sources->files.back().identity = fileIdentity(*status);
    }

private:
    /// Its status, where there is text.
    std::optional<FileStatus> readFile(const std::string& path)
    {
        const LossScope scope(_calendar._title.value_or(""), path);
        FileStatus status;
        const std::optional<std::string> text = itemFileText(path, status);
        _path = path;
        _text = text ? std::string_view(*text) : std::string_view();
        _hasCopiesInFile = false;
        if (_sources != nullptr)
            _sources->files.push_back({path, text ? hashOfItemText(*text) : 0});
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
        return text ? std::optional(status) : std::nullopt;
    }

    /// One component as it stands in the file, for the log: making an item empties its lines.
    struct AsRead {
        std::string description() const { return all[index].description(); }

        const FileComponents& all;
        std::size_t index;
        std::string_view name;  // of the component
    };

    static std::string digestOf(std::string_view text) { return hexText(sha1DigestBytes(text)); }

    /// From its BEGIN to its END line.
    TextPlace placeOf(const AsRead& asRead) const
    {
        constexpr std::string_view kBegin = "BEGIN:\r\n";
        constexpr std::string_view kEnd = "END:\r\n";
        const std::string_view inside = asRead.all.stretch(asRead.index);
        const std::size_t begin = kBegin.size() + asRead.name.size();
        return {static_cast<std::uint32_t>(_sources->files.size() - 1),
                static_cast<std::size_t>(inside.data() - _text.data()) - begin,
                begin + inside.size() + kEnd.size() + asRead.name.size()};
    }

    /// A component that gives no record.
    void refuse(const AsRead& asRead, const Value& uid, std::string_view reason)
    {
        const std::string digest = digestOf(asRead.all.stretch(asRead.index));
        if (_sources != nullptr)
            _sources->unread.push_back({placeOf(asRead), digest});
        reportUnread({KTLoss::Extent::component,
                      uid.isString() ? std::string(uid.string()) : std::string(), digest},
                     reason);
    }

    void refuseFile(std::string_view reason) const
    {
        reportUnread({KTLoss::Extent::file, "", digestOfFile(_path)}, reason);
    }

    void refuseEmptyFile(std::string_view reason) const
    {
        logMsg(_helper, "Leere iCalendar-Datei fuer Kalender '%@'", _calendar._title);
        refuseFile(reason);
    }

    /// Leaves what stands inside the calendar.
    bool opensCalendar(std::string_view& text) const
    {
        if (!beginsCalendar(text)) {
            logMsg(_helper, "Fehlerhafte iCalendar-Datei fuer '%@': kein BEGIN:VCALENDAR",
                   _calendar._title);
            refuseFile("Datei beginnt nicht mit BEGIN:VCALENDAR");
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
        loadComponents(events, "VEVENT", "[ICalCalendar loadEvents(event)]: '%@'\n%@",
                       &Loading::loadEvent);
        linkOccurrences();
        loadComponents(KTSyncCalendarTools::findAndRemoveComponents("VTODO", lines, _logger),
                       "VTODO", "[ICalCalendar loadEvents(task)]: '%@'\n%@", &Loading::loadTask);
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

    void loadComponents(const FileComponents& components, std::string_view name,
                        std::string_view failure, void (Loading::*load)(LineList&, const AsRead&))
    {
        LineList component;
        for (std::size_t index = 0; index < components.size(); ++index) {
            const AsRead asRead{components, index, name};
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
                         [&](std::uint32_t at) { return uniquenessOf(at); });
        if (known != position) {
            _hasCopiesInFile = true;
            logMsg(_helper, "Doppeltes Ereignis:\n%@", asRead.description());
            const auto recordOfFirst = [&] {
                return events[known] ? events[known]->syncRecord()
                                     : _sources->events[known].earlier->record->record();
            };
            if (!_copies.isCopyOf(known, recordOfFirst, *event) || !hasTextOf(known, asRead))
                refuse(asRead, event->uid(),
                       "Doppeltes Ereignis, das vom ersten abweicht, wird nicht übernommen");
            else if (_sources != nullptr)
                _sources->copies.push_back({placeOf(asRead), known});
            return;
        }
        if (!event->recurrenceRule() && event->recurrenceId() && !event->uid().isNil())
            _occurrences.push_back(event.get());
        events.push_back(std::move(event));
        if (_sources != nullptr)
            _sources->events.push_back({placeOf(asRead)});
    }

    SHA1Digest uniquenessOf(std::uint32_t event) const
    {
        const auto& known = (*_calendar._events)[event];
        return known ? *known->uniquenessDigest() : _sources->events[event].earlier->uniqueness;
    }

    /// Whether a component holds nothing that the event of that number does not. Without places
    /// nothing is kept, and the records decide.
    bool hasTextOf(std::uint32_t event, const AsRead& asRead)
    {
        if (_sources == nullptr)
            return true;
        const TextPlace& first = _sources->events[event].place;
        const TextPlace own = placeOf(asRead);
        return haveSameLines(textOfFile(first.file).substr(first.offset, first.length),
                             _text.substr(own.offset, own.length));
    }

    std::string_view textOfFile(std::uint32_t file)
    {
        if (file + 1 == _sources->files.size())
            return _text;
        if (_otherFile != file)
            _otherText = itemFileText(_sources->files[file].path).value_or("");
        _otherFile = file;
        return _otherText;
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
        if (!task) {
            logMsg(_helper, "Leere Aufgabe aus:\n%@", asRead.description());
            return;
        }
        _calendar._tasks->push_back(std::move(task));
        if (_sources != nullptr)
            _sources->tasks.push_back({placeOf(asRead)});
    }

    KTSyncCalendar& _calendar;
    KTSyncPluginHelper* _helper;
    KTFileLogger* _logger;
    const Value _parentKey;  // one text for all items
    DigestTable _known;      // where the events stand, by what makes them unique
    EventCopies _copies;
    std::optional<std::uint32_t> _otherFile;  // the last one that a copy's first stood in ...
    std::string _otherText;                   // ... and its text
    std::size_t _firstEventOfFile = 0;
    std::vector<KTSyncEvent*> _occurrences;  // of this file, detached; the calendar owns them
    std::string _path;                       // of this file
    std::string_view _text;                  // what it holds
    bool _hasCopiesInFile = false;
    ItemSources* _sources = nullptr;  // null where nobody asks for them
    const std::chrono::sys_time<std::chrono::nanoseconds> _begun = Platform::shared().now().instant;
};

void KTSyncCalendar::takeItemsFrom(const LoadedCalendar& earlier)
{
    const bool isSame = earlier.areItemsLoaded && earlier.recordKey == recordKey() &&
                        hostClass<KTCarefulWriting>() != nullptr;
    _earlier = isSame ? &earlier : nullptr;
}

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
    EarlierItems earlier(std::exchange(_earlier, nullptr), folder);
    for (const std::string& name : names) {
        if (pathExtension(name) != StorePaths::itemFileExtension)
            continue;
        const std::string path = stringByAppendingPathComponent(folder, name);
        if (const auto file = earlier.next(name)) {
            loading.takeOver(*file);
            continue;
        }
        try {
            loading.loadFile(path);
        } catch (const Exception& exception) {
            logMsg(_pluginHelper, "[ICalCalendar loadEvents] fuer '%@': %@", _title,
                   exception.description());
            const LossScope scope(_title.value_or(""), path);
            reportUnread({KTLoss::Extent::calendar, "", digestOfFile(path)},
                         stringWithFormat("Kalender abgebrochen: %@", exception.description()));
            throw;
        }
    }
}

void KTSyncCalendar::dropItems()
{
    _events.reset();
    _tasks.reset();
    _sources.reset();
    _earlier = nullptr;
}

/// A list that was only filled in part would pass for the whole calendar, so it goes as well.
void KTSyncCalendar::loadBothLists()
{
    const auto drop = [&] { dropItems(); };
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
