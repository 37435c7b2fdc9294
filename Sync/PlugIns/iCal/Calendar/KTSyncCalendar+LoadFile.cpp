// Reads one item file: what it holds, and what is refused of it.

#include <optional>
#include <string_view>
#include <utility>

#include "Sync/Foundation/Digest.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/HostInterface/Guard.h"
#include "Sync/HostInterface/KTCarefulWriting.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/PlugIns/iCal/Calendar/FileIdentity.h"
#include "Sync/PlugIns/iCal/Calendar/ItemFile.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar+Loading.h"
#include "Sync/PlugIns/iCal/Calendar/LeftLines.h"
#include "Sync/PlugIns/iCal/Calendar/UnreadText.h"

namespace kt {

KTSyncCalendar::Loading::Loading(KTSyncCalendar& calendar, std::size_t fileCount)
    : _calendar(calendar),
      _helper(calendar._pluginHelper),
      _logger(calendar.fileLogger()),
      _parentKey(calendar._recordKey)
{
    _known.reserve(fileCount);  // one event a file in the newer layout
    if (hostClass<KTCarefulWriting>() != nullptr)
        _sources = &_calendar._sources.emplace();
}

std::string KTSyncCalendar::Loading::digestOfFile(const std::string& path)
{
    return hexText(
        sha1DigestBytes(FileManager::defaultManager().contentsAtPath(path).value_or("")));
}

void KTSyncCalendar::Loading::loadFile(const std::string& path)
{
    const std::uint64_t lossesBefore = lossesTold();
    const std::optional<FileStatus> status = readFile(path);
    if (_sources != nullptr && status && isLongUnchanged(*status, _begun) &&
        lossesTold() == lossesBefore && !_hasCopiesInFile)
        _sources->files.back().identity = fileIdentity(*status);
}

std::optional<FileStatus> KTSyncCalendar::Loading::readFile(const std::string& path)
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

bool KTSyncCalendar::Loading::opensCalendar(std::string_view& text) const
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

void KTSyncCalendar::Loading::refuseFile(std::string_view reason) const
{
    reportUnread({KTLoss::Extent::file, "", digestOfFile(_path)}, reason);
}

void KTSyncCalendar::Loading::refuseEmptyFile(std::string_view reason) const
{
    logMsg(_helper, "Leere iCalendar-Datei fuer Kalender '%@'", _calendar._title);
    refuseFile(reason);
}

void KTSyncCalendar::Loading::loadItems(FileLines lines)
{
    _firstEventOfFile = _calendar._events->size();
    _occurrences.clear();
    const FileComponents events =
        KTSyncCalendarTools::findAndRemoveComponents("VEVENT", lines, _logger);
    makeRoomForEvents(events.size());
    loadComponents(events, "VEVENT", "[ICalCalendar loadEvents(event)]: '%@'\n%@",
                   &Loading::loadEvent);
    linkOccurrences();
    loadComponents(KTSyncCalendarTools::findAndRemoveComponents("VTODO", lines, _logger), "VTODO",
                   "[ICalCalendar loadEvents(task)]: '%@'\n%@", &Loading::loadTask);
    reportLeftLines(lines);
}

void KTSyncCalendar::Loading::makeRoomForEvents(std::size_t count)
{
    Events& events = *_calendar._events;
    if (count <= events.size())
        return;
    _known.reserve(events.size() + count);
    events.reserve(events.size() + count);
}

void KTSyncCalendar::Loading::loadComponents(const FileComponents& components,
                                             std::string_view name, std::string_view failure,
                                             void (Loading::*load)(LineList&, const AsRead&))
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

void KTSyncCalendar::Loading::loadEvent(LineList& component, const AsRead& asRead)
{
    auto event = KTSyncEvent::syncEventWithPluginHelper(_helper, _parentKey, component);
    if (!event) {
        logMsg(_helper, "Leeres Ereignis aus:\n%@", asRead.description());
        return;
    }
    Events& events = *_calendar._events;
    const auto position = static_cast<std::uint32_t>(events.size());
    const std::uint32_t known = enter(*event->uniquenessDigest(), position);
    if (known != position)
        return takeCopy(*event, known, asRead);
    if (!event->recurrenceRule() && event->recurrenceId() && !event->uid().isNil())
        _occurrences.push_back(event.get());
    events.push_back(std::move(event));
    if (_sources != nullptr)
        _sources->events.push_back({placeOf(asRead)});
}

void KTSyncCalendar::Loading::loadTask(LineList& component, const AsRead& asRead)
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

void KTSyncCalendar::Loading::refuse(const AsRead& asRead, const Value& uid,
                                     std::string_view reason)
{
    const std::string digest = hexText(sha1DigestBytes(asRead.all.stretch(asRead.index)));
    if (_sources != nullptr)
        _sources->unread.push_back({placeOf(asRead), digest});
    reportUnread({KTLoss::Extent::component,
                  uid.isString() ? std::string(uid.string()) : std::string(), digest},
                 reason);
}

TextPlace KTSyncCalendar::Loading::placeOf(const AsRead& asRead) const
{
    constexpr std::string_view kBegin = "BEGIN:\r\n";
    constexpr std::string_view kEnd = "END:\r\n";
    const std::string_view inside = asRead.all.stretch(asRead.index);
    const std::size_t begin = kBegin.size() + asRead.name.size();
    return {static_cast<std::uint32_t>(_sources->files.size() - 1),
            static_cast<std::size_t>(inside.data() - _text.data()) - begin,
            begin + inside.size() + kEnd.size() + asRead.name.size()};
}

}  // namespace kt
