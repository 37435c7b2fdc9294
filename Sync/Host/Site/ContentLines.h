#pragma once

#include <string>
#include <string_view>

#include "Sync/Host/Publishing/PublishedDate.h"

namespace kt {

/// Writes iCalendar text for other programs, strictly by RFC 5545: lines end in CR LF and are
/// folded after at most 75 octets, never inside a character; texts are escaped; and nothing that is
/// handed in can end a line.
class ContentLines {
public:
    void begin(std::string_view component);
    void end(std::string_view component);
    /// A value that is no text and needs no escapes: a number, a rule, a date.
    void value(std::string_view name, std::string_view value);
    /// A text value (3.3.11).
    void text(std::string_view name, std::string_view text);
    /// With TZID or VALUE=DATE as the date needs it.
    void date(std::string_view name, const PublishedDate& date);

    const std::string& lines() const { return _lines; }

private:
    void line(std::string_view line);

    std::string _lines;
};

/// A parameter's value in double quotes, without what may not stand in them (3.2).
std::string quotedParameter(std::string_view text);

}  // namespace kt
