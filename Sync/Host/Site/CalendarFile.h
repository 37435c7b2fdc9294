#pragma once

#include <string>

#include "Sync/Host/Publishing/PublishedCalendar.h"

namespace kt {

/// The calendar as one iCalendar file that a calendar program can subscribe to (RFC 5545, with the
/// names of RFC 7986), time zones included. Alarms and attachments are nobody else's business and
/// are never in it. Of an anonymised calendar it holds its title, its colour, and times.
std::string calendarFile(const PublishedCalendar& calendar);

}  // namespace kt
