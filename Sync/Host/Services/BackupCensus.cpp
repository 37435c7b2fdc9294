#include "Sync/Host/Services/BackupCensus.h"

#include <algorithm>
#include <array>
#include <optional>

#include "Sync/Foundation/Digest.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/PropertyList.h"
#include "Sync/HostInterface/StorePaths.h"

namespace kt {

namespace {

/// No description is that long; what is longer is none.
constexpr std::size_t kLongestDescription = std::size_t{1} << 20;

/// A path in the backup, cut behind its calendar's folder.
struct CalendarPath {
    std::string folder;
    std::string_view rest;
};

/// "Calendars/KEY.calendar/..." in one layout, "iCal/Sources/KEY.calendar/..." in the other.
std::optional<CalendarPath> calendarPath(std::string_view path)
{
    std::size_t begin = path.find('/') + 1;
    if (path.substr(begin).starts_with(std::string(StorePaths::sourcesName) + '/'))
        begin += StorePaths::sourcesName.size() + 1;
    const std::size_t end = path.find('/', begin);
    if (begin == 0 || end == std::string_view::npos ||
        !path.substr(0, end).ends_with(StorePaths::calendarExtension))
        return std::nullopt;
    return CalendarPath{std::string(path.substr(0, end)), path.substr(end + 1)};
}

bool isDescription(const CalendarPath& path) { return path.rest == StorePaths::infoFileName; }

bool holdsItems(const CalendarPath& path)
{
    return path.rest == StorePaths::itemsFileName104 ||
           (path.rest.starts_with(StorePaths::eventsName) &&
            pathExtension(path.rest) == StorePaths::itemFileExtension);
}

/// The kind of a calendar as its record key is made with it.
std::string_view recordTypeFor(const Value& type)
{
    if (type == Value("Subscription") || type == Value("com.apple.ical.sources.urlsubscribesource"))
        return "CalendarSubscriber";
    if (type == Value("Birthday") || type == Value("com.apple.ical.sources.birthdays"))
        return "BirthdayCalendar";
    return "CalendarNode";
}

std::string text(const Value& value)
{
    return value.isString() ? std::string(value.string()) : std::string();
}

void describe(BackupCalendar& calendar, const std::string& description)
{
    const auto info = propertyListWithData(description);
    if (!info || !info->isDictionary())
        return;
    const Dictionary& entries = info->dictionary();
    calendar.title = text(entries["Title"]);
    if (const std::string key = text(entries["Key"]); !key.empty())
        calendar.sourceKey = key;
    if (calendar.title.empty() && entries["Type"] == Value("com.apple.ical.sources.birthdays"))
        calendar.title = "Geburtstage";
    if (!calendar.title.empty())
        calendar.recordKey =
            sha1DigestHex(calendar.title + std::string(recordTypeFor(entries["Type"])));
}

bool beginsItem(std::string_view line)
{
    constexpr std::array<std::string_view, 2> kBeginnings{"BEGIN:VEVENT", "BEGIN:VTODO"};
    while (!line.empty() && (line.back() == '\r' || line.back() == ' '))
        line.remove_suffix(1);
    return std::find(kBeginnings.begin(), kBeginnings.end(), line) != kBeginnings.end();
}

}  // namespace

bool BackupCensus::counts(std::string_view path)
{
    const auto calendar = calendarPath(path);
    return calendar && (isDescription(*calendar) || holdsItems(*calendar));
}

void BackupCensus::add(const std::string& path, std::string_view bytes)
{
    if (path != _path)
        beginFile(path);
    const auto parts = calendarPath(path);
    if (!parts)
        return;
    BackupCalendar& calendar = _calendars[parts->folder];
    if (calendar.folder.empty()) {
        calendar.folder = parts->folder;
        const std::string name = lastPathComponent(calendar.folder);
        calendar.sourceKey = name.substr(0, name.size() - StorePaths::calendarExtension.size());
    }
    if (isDescription(*parts) && _descriptions[parts->folder].size() < kLongestDescription)
        _descriptions[parts->folder] += bytes;
    if (holdsItems(*parts))
        countItems(calendar, bytes);
}

void BackupCensus::beginFile(const std::string& path)
{
    _path = path;
    _lineBegun.clear();
}

void BackupCensus::countItems(BackupCalendar& calendar, std::string_view bytes)
{
    // Longer than any line that counts, so that a longer one cannot be taken for it.
    constexpr std::size_t kEnough = 32;
    while (!bytes.empty()) {
        const std::size_t end = bytes.find('\n');
        const std::string_view line = bytes.substr(0, end);
        if (end != std::string_view::npos && _lineBegun.empty()) {
            calendar.items += beginsItem(line) ? 1 : 0;
        } else {
            _lineBegun += line.substr(0, kEnough);
            if (end != std::string_view::npos) {
                calendar.items += beginsItem(_lineBegun) ? 1 : 0;
                _lineBegun.clear();
            }
        }
        bytes.remove_prefix(end == std::string_view::npos ? bytes.size() : end + 1);
    }
}

std::vector<BackupCalendar> BackupCensus::calendars() const
{
    std::vector<BackupCalendar> all;
    for (auto [folder, calendar] : _calendars) {
        const auto description = _descriptions.find(folder);
        if (description != _descriptions.end())
            describe(calendar, description->second);
        all.push_back(std::move(calendar));
    }
    return all;
}

}  // namespace kt
