#include "Sync/Foundation/TimeZone.h"

#include <algorithm>
#include <optional>
#include <string>
#include <unordered_map>

#include "Sync/Foundation/CalendarDate.h"
#include "Sync/Foundation/Platform.h"

namespace kt {

namespace {

/// Names come from files, and the database reads a name as a path: nothing but names of zones may
/// reach it, and none in a second spelling.
bool isPlausibleZoneName(std::string_view name)
{
    constexpr std::size_t kLongestName = 255;
    if (name.empty() || name.size() > kLongestName || name.starts_with('/') ||
        name.ends_with('/') || name.find("//") != std::string_view::npos ||
        name.starts_with("Fixed/"))
        return false;
    return std::all_of(name.begin(), name.end(), [](char character) {
        return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
               (character >= '0' && character <= '9') ||
               std::string_view("_+-/").find(character) != std::string_view::npos;
    });
}

std::optional<cctz::time_zone> loadedTimeZone(const std::string& name)
{
    if (name == "Etc/UTC")
        return cctz::utc_time_zone();  // there also without a database
    cctz::time_zone zone;
    if (!cctz::load_time_zone(name, &zone))
        return std::nullopt;
    return zone;
}

/// The database takes a lock for each look-up; here each thread remembers what it found.
const std::optional<cctz::time_zone>& findTimeZone(std::string_view name)
{
    constexpr std::size_t kMostNames = 1024;  // names are the user's, and may be all different
    static const std::optional<cctz::time_zone> kUnknown;
    if (!isPlausibleZoneName(name))
        return kUnknown;

    thread_local std::unordered_map<std::string, std::optional<cctz::time_zone>> zones;
    thread_local const decltype(zones)::value_type* last = nullptr;
    if (last != nullptr && last->first == name)
        return last->second;
    std::string key(name);
    auto found = zones.find(key);
    if (found == zones.end()) {
        if (zones.size() >= kMostNames) {
            last = nullptr;
            zones.clear();
        }
        std::optional<cctz::time_zone> zone = loadedTimeZone(key);
        found = zones.emplace(std::move(key), zone).first;
    }
    last = &*found;
    return last->second;
}

}  // namespace

cctz::time_zone timeZoneOrLocal(std::string_view name)
{
    if (const auto& zone = findTimeZone(name))
        return *zone;
    if (const auto& zone = findTimeZone(Platform::shared().localTimeZoneName()))
        return *zone;
    return cctz::utc_time_zone();
}

bool isKnownTimeZone(std::string_view name) { return findTimeZone(name).has_value(); }

}  // namespace kt
