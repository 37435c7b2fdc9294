#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace kt {

struct LoadedItem;

/// Where the text of one component stands in the item files of a calendar, from its BEGIN to its
/// END line.
struct TextPlace {
    std::uint32_t file = 0;  // number of the file
    std::size_t offset = 0;  // bytes from the beginning of the text, as itemFileText gives it
    std::size_t length = 0;
};

/// The item files of a calendar, and what was found where in them.
struct ItemSources {
    struct File {
        std::string path;
        std::size_t hash = 0;  // of the text, to see whether it is still the same; 0 when unread
        std::uint64_t identity = 0;  // fileIdentity, where the records tell all that it gives
    };
    struct Item {
        TextPlace place;
        const LoadedItem* earlier = nullptr;  // taken over from an earlier load
    };
    /// The text of an event that is there already in all that a record holds, under whatever UID.
    struct Copy {
        TextPlace place;
        std::size_t of = 0;  // number of the event, later of the item
    };
    struct Unread {
        TextPlace place;
        std::string digest;
    };

    std::vector<File> files;  // also those that could not be read
    std::vector<Item> events;
    std::vector<Item> tasks;
    std::vector<Copy> copies;
    std::vector<Unread> unread;  // components that gave no record
};

/// Differs for texts that differ, as good as always.
inline std::size_t hashOfItemText(std::string_view text)
{
    return std::hash<std::string_view>{}(text);
}

}  // namespace kt
