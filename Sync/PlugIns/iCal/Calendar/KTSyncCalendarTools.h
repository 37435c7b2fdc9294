#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/Foundation/Format.h"
#include "Sync/HostInterface/KTFileLogger.h"
#include "Sync/HostInterface/KTSyncEnhancedDate.h"
#include "Sync/PlugIns/iCal/Calendar/ComponentProperties.h"
#include "Sync/PlugIns/iCal/Calendar/FileLines.h"
#include "Sync/PlugIns/iCal/Calendar/LineList.h"
#include "Sync/PlugIns/iCal/Calendar/RawProperties.h"

namespace kt {

/// The iCalendar text layer below the component objects: lines, properties, dates, zones, durations
/// (RFC 5545). Loggers may be null. Texts that come out of a property dictionary are taken as the
/// raw Value that they are: a string, an array of strings where a key occurred more than once, or
/// nil.
class KTSyncCalendarTools {
public:
    KTSyncCalendarTools() = delete;

    // Lines: KTSyncCalendarTools+Lines.cpp

    /// Folded at 75 characters (UTF-16 units, where the RFC counts octets; 3.1). Adds no line end
    /// of its own.
    static std::string splitLine(std::string line, KTFileLogger* fileLogger);
    /// Folded after every `position` characters by CR, LF, blank; a CR LF at the end of the line
    /// counts and is folded like any other character. The line itself for a position below 2.
    static std::string splitLine(std::string line, std::size_t position, KTFileLogger* fileLogger);

    /// As much of a line as the first of its physical lines holds; a character that the fold would
    /// cut is left out. A view into the line.
    static std::string_view firstPhysicalLine(std::string_view line);

    /// stringWithFormat, folded at 75 characters. The format carries the line's CR LF.
    template <class... Arguments>
    static std::string splitLineUsingFileLogger(KTFileLogger* fileLogger,
                                                std::string_view withFormat,
                                                const Arguments&... arguments)
    {
        return splitLine(stringWithFormat(withFormat, arguments...), fileLogger);
    }

    // Lines on their way into a file: KTSyncCalendarTools+Writing.cpp

    /// The line without a line break in front of its own CR LF: what comes from a record must not
    /// begin lines of its own. In a text a break becomes its escape `\n` (RFC 5545, 3.3.11),
    /// everywhere else a blank.
    static std::string onOneLine(std::string line);
    /// As onOneLine, and tells as losses the breaks that became blanks, and parameters that the
    /// reader is going to cut, since it looks for the end of a key in the first physical line only.
    static std::string writableLine(std::string line);
    /// stringWithFormat, made writable and folded at 75 characters. The format carries the line's
    /// CR LF.
    template <class... Arguments>
    static std::string propertyLine(KTFileLogger* fileLogger, std::string_view withFormat,
                                    const Arguments&... arguments)
    {
        return splitLine(writableLine(stringWithFormat(withFormat, arguments...)), fileLogger);
    }

    /// Takes the components of that name ("VALARM") out of the lines; gives the lines of each
    /// without its BEGIN and END, in the order of the ENDs. A BEGIN inside an open component of the
    /// same name drops what was open. An END without BEGIN is logged, and it and all lines behind
    /// it stay.
    static std::vector<LineList> findAndRemoveComponents(std::string_view name, LineList& fromLines,
                                                         KTFileLogger* fileLogger);

    /// The same for the lines of a whole file.
    static FileComponents findAndRemoveComponents(std::string_view name, FileLines& fromLines,
                                                  KTFileLogger* fileLogger);

    // Properties: KTSyncCalendarTools+Properties.cpp

    /// Takes all property lines that stand in no component out of the lines. Gives property key
    /// (all before the first unquoted colon, verbatim) to unfolded value: a string, or an array of
    /// strings for a key that occurred more than once (SUMMARY excepted, whose last value stays).
    /// Escapes stay as written.
    /// Keys are views into the lines, and so are values that stand in a single one.
    static RawProperties findAndRemovePropertiesFromLines(LineList& lines,
                                                          KTFileLogger* fileLogger);

    /// The key in a physical line: all before its first unquoted colon, or the whole line. A view
    /// into the line.
    static std::string_view propertyKeyInLine(std::string_view line);

