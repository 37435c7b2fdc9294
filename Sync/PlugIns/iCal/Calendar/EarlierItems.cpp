#include "Sync/PlugIns/iCal/Calendar/EarlierItems.h"

#include <algorithm>
#include <utility>

#include "Sync/PlugIns/iCal/Calendar/FileIdentity.h"

namespace kt {

EarlierItems::EarlierItems(const LoadedCalendar* calendar, std::string folder)
    : _calendar(calendar),
      _folder(std::move(folder))
{
    if (_calendar == nullptr)
        return;
    _entries = FileManager::defaultManager().directoryEntriesAtPath(_folder);
    const std::span<const LoadedItem> items(_calendar->items);
    const auto firstTask = std::find_if(items.begin(), items.end(), [](const LoadedItem& item) {
        return item.record->conduit() == kConduitTask;
    });
    const auto count = static_cast<std::size_t>(firstTask - items.begin());
    _events = items.first(count);
    _tasks = items.subspan(count);
}

std::optional<EarlierItems::File> EarlierItems::next(const std::string& name)
{
    while (_entry < _entries.size() && _entries[_entry].name < name)
        ++_entry;
    if (_entry == _entries.size() || _entries[_entry].name != name)
        return std::nullopt;
    const std::string path = stringByAppendingPathComponent(_folder, name);
    const std::vector<ItemSources::File>& files = _calendar->files;
    while (_file < files.size() && files[_file].path < path)
        ++_file;
    if (_file == files.size() || files[_file].path != path)
        return std::nullopt;
    const ItemSources::File& source = files[_file];
    if (source.identity == 0 || source.identity != fileIdentity(_entries[_entry].status))
        return std::nullopt;
    return File{source, takeOfFile(_events), takeOfFile(_tasks)};
}

/// Events and tasks stand in the order of their files.
std::span<const LoadedItem> EarlierItems::takeOfFile(std::span<const LoadedItem>& items) const
{
    const auto begin = std::find_if(items.begin(), items.end(), [&](const LoadedItem& item) {
        return item.place.file >= _file;
    });
    const auto end = std::find_if(begin, items.end(),
                                  [&](const LoadedItem& item) { return item.place.file != _file; });
    items = {begin, items.end()};
    const auto count = static_cast<std::size_t>(end - begin);
    const std::span<const LoadedItem> taken = items.first(count);
    items = items.subspan(count);
    return taken;
}

}  // namespace kt
