#pragma once

#include "Sync/Host/Publishing/CalendarPage.h"
#include "Sync/Host/Publishing/DayPlan.h"
#include "Sync/Host/Publishing/HtmlWriter.h"

namespace kt {

/// The days of the month on which something takes place, with all that is public of it.
void appendAgenda(HtmlWriter& html, const DayPlan& plan, const CalendarView& view);

}  // namespace kt
