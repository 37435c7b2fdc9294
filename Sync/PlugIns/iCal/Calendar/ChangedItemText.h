#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace kt {

/// The texts of an item that is to be written anew, each a whole component.
struct ChangedItem {
    std::string_view stored;   // as it stands in the store
    std::string_view written;  // what the writer makes of the stored one, taken through its record
    std::string_view wanted;   // what the writer makes of the one that is to be written ...
    std::string_view aim;      // ... and would make of it once it was read, if nothing got lost
};

/// The component to be written: of every property and inner component that the writer makes the
/// same of as before, the text as it stood, with all its parameters; what the writer knows nothing
/// of, as it stood; and the writer's own text where something changed. A name that changed follows
/// the record with all its lines, but for exceptions and special fields under keys that the reader
/// passes over. An inner component that changed is put together in the same way. LAST-MODIFIED
/// goes, since it tells of the text before.
///
/// `asRead` gives what the writer would make of a component once it was read, nullopt where it
/// cannot be read. Where carrying text over would change what is read, less is carried, in the end
/// nothing: what is read always is what was wanted, or what the writer's own text would give.
std::string changedItemText(
    const ChangedItem& item,
    const std::function<std::optional<std::string>(std::string_view)>& asRead);

}  // namespace kt
