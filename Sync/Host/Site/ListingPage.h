#pragma once

#include <string>
#include <vector>

#include "Sync/Host/Publishing/PublishedCalendar.h"

namespace kt {

/// The page with all public calendars.
std::string listingPage(const std::vector<PublishedHead>& calendars);

}  // namespace kt
