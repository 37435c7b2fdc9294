#pragma once

#include <string>
#include <vector>

#include "Sync/Host/Publishing/PublishedCalendar.h"
#include "Sync/Host/Site/HtmlWriter.h"

namespace kt {

/// The tasks of a calendar: open ones first, by the day on which they are due.
void appendTasks(HtmlWriter& html, const std::vector<PublishedTask>& tasks,
                 const std::string& zone);

}  // namespace kt
