#pragma once

#include <ostream>

#include "Sync/Foundation/CalendarDate.h"
#include "Sync/Foundation/Dictionary.h"
#include "Sync/Foundation/Value.h"

// How values appear in the messages of failed tests and properties.

namespace kt {

inline void PrintTo(const Value& value, std::ostream* out) { *out << value.description(); }
inline void PrintTo(const Dictionary& dictionary, std::ostream* out)
{
    *out << dictionary.description();
}
inline void PrintTo(const Date& date, std::ostream* out) { *out << iso8601(date); }
inline void PrintTo(const CalendarDate& date, std::ostream* out)
{
    *out << date.descriptionWithCalendarFormat("%Y-%m-%d %H:%M:%S");
}

inline void showValue(const Value& value, std::ostream& out) { PrintTo(value, &out); }
inline void showValue(const Dictionary& dictionary, std::ostream& out)
{
    PrintTo(dictionary, &out);
}
inline void showValue(const Date& date, std::ostream& out) { PrintTo(date, &out); }
inline void showValue(const CalendarDate& date, std::ostream& out) { PrintTo(date, &out); }

}  // namespace kt
