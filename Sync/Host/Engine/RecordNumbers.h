#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

/// Numbers by the record that bears them, by the object and not by its content. Holds no record:
/// whoever numbers them does. All stand in one block, without a node for each, since every record
/// of a store is entered and looked for in every run.
class RecordNumbers {
public:
    std::size_t size() const { return _count; }

    std::optional<std::uint32_t> find(const KTSyncRecord* record) const
    {
        if (_places.empty())
            return std::nullopt;
        const Place& place = _places[indexOf(record)];
        return place.record == nullptr ? std::nullopt : std::optional(place.number);
    }

    /// The number of a record that has one, else the new one, which is its from then on. Not for
    /// null.
    std::uint32_t enter(const KTSyncRecord* record, std::uint32_t number)
    {
        // A quarter stays free, so that a search ends soon.
        if (4 * (_count + 1) > 3 * _places.size())
            grow();
        Place& place = _places[indexOf(record)];
        if (place.record == nullptr) {
            place = {record, number};
            ++_count;
        }
        return place.number;
    }

private:
    struct Place {
        const KTSyncRecord* record = nullptr;  // null: free
        std::uint32_t number = 0;
    };

    /// Where it stands, or where it would be put.
    std::size_t indexOf(const KTSyncRecord* record) const
    {
        constexpr std::uint64_t kOdd = 0x9E3779B97F4A7C15;
        constexpr unsigned kHalf = std::numeric_limits<std::uint64_t>::digits / 2;
        const std::uint64_t spread = reinterpret_cast<std::uintptr_t>(record) * kOdd;
        std::size_t index = (spread >> kHalf) & (_places.size() - 1);
        while (_places[index].record != nullptr && _places[index].record != record)
            index = (index + 1) & (_places.size() - 1);
        return index;
    }

    void grow()
    {
        constexpr std::size_t kFewest = 16;  // a power of two, as are all that follow
        const std::size_t size = _places.empty() ? kFewest : 2 * _places.size();
        for (const Place& entered : std::exchange(_places, std::vector<Place>(size))) {
            if (entered.record != nullptr)
                _places[indexOf(entered.record)] = entered;
        }
    }

    std::vector<Place> _places;
    std::size_t _count = 0;
};

}  // namespace kt
