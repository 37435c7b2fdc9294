#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace kt {

class KTSyncCalendar;

/// Calendars by record key, in the order in which they were first read; a later calendar of the
/// same key takes the earlier one's place.
class ParsedCalendars {
public:
    using Entry = std::pair<std::string, std::shared_ptr<KTSyncCalendar>>;

    void set(const std::string& recordKey, std::shared_ptr<KTSyncCalendar> calendar)
    {
        const auto [position, isNew] = _positions.try_emplace(recordKey, _entries.size());
        if (isNew)
            _entries.emplace_back(recordKey, std::move(calendar));
        else
            _entries[position->second].second = std::move(calendar);
    }

    /// Null when there is none.
    std::shared_ptr<KTSyncCalendar> find(const std::string& recordKey) const
    {
        const auto position = _positions.find(recordKey);
        return position == _positions.end() ? nullptr : _entries[position->second].second;
    }

    std::size_t size() const { return _entries.size(); }
    bool empty() const { return _entries.empty(); }
    auto begin() const { return _entries.begin(); }
    auto end() const { return _entries.end(); }

private:
    std::vector<Entry> _entries;
    std::unordered_map<std::string, std::size_t> _positions;
};

}  // namespace kt
