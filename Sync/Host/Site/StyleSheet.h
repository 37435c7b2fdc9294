#pragma once

#include <string_view>

namespace kt {

/// Where the site's one style sheet stands.
inline constexpr std::string_view kStyleSheetPath = "/vl/calendar.css";

/// Its text.
std::string_view styleSheet();

}  // namespace kt
