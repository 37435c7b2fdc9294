#pragma once

#include <optional>

#include "Sync/Foundation/Value.h"

namespace kt {

// Property lists and archives count seconds from 2001-01-01T00:00:00Z on.

/// Nullopt for what is no date, or too far away for one.
std::optional<Date> dateOfReferenceSeconds(double seconds);
double referenceSecondsOfDate(Date date);

}  // namespace kt
