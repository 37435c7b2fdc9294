#pragma once

#include <string>

namespace kt {

/// The key that a calendar's record has for good, on the server and on every device, for the one
/// that the plug-in computes of it now, which changes with its title. The key itself where this
/// device's state, which may not be there yet, knows no other. Throws Exception when the state
/// cannot be read.
std::string lastingCalendarKey(const std::string& statePath, const std::string& localKey);

}  // namespace kt
