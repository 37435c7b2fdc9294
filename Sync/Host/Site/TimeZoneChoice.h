#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kt {

/// Whether a viewer may choose that zone. Asks the zone database only for names that its own lists
/// have, in that one spelling: it remembers for ever whatever it was asked for.
bool isChoosableZone(std::string_view name);

/// The names that a list offers, sorted: places, as "Europe/Berlin", and "UTC".
const std::vector<std::string>& choosableZones();

}  // namespace kt
