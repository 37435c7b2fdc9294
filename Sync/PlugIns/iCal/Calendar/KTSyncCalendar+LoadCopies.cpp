// What items of a calendar's files have to do with each other: copies, and the occurrences of a
// series. What an earlier load found takes part in the first.

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

#include "Sync/PlugIns/iCal/Calendar/ItemFile.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar+Loading.h"
#include "Sync/PlugIns/iCal/Calendar/LeftLines.h"
#include "Sync/PlugIns/iCal/Calendar/LoadedStore.h"

namespace kt {

namespace {

/// A UID may have come twice and is an array then, which is no text but as good a name.
std::string nameOfUID(const Value& uid) { return (uid.isString() ? "s" : "v") + uid.description(); }

}  // namespace

bool KTSyncCalendar::Loading::hasNewCopies(const EarlierItems::File& file) const
{
    return std::any_of(file.events.begin(), file.events.end(), [&](const LoadedItem& event) {
        return _known.contains(event.uniqueness,
                               [&](std::uint32_t at) { return uniquenessOf(at); });
    });
}

void KTSyncCalendar::Loading::takeOver(const EarlierItems::File& file)
{
    _sources->files.push_back(file.source);
    const auto number = static_cast<std::uint32_t>(_sources->files.size() - 1);
    const auto itemOf = [&](const LoadedItem& item) {
        return ItemSources::Item{{number, item.place.offset, item.place.length}, &item};
    };
    for (const LoadedItem& event : file.events) {
        _calendar._events->push_back(nullptr);
        _sources->events.push_back(itemOf(event));
        enter(event.uniqueness, static_cast<std::uint32_t>(_calendar._events->size() - 1));
    }
    for (const LoadedItem& task : file.tasks) {
        _calendar._tasks->push_back(nullptr);
        _sources->tasks.push_back(itemOf(task));
    }
}

std::uint32_t KTSyncCalendar::Loading::enter(const SHA1Digest& uniqueness, std::uint32_t position)
{
    return _known.enter(uniqueness, position, [&](std::uint32_t at) { return uniquenessOf(at); });
}

void KTSyncCalendar::Loading::takeCopy(const KTSyncEvent& event, std::uint32_t of,
                                       const AsRead& asRead)
{
    _hasCopiesInFile = true;
    logMsg(_helper, "Doppeltes Ereignis:\n%@", asRead.description());
    const Events& events = *_calendar._events;
    const auto recordOfFirst = [&] {
        return events[of] ? events[of]->syncRecord()
                          : _sources->events[of].earlier->record->record();
    };
    if (!_copies.isCopyOf(of, recordOfFirst, event) || !hasTextOf(of, asRead))
        refuse(asRead, event.uid(),
               "Doppeltes Ereignis, das vom ersten abweicht, wird nicht übernommen");
    else if (_sources != nullptr)
        _sources->copies.push_back({placeOf(asRead), of});
}

SHA1Digest KTSyncCalendar::Loading::uniquenessOf(std::uint32_t event) const
{
    const auto& known = (*_calendar._events)[event];
    return known ? *known->uniquenessDigest() : _sources->events[event].earlier->uniqueness;
}

bool KTSyncCalendar::Loading::hasTextOf(std::uint32_t event, const AsRead& asRead)
{
    if (_sources == nullptr)
        return true;
    const TextPlace& first = _sources->events[event].place;
    const TextPlace own = placeOf(asRead);
    return haveSameLines(textOfFile(first.file).substr(first.offset, first.length),
                         _text.substr(own.offset, own.length));
}

std::string_view KTSyncCalendar::Loading::textOfFile(std::uint32_t file)
{
    if (file + 1 == _sources->files.size())
        return _text;
    if (_otherFile != file)
        _otherText = itemFileText(_sources->files[file].path).value_or("");
    _otherFile = file;
    return _otherText;
}

std::unordered_map<std::string, KTSyncEvent*> KTSyncCalendar::Loading::seriesByUID() const
{
    std::unordered_map<std::string, KTSyncEvent*> series;
    const Events& events = *_calendar._events;
    for (std::size_t index = _firstEventOfFile; index < events.size(); ++index) {
        if (events[index]->recurrenceRule() && !events[index]->uid().isNil())
            series[nameOfUID(events[index]->uid())] = events[index].get();
    }
    return series;
}

void KTSyncCalendar::Loading::linkOccurrences() const
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

}  // namespace kt