    /// The key up to its first ";". A view into the key.
    static std::string_view propertyNameInKey(std::string_view key);

    /// The key cut at every unquoted ";", the property name first; empty for nil. Views into the
    /// key.
    static std::vector<std::string_view> splitProperties(std::optional<std::string_view> key,
                                                         KTFileLogger* fileLogger);

    /// Appends one KTSyncAttendee for each value of an ATTENDEE or ORGANIZER property. Nothing for
    /// nil.
    static void addCNAndValueToList(Array& list, std::optional<std::string_view> fromKey,
                                    const Value& andValue, KTFileLogger* fileLogger);

    // Values: KTSyncCalendarTools+Dates.cpp, +Durations.cpp

    /// `20071224` all-day, `20071224T100000` in the zone, `20071224T100000Z` in Etc/UTC (RFC
    /// 5545, 3.3.4 and 3.3.5); only the tail of the text counts. Null for nil, for a text that
    /// names no date, and for what is no text. A nil zone means Europe/Berlin.
    static EnhancedDate parseICalDate(const Value& text,
                                      const std::optional<std::string>& withTimezone,
                                      KTFileLogger* fileLogger);

    /// The TZID parameter of a property key as written, or the default zone; a name over 255 bytes
    /// is none, and told as a loss.
    static std::string findTimezone(std::optional<std::string_view> key,
                                    std::string_view defaultTimezone, KTFileLogger* fileLogger);

    /// A whole property line ending in CR LF, not folded; nullopt without name or date. Throws
    /// Exception NSInvalidArgumentException when the value is no date. A zone's name that would
    /// hide the date from the reader is written without its quotes, backslashes and commas.
    static std::optional<std::string> assembleDateComponent(std::optional<std::string_view> name,
                                                            const Value& forDate);

    /// The date that a value is; null for nil. Throws Exception NSInvalidArgumentException for
    /// anything else.
    static EnhancedDate enhancedDate(const Value& value);

    /// Weeks, days, hours, minutes, seconds as `P1DT2H30S` (RFC 5545, 3.3.6), without sign. "PT1H"
    /// for nil.
    static std::string iCalDurationString(const Value& duration, KTFileLogger* fileLogger);

    /// An array of weeks, days, hours, minutes, seconds; the sign is dropped. Nil for nil and,
    /// logged, for a text without any digit.
    static Value parseICalDuration(const Value& text, KTFileLogger* fileLogger);

    /// Appends the dates of one EXDATE value, separated by commas (RFC 5545, 3.8.5.1). Throws
    /// Exception NSInvalidArgumentException for a piece that is no date.
    static void splitSingleExceptionDateLine(const Value& text, Array& intoExceptions,
                                             std::string_view currentKey,
                                             std::string_view defaultTimezone,
                                             KTFileLogger* fileLogger);

    /// All dates of an EXDATE property, of one line or of several with the same key. Throws as
    /// above.
    static Array filterExceptionDates(std::string_view currentKey, const Value& currentValue,
                                      std::string_view defaultTimezone, KTFileLogger* fileLogger);

    // The value filter: KTSyncCalendarTools+Filter.cpp

    /// Turns the property dictionary of a component into its value dictionary, keyed by property
    /// name:
    ///
    /// - DTSTART, DTEND, DUE, COMPLETED, DTSTAMP, RECURRENCE-ID: KTSyncEnhancedDate, else raw
    /// - ALLDAY: boolean, only beside a DTSTART that is a date
    /// - TRIGGER: KTSyncEnhancedDate for a key that begins with "TRIGGER;TZID=", else raw
    /// - ATTENDEE, ORGANIZER: array of KTSyncAttendee
    /// - ATTACH: array of KTSyncAttachment
    /// - EXDATE: array of KTSyncEnhancedDate, of the last EXDATE key
    /// - RRULE: KTSyncRecurrenceRule
    /// - DURATION: array of five integers
    /// - any other: raw, a string or an array of strings
    ///
    /// Throws Exception, logged with the dictionary and the key, when a rule, a duration, an EXDATE
    /// or an ATTACH cannot be taken. Names are views into the keys.
    static ComponentProperties filterICalValuesInComponents(const RawProperties& components,
                                                            const std::string& defaultTimezone,
                                                            KTFileLogger* fileLogger);
};

}  // namespace kt
