#pragma once

#include <string>
#include <vector>

#include "Sync/Host/Publishing/Day.h"
#include "Sync/Host/Publishing/PublishedCalendar.h"
#include "Sync/Host/Site/RecurrenceExpansion.h"

namespace kt {

/// One time at which an event takes place, as a viewer in some zone sees it.
struct Occurrence {
    const PublishedEvent* event;
    CalendarDate start;  // the viewer's wall clock; midnight for all-day events
    CalendarDate end;    // not in it any more; equal to the start for what takes no time
    Day firstDay;
    Day lastDay;  // in it

    bool isAllDay() const { return event->start.isAllDay; }
};

struct OccurrenceList {
    std::vector<Occurrence> occurrences;  // by day, all-day ones first, then by time and title
    bool isComplete = true;               // false when limits left something out
    bool hasOnlyBeginnings = false;       // of what goes on by the hour, minute or second
};

/// What takes place on some of the days from the first to the last. Exception dates and detached
/// occurrences are respected. The events outlive the list. Work and size are bounded.
OccurrenceList occurrencesOfEvents(const std::vector<PublishedEvent>& events, Day first, Day last,
                                   const std::string& zone);

}  // namespace kt
