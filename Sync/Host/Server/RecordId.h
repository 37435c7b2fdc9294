#pragma once

#include <compare>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace kt {

/// What names a record for good: its conduit and its key.
struct RecordId {
    std::string conduit;
    std::string key;

    friend auto operator<=>(const RecordId&, const RecordId&) = default;
};

/// The same, referring to texts that outlive it: for finding among rows that are held anyway.
struct RecordIdView {
    RecordIdView(std::string_view conduitText, std::string_view keyText)
        : conduit(conduitText),
          key(keyText)
    {}
    RecordIdView(const RecordId& id) : conduit(id.conduit), key(id.key) {}

    std::string_view conduit;
    std::string_view key;

    friend bool operator==(const RecordIdView&, const RecordIdView&) = default;
};

struct RecordIdHash {
    std::size_t operator()(const RecordIdView& id) const
    {
        return std::hash<std::string_view>{}(id.key) * 31 +
               std::hash<std::string_view>{}(id.conduit);
    }
};

}  // namespace kt
