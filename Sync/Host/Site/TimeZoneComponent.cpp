#include "Sync/Host/Site/TimeZoneComponent.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <tuple>
#include <vector>

#include <cctz/civil_time.h>
#include <cctz/time_zone.h>

#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/TimeZone.h"
#include "Sync/Host/Publishing/Day.h"

namespace kt {

namespace {

using Seconds = cctz::time_point<cctz::seconds>;

constexpr int kLastYear = 2100;
constexpr std::size_t kYearsThatMakeARule = 10;

/// One change of a zone's clocks.
struct Change {
    CalendarDate onset;  // by the clock before it
    int offsetBefore;    // seconds
    int offset;
    bool isDaylight;
    std::string name;  // of the time after it
};

CalendarDate clockOf(const cctz::civil_second& civil)
{
    return {static_cast<int>(civil.year()),
            civil.month(),
            civil.day(),
            civil.hour(),
            civil.minute(),
            civil.second()};
}

Seconds startOfYear(int year)
{
    return cctz::convert(cctz::civil_second(year), cctz::utc_time_zone());
}

/// The instant of a change: either its clock before or its clock after is skipped or repeated.
Seconds instantOf(const cctz::time_zone::civil_transition& change, const cctz::time_zone& zone)
{
    const auto after = zone.lookup(change.to);
    if (after.kind == cctz::time_zone::civil_lookup::REPEATED)
        return after.trans;
    const auto before = zone.lookup(change.from);
    return before.kind == cctz::time_zone::civil_lookup::SKIPPED ? before.trans : after.pre;
}

Change changeAt(const cctz::time_zone& zone, Seconds instant)
{
    const auto before = zone.lookup(instant - cctz::seconds(1));
    const auto after = zone.lookup(instant);
    Change change;
    change.onset = clockOf(before.cs + 1);
    change.offsetBefore = before.offset;
    change.offset = after.offset;
    change.isDaylight = after.is_dst;
    change.name = after.abbr;
    return change;
}

/// The last change before the first year, or what stands for it, then all others.
std::vector<Change> changesOf(const cctz::time_zone& zone, int firstYear)
{
    Seconds at = startOfYear(firstYear);
    cctz::time_zone::civil_transition next;
    if (zone.prev_transition(at, &next))
        at = instantOf(next, zone);
    std::vector<Change> changes{changeAt(zone, at)};
    const Seconds end = startOfYear(kLastYear + 1);
    while (zone.next_transition(at, &next)) {
        const Seconds later = instantOf(next, zone);
        if (later <= at || later >= end)
            break;
        at = later;
        changes.push_back(changeAt(zone, at));
    }
    return changes;
}

std::string offsetText(int seconds)
{
    const int size = std::abs(seconds);
    std::string text = seconds < 0 ? "-" : "+";
    const auto append = [&](int number) {
        if (number < 10)
            text += '0';
        text += std::to_string(number);
    };
    append(size / 3600);
    append(size / 60 % 60);
    if (size % 60 != 0)
        append(size % 60);
    return text;
}

using Changes = std::vector<const Change*>;

/// "-1SU": which of its month a day is, counted from the end where every one of them is the last.
std::optional<std::string> weekdayText(const Changes& changes)
{
    constexpr const char* kWeekdays[] = {"MO", "TU", "WE", "TH", "FR", "SA", "SU"};
    const auto isLast = [](const CalendarDate& date) {
        return date.day + 7 > daysInMonth(date.year, date.month);
    };
    const auto ordinal = [](const CalendarDate& date) { return (date.day - 1) / 7 + 1; };
    const CalendarDate& first = changes.front()->onset;
    const auto all = [&](auto holds) {
        return std::all_of(changes.begin(), changes.end(),
                           [&](const Change* change) { return holds(change->onset); });
    };
    const int weekday = Day::of(first).weekday();
    if (!all([&](const CalendarDate& date) { return Day::of(date).weekday() == weekday; }))
        return std::nullopt;
    if (all(isLast))
        return std::string("-1") + kWeekdays[weekday];
    if (all([&](const CalendarDate& date) { return ordinal(date) == ordinal(first); }))
        return std::to_string(ordinal(first)) + kWeekdays[weekday];
    return std::nullopt;
}

/// How many changes at the end of the list come once a year, in one month and at one time.
std::size_t yearlyTail(const Changes& changes)
{
    std::size_t tail = 1;
    while (tail < changes.size()) {
        const CalendarDate& later = changes[changes.size() - tail]->onset;
        const CalendarDate& earlier = changes[changes.size() - tail - 1]->onset;
        const bool isYearly =
            earlier.year + 1 == later.year &&
            std::tie(earlier.month, earlier.hour, earlier.minute, earlier.second) ==
                std::tie(later.month, later.hour, later.minute, later.second);
        if (!isYearly)
            break;
        ++tail;
    }
    return tail;
}

void appendObservance(ContentLines& lines, const Changes& changes, const std::string& rule)
{
    const Change& first = *changes.front();
    const char* component = first.isDaylight ? "DAYLIGHT" : "STANDARD";
    lines.begin(component);
    lines.value("DTSTART", dateTimeText(first.onset));
    lines.value("TZOFFSETFROM", offsetText(first.offsetBefore));
    lines.value("TZOFFSETTO", offsetText(first.offset));
    lines.text("TZNAME", first.name);
    if (!rule.empty())
        lines.value("RRULE", rule);
    for (std::size_t at = 1; rule.empty() && at < changes.size(); ++at)
        lines.value("RDATE", dateTimeText(changes[at]->onset));
    lines.end(component);
}

/// Changes of one kind: those that a yearly rule describes as one, the others as dates.
void appendChanges(ContentLines& lines, const Changes& changes)
{
    std::size_t tail = yearlyTail(changes);
    std::optional<std::string> weekday;
    // The rule may be younger than the month and the hour: the longest end that it describes.
    for (; tail >= kYearsThatMakeARule && !weekday; --tail) {
        weekday = weekdayText({changes.end() - static_cast<std::ptrdiff_t>(tail), changes.end()});
        if (weekday)
            break;
    }
    const bool goesOn = changes.back()->onset.year == kLastYear;
    if (!weekday || !goesOn) {
        appendObservance(lines, changes, "");
        return;
    }
    const auto middle = changes.end() - static_cast<std::ptrdiff_t>(tail);
    if (middle != changes.begin())
        appendObservance(lines, {changes.begin(), middle}, "");
    appendObservance(lines, {middle, changes.end()},
                     stringWithFormat("FREQ=YEARLY;BYMONTH=%d;BYDAY=%@", (*middle)->onset.month,
                                      *weekday));
}

}  // namespace

void appendTimeZone(ContentLines& lines, const std::string& zone, int firstYear)
{
    const std::vector<Change> changes = changesOf(timeZoneOrLocal(zone), firstYear);
    const auto kind = [](const Change& change) {
        return std::tie(change.isDaylight, change.offsetBefore, change.offset, change.name);
    };
    lines.begin("VTIMEZONE");
    lines.value("TZID", zone);
    std::vector<Changes> groups;
    for (const Change& change : changes) {
        const auto known = std::find_if(groups.begin(), groups.end(), [&](const Changes& group) {
            return kind(*group.front()) == kind(change);
        });
        if (known == groups.end())
            groups.push_back({&change});
        else
            known->push_back(&change);
    }
    for (const Changes& group : groups)
        appendChanges(lines, group);
    lines.end("VTIMEZONE");
}

}  // namespace kt
