#pragma once

#include <compare>
#include <cstddef>
#include <functional>
#include <string>

namespace kt {

/// What names a record for good: its conduit and its key.
struct RecordId {
    std::string conduit;
    std::string key;

    friend auto operator<=>(const RecordId&, const RecordId&) = default;
};

struct RecordIdHash {
    std::size_t operator()(const RecordId& id) const
    {
        return std::hash<std::string>{}(id.key) * 31 + std::hash<std::string>{}(id.conduit);
    }
};

}  // namespace kt
