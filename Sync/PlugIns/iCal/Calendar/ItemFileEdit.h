#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Sync/PlugIns/iCal/Calendar/ItemSources.h"

namespace kt {

/// An item file that is to be written anew in places. Every byte outside those stays as it is.
class ItemFileEdit {
public:
    /// `bytes` as they stand in the file.
    explicit ItemFileEdit(std::string bytes);

    /// Whether the file opens and closes a calendar, so that components can be added.
    bool isWhole() const;
    /// Of the text as it is read.
    std::size_t hash() const;

    /// The component as it is read.
    std::string_view textAt(const TextPlace& place) const;
    /// Puts another component in its place; an empty text takes it out. Of places inside one
    /// another the outer one counts, and what was to stand in the inner one stands at the end.
    void replace(const TextPlace& place, std::string component);
    /// Adds a component behind all others.
    void append(std::string_view component);
    /// Takes out what stands of events and tasks outside of the known places, before anything is
    /// put there. A file that does not open and close a calendar keeps what it can of one.
    void giveUpUnread(const std::vector<TextPlace>& known);
    std::string result() const;
    /// The same with all that is taken out still in its place.
    std::string resultBeforeTakingOut() const;
    bool takesOut() const;
    /// Whether there is more to do than taking out.
    bool puts() const;

private:
    struct Edit {
        std::size_t length;
        std::string text;
    };

    using Edits = std::map<std::size_t, Edit>;

    std::string resultOf(const Edits& edits) const;
    /// Where in the file that byte of the text stands: line ends that were cut are longer there.
    std::size_t positionInFile(std::size_t offset) const;

    std::string _bytes;
    std::string _text;
    std::vector<std::size_t> _joins;  // where in the text a cut line end was put together
    Edits _edits;
    std::string _appended;
};

/// Whether a file would hold anything besides a calendar's own properties and time zones.
bool holdsMoreThanFrame(std::string_view fileText);

}  // namespace kt
