#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "Sync/Foundation/FileManager.h"

namespace kt {

// An iCalendar file of a store, up to the point where its components begin (RFC 5545, 3.4).

/// The file's text; nullopt when it cannot be read, is empty or is no UTF-8. A line end that the
/// fold at 75 characters cut in two (CR, CR LF, blank, LF) is put together again.
std::optional<std::string> itemFileText(const std::string& path);
/// The same; its status goes to `status` where there is text.
std::optional<std::string> itemFileText(const std::string& path, FileStatus& status);

/// Whether the first line opens a calendar. Lines end at CR LF, and only there.
bool beginsCalendar(std::string_view text);

/// What stands between the first line of a file and its last END:VCALENDAR.
enum class Envelope { filled, empty, notClosed };

/// Takes the first line, all from the last END:VCALENDAR on, and the calendar's own properties in
/// front of the first component off the text, which must begin a calendar; every line that is left
/// ends in CR LF. Nothing is left of a file that is not closed. Tells of
/// text behind END:VCALENDAR as a loss.
Envelope removeEnvelope(std::string_view& text);

/// Where the last END:VCALENDAR line begins, in front of which components end; npos without one.
std::size_t endOfItems(std::string_view text);

inline constexpr std::string_view kItemLineEnd = "\r\n";
/// What the fold at 75 characters makes of a line end that it cuts in two.
inline constexpr std::string_view kCutLineEnd = "\r\r\n \n";
/// Puts such line ends together, in place.
void joinCutLineEnds(std::string& text);

// The text of an item file around the lines of its items.
inline constexpr std::string_view kItemFileHeader =
    "BEGIN:VCALENDAR\r\n"
    "CALSCALE:GREGORIAN\r\n"
    "PRODID:-//Apple Computer\\, Inc//iCal 2.0//EN\r\n"
    "VERSION:2.0\r\n";
inline constexpr std::string_view kItemFileFooter = "END:VCALENDAR\r\n";

}  // namespace kt
