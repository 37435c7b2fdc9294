#include "Sync/Host/Publishing/RecurrenceRule.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>

#include "Sync/Foundation/Text.h"

namespace kt {

namespace {

constexpr std::array<std::string_view, 7> kFrequencies{"SECONDLY", "MINUTELY", "HOURLY", "DAILY",
                                                       "WEEKLY",   "MONTHLY",  "YEARLY"};
constexpr std::array<std::string_view, 7> kWeekdays{"MO", "TU", "WE", "TH", "FR", "SA", "SU"};

template <std::size_t size>
std::optional<int> indexOf(const std::array<std::string_view, size>& names, std::string_view name)
{
    const auto found = std::find(names.begin(), names.end(), name);
    if (found == names.end())
        return std::nullopt;
    return static_cast<int>(found - names.begin());
}

/// One list of integers: its part in the text, its key in a record, its range. Lists that may count
/// from the end take the negative range as well.
struct List {
    std::string_view part;
    std::string_view key;
    std::vector<int> RecurrenceRule::*field;
    int lowest;
    int highest;
    bool countsFromTheEnd = false;
};

// In the order of RFC 5545, 3.3.10.
const std::array<List, 8> kLists{{
    {"BYSECOND", "BySeconds", &RecurrenceRule::seconds, 0, 60},
    {"BYMINUTE", "ByMinutes", &RecurrenceRule::minutes, 0, 59},
    {"BYHOUR", "ByHours", &RecurrenceRule::hours, 0, 23},
    {"BYMONTHDAY", "ByMonthDay", &RecurrenceRule::monthDays, 1, 31, true},
    {"BYYEARDAY", "ByYearDay", &RecurrenceRule::yearDays, 1, 366, true},
    {"BYWEEKNO", "ByWeekNumber", &RecurrenceRule::weekNumbers, 1, 53, true},
    {"BYMONTH", "ByMonth", &RecurrenceRule::months, 1, 12},
    {"BYSETPOS", "BySP", &RecurrenceRule::positions, 1, 366, true},
}};

bool isInRange(const List& list, int number)
{
    const int size = list.countsFromTheEnd ? std::abs(number) : number;
    return size >= list.lowest && size <= list.highest;
}

const Array& arrayIn(const Dictionary& record, std::string_view key)
{
    static const Array kNone;
    const Value& value = record[key];
    return value.isArray() ? value.array() : kNone;
}

template <class T>
void makeSorted(std::vector<T>& list)
{
    std::sort(list.begin(), list.end());
    list.erase(std::unique(list.begin(), list.end()), list.end());
}

/// False when nothing is left of a list that held something.
bool readList(RecurrenceRule& rule, const List& list, const Dictionary& record)
{
    const Array& values = arrayIn(record, list.key);
    std::vector<int>& numbers = rule.*list.field;
    for (const Value& value : values) {
        if (value.isNumber() && isInRange(list, value.intValue()))
            numbers.push_back(value.intValue());
    }
    makeSorted(numbers);
    return values.empty() || !numbers.empty();
}

/// A weekday as records hold it: its text, in which a sign and digits may be left, and the ordinal.
std::optional<RecurrenceRule::Weekday> weekday(const Value& value)
{
    if (!value.isArray() || value.array().size() != 2 || !value.array()[0].isString() ||
        !value.array()[1].isNumber())
        return std::nullopt;
    std::string_view text = value.array()[0].string();
    RecurrenceRule::Weekday weekday;
    weekday.ordinal = value.array()[1].intValue();
    if (text.size() > 2) {
        if (weekday.ordinal == 0)
            weekday.ordinal = intValue(text.substr(text.front() == '+' ? 1 : 0));
        text.remove_prefix(text.size() - 2);
    }
    const auto day = indexOf(kWeekdays, text);
    constexpr int kWeeks = 53;
    if (!day || std::abs(weekday.ordinal) > kWeeks)
        return std::nullopt;
    weekday.day = *day;
    return weekday;
}

bool readWeekdays(RecurrenceRule& rule, const Dictionary& record)
{
    for (const Value& value : arrayIn(record, "WeekStart")) {
        if (const auto start = weekday(value))
            rule.weekStart = start->day;
    }
    const Array& values = arrayIn(record, "ByWeekday");
    for (const Value& value : values) {
        const auto day = weekday(value);
        if (day &&
            std::find(rule.weekdays.begin(), rule.weekdays.end(), *day) == rule.weekdays.end())
            rule.weekdays.push_back(*day);
    }
    return values.empty() || !rule.weekdays.empty();
}

std::string textOf(const RecurrenceRule::Weekday& weekday)
{
    std::string text = weekday.ordinal == 0 ? "" : std::to_string(weekday.ordinal);
    return text += kWeekdays[static_cast<std::size_t>(weekday.day)];
}

template <class T, class Text>
void appendPart(std::string& text, std::string_view part, const std::vector<T>& list, Text textOf)
{
    if (list.empty())
        return;
    text += ';';
    text += part;
    char separator = '=';
    for (const T& element : list) {
        text += separator;
        text += textOf(element);
        separator = ',';
    }
}

/// A day where the event has days, an instant where it has times (RFC 5545, 3.3.10).
std::string untilText(const PublishedDate& until, const PublishedDate& start)
{
    if (until.isAllDay == start.isAllDay && start.isAllDay)
        return dateText(until.clock);
    if (start.isAllDay)
        return dateText(calendarDateOfInstant(until.instant(), start.zone));
    PublishedDate instant = until;
    if (until.isAllDay) {
        // The whole of that day counts.
        instant = start;
        instant.clock = until.clock;
        instant.clock.hour = 23;
        instant.clock.minute = instant.clock.second = 59;
    }
    return dateTimeText(calendarDateOfInstant(instant.instant(), "Etc/UTC")) + 'Z';
}

/// Leaves out what a rule of that frequency may not have.
void leaveOutWhatIsForbidden(RecurrenceRule& rule)
{
    using Frequency = RecurrenceRule::Frequency;
    const Frequency frequency = rule.frequency;
    if (frequency != Frequency::yearly)
        rule.weekNumbers.clear();
    if (frequency == Frequency::daily || frequency == Frequency::weekly ||
        frequency == Frequency::monthly)
        rule.yearDays.clear();
    if (frequency == Frequency::weekly)
        rule.monthDays.clear();
    if (frequency < Frequency::monthly || !rule.weekNumbers.empty()) {
        for (RecurrenceRule::Weekday& weekday : rule.weekdays)
            weekday.ordinal = 0;
        std::vector<RecurrenceRule::Weekday> single;
        for (const RecurrenceRule::Weekday& weekday : rule.weekdays) {
            if (std::find(single.begin(), single.end(), weekday) == single.end())
                single.push_back(weekday);
        }
        rule.weekdays = std::move(single);
    }
    const bool hasSet = !(rule.seconds.empty() && rule.minutes.empty() && rule.hours.empty() &&
                          rule.monthDays.empty() && rule.yearDays.empty() &&
                          rule.weekNumbers.empty() && rule.months.empty() && rule.weekdays.empty());
    if (!hasSet)
        rule.positions.clear();
}

}  // namespace

std::optional<RecurrenceRule> RecurrenceRule::fromRecord(const Dictionary& record)
{
    const Value& name = record["Frequency"];
    const auto frequency = name.isString() ? indexOf(kFrequencies, name.string()) : std::nullopt;
    if (!frequency)
        return std::nullopt;
    RecurrenceRule rule;
    rule.frequency = static_cast<Frequency>(*frequency);
    const auto number = [&](std::string_view key) {
        return record[key].isNumber() ? record[key].intValue() : 0;
    };
    rule.interval = std::max(number("Interval"), 1);
    if (number("Count") > 0)
        rule.count = number("Count");
    else
        rule.until = PublishedDate::fromRecord(record["UntilDate"]);
    bool isWhole = readWeekdays(rule, record);
    for (const List& list : kLists)
        isWhole = readList(rule, list, record) && isWhole;
    if (!isWhole)
        return std::nullopt;
    leaveOutWhatIsForbidden(rule);
    return rule;
}

std::string RecurrenceRule::text(const PublishedDate& start) const
{
    std::string text = "FREQ=";
    text += kFrequencies[static_cast<std::size_t>(frequency)];
    if (count)
        text += ";COUNT=" + std::to_string(*count);
    else if (until)
        text += ";UNTIL=" + untilText(*until, start);
    if (interval > 1)
        text += ";INTERVAL=" + std::to_string(interval);
    for (const List& list : kLists)
        appendPart(text, list.part, this->*list.field,
                   [](int number) { return std::to_string(number); });
    appendPart(text, "BYDAY", weekdays, textOf);
    if (weekStart != 0) {
        text += ";WKST=";
        text += kWeekdays[static_cast<std::size_t>(weekStart)];
    }
    return text;
}

}  // namespace kt
