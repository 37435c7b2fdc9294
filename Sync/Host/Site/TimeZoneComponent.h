#pragma once

#include <string>

#include "Sync/Host/Site/ContentLines.h"

namespace kt {

/// Appends the VTIMEZONE of a zone (RFC 5545, 3.6.5): every change of its clocks from `firstYear`
/// on, those of the last century that one yearly rule describes as that rule.
void appendTimeZone(ContentLines& lines, const std::string& zone, int firstYear);

}  // namespace kt
