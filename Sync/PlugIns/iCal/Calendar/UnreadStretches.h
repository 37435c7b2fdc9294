#pragma once

#include <string_view>
#include <vector>

#include "Sync/PlugIns/iCal/Calendar/ItemSources.h"

namespace kt {

/// What a rewrite takes out of a file whose unread text is given up: every line of an event or task
/// that stands in none of the known places. An item without its end goes on until the next one
/// begins; whole components of other kinds that it runs over stay, as do the calendar's own
/// properties. What stands behind the last END:VCALENDAR goes as well. Stretches of the text, as
/// itemFileText gives it, in order.
std::vector<TextPlace> unreadStretches(std::string_view text, std::vector<TextPlace> known);

}  // namespace kt
