#include "Sync/Foundation/ReferenceDate.h"

#include <cmath>

namespace kt {

namespace {

using namespace std::chrono;

constexpr sys_time<microseconds> kReference = sys_days(year(2001) / 1 / 1);

}  // namespace

std::optional<Date> dateOfReferenceSeconds(double seconds)
{
    constexpr double kFarthest = 9e12;  // what microseconds can count, some 285,000 years
    if (!(std::abs(seconds) < kFarthest))
        return std::nullopt;
    // Whole and broken part apart: their product would not fit a double.
    const double whole = std::floor(seconds);
    return Date{kReference +
                duration_cast<microseconds>(std::chrono::seconds(std::llround(whole))) +
                microseconds(std::llround((seconds - whole) * 1e6))};
}

double referenceSecondsOfDate(Date date)
{
    const microseconds distance = date.instant - kReference;
    const auto whole = floor<std::chrono::seconds>(distance);
    return static_cast<double>(whole.count()) +
           static_cast<double>((distance - whole).count()) / 1e6;
}

}  // namespace kt
