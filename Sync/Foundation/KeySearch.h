#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>

namespace kt {

/// Where in a short list the entry with that key stands, its size when there is none. Keys differ
/// in their length or their first character almost always, so hardly one is compared as a whole.
template <class Entries, class KeyOf>
std::size_t positionOfKey(const Entries& entries, std::string_view key, const KeyOf& keyOf)
{
    std::size_t position = 0;
    for (const auto& entry : entries) {
        const std::string_view other = keyOf(entry);
        if (other.size() == key.size() &&
            (key.empty() || (other.front() == key.front() &&
                             std::memcmp(other.data(), key.data(), key.size()) == 0)))
            break;
        ++position;
    }
    return position;
}

}  // namespace kt
