#pragma once

#include "Sync/Host/Site/CalendarPage.h"
#include "Sync/Host/Site/DayPlan.h"
#include "Sync/Host/Site/HtmlWriter.h"

namespace kt {

/// The days of the month on which something takes place, with what is public of it as far as there
/// is room. False when a page would become too long with the rest.
bool appendAgenda(HtmlWriter& html, const DayPlan& plan, const CalendarView& view);

}  // namespace kt
