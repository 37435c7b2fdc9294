#pragma once

#include "Sync/Host/Publishing/OccurrenceCollector.h"

namespace kt {

/// Rules that repeat every hour, minute or second: hands the collector what lies in the range, or,
/// where a count has to be kept, everything before it as well. What matters is reached in few
/// steps.
void collectSubDaily(const RecurrenceRule& rule, const PublishedDate& start,
                     const ClockRange& range, ExpansionBudget& budget,
                     OccurrenceCollector& collector);

}  // namespace kt
