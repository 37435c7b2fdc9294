#pragma once

#include <optional>
#include <string>

namespace kt {

// What the host itself has to know of a home: which of the two layouts it has, and whether its
// store can be looked at. What is inside is the plug-in's business.

/// The system versions whose layouts a home can have.
inline constexpr int kSystemVersion104 = 4;
inline constexpr int kSystemVersion105 = 5;

/// 5 where "Library/Calendars" stands, else 4 where the node file does, else 5: a store is then
/// begun in the newer layout. Files attached to items stand in "Library/Calendars/Attachments" in
/// either layout, so beside a node file that folder alone makes no 10.5 store.
int systemVersionOfHome(const std::string& home);

/// Why no run may touch the store below the home, as one line for the user: its folder cannot be
/// listed, or its node file is no property-list dictionary or nested too deep. Without a reason,
/// nullopt; a store that is not there is none.
std::optional<std::string> reasonNotToTouchStore(const std::string& home, int systemVersion);

}  // namespace kt
