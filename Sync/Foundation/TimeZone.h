#pragma once

#include <string_view>

#include <cctz/time_zone.h>

namespace kt {

/// The zone of that name, or the machine's own where the zone database lacks the name.
cctz::time_zone timeZoneOrLocal(std::string_view name);

}  // namespace kt
