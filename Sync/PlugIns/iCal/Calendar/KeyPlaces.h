#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <unordered_map>

#include "Sync/Foundation/KeySearch.h"

namespace kt {

/// Where keys stand in a list that only grows. Look-up is linear for a handful of keys and hashed
/// beyond. The list's elements have a `key`, a view that stays valid.
class KeyPlaces {
public:
    /// The place of a key in the list, its size when there is none.
    template <class List>
    std::size_t find(std::string_view key, const List& list) const
    {
        if ((_kinds & bitOfKind(key)) == 0)
            return list.size();
        if (!_index)
            return positionOfKey(list, key, [](const auto& element) { return element.key; });
        const auto found = _index->find(key);
        return found == _index->end() ? list.size() : found->second;
    }

    /// To be told whenever the list has grown by a key that it had not.
    template <class List>
    void addLastOf(const List& list)
    {
        constexpr std::size_t kHandful = 24;  // most components have a dozen
        _kinds |= bitOfKind(list.back().key);
        if (_index) {
            _index->emplace(list.back().key, list.size() - 1);
        } else if (list.size() > kHandful) {
            _index = std::make_unique<Index>();
            for (const auto& element : list)
                _index->emplace(element.key, _index->size());
        }
    }

private:
    using Index = std::unordered_map<std::string_view, std::size_t>;

    /// One of 64 bits, by length and first and last character: the names of properties differ in
    /// these.
    static std::uint64_t bitOfKind(std::string_view key)
    {
        if (key.empty())
            return 1;
        const auto first = static_cast<unsigned char>(key.front());
        const auto last = static_cast<unsigned char>(key.back());
        return std::uint64_t{1} << ((key.size() * 7 + first + last * 3U) % 64);
    }

    // A bit for the kind of each key. Most look-ups are for what is not there, and most of those
    // end here.
    std::uint64_t _kinds = 0;
    std::unique_ptr<Index> _index;  // only beyond a handful of keys
};

}  // namespace kt
