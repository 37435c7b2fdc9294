#include "Sync/Host/Services/BackupName.h"

#include <charconv>

#include "Sync/Foundation/CalendarDate.h"

namespace kt {

namespace {

constexpr std::string_view kFirst = "-erste";
constexpr std::string_view kExtension = ".tar.zst";
/// No colons, which other systems do not take.
constexpr std::string_view kDateFormat = "%Y-%m-%dT%H-%M-%S";
constexpr std::size_t kDateLength = 19;
constexpr std::size_t kCounterDigits = 6;

/// The number in front of the first hyphen of an archive's name; 0 for none.
std::int64_t counterIn(std::string_view text)
{
    const std::size_t length = text.find('-');
    if (length == std::string_view::npos || length < kCounterDigits)
        return 0;
    std::int64_t counter = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + length, counter);
    const bool isNumber = error == std::errc() && end == text.data() + length;
    return isNumber && counter > 0 ? counter : 0;
}

}  // namespace

BackupName BackupName::next(std::int64_t counter, Date instant, bool isFirst)
{
    std::string digits = std::to_string(counter + 1);
    if (digits.size() < kCounterDigits)
        digits.insert(0, kCounterDigits - digits.size(), '0');
    const CalendarDate date = calendarDateOfInstant(instant, "Etc/UTC");
    return {digits + "-" + date.descriptionWithCalendarFormat(kDateFormat) + "Z" +
                std::string(isFirst ? kFirst : ""),
            counter + 1};
}

std::optional<BackupName> BackupName::ofEntry(std::string_view entry)
{
    if (entry.empty() || entry.starts_with('.'))
        return std::nullopt;
    if (!entry.ends_with(kExtension))
        return BackupName(std::string(entry), 0);
    entry.remove_suffix(kExtension.size());
    const std::int64_t counter = counterIn(entry);
    if (counter == 0)
        return std::nullopt;
    return BackupName(std::string(entry), counter);
}

std::string BackupName::entry() const
{
    return isArchive() ? _text + std::string(kExtension) : _text;
}

bool BackupName::isFirst() const { return _text.ends_with(kFirst); }

std::optional<Date> BackupName::date() const
{
    const std::size_t begin = isArchive() ? _text.find('-') + 1 : 0;
    const auto date =
        CalendarDate::dateWithString(std::string_view(_text).substr(begin, kDateLength),
                                     kDateFormat);
    if (!date)
        return std::nullopt;
    return instantOfCalendarDate(*date, "Etc/UTC");
}

}  // namespace kt
