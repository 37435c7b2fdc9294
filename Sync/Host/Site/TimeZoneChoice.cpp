#include "Sync/Host/Site/TimeZoneChoice.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <utility>

#include "Sync/Foundation/CalendarDate.h"

namespace kt {

namespace {

constexpr std::string_view kDatabase = "/usr/share/zoneinfo/";
constexpr std::size_t kLongestName = 64;

/// "Area/Place" or one word, without anything that leads elsewhere or twice to the same.
bool isZoneName(std::string_view name)
{
    constexpr std::string_view kCharacters =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_+-/";
    return !name.empty() && name.size() <= kLongestName && name.front() != '/' &&
           name.back() != '/' && name.find("//") == std::string_view::npos &&
           name.find_first_not_of(kCharacters) == std::string_view::npos;
}

std::vector<std::string> sorted(std::vector<std::string> names)
{
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

/// The third column of the database's table of places.
std::vector<std::string> namesInTable()
{
    std::vector<std::string> names{"UTC"};
    std::ifstream table(std::string(kDatabase) + "zone.tab");
    for (std::string line; std::getline(table, line);) {
        std::istringstream columns(line);
        std::string country;
        std::string coordinates;
        std::string name;
        if (line.starts_with('#') || !(columns >> country >> coordinates >> name))
            continue;
        if (isZoneName(name))
            names.push_back(name);
    }
    return sorted(std::move(names));
}

/// The names of places, and of every zone and link in the database's compact source ("Z NAME ...",
/// "L TARGET NAME"), where that is installed.
std::vector<std::string> everyName()
{
    std::vector<std::string> names = choosableZones();
    std::ifstream source(std::string(kDatabase) + "tzdata.zi");
    for (std::string line; std::getline(source, line);) {
        std::istringstream columns(line);
        std::string kind;
        std::string name;
        columns >> kind >> name;
        if (kind == "L")
            columns >> name;
        if ((kind == "Z" || kind == "L") && isZoneName(name) && name != "Factory")
            names.push_back(name);
    }
    return sorted(std::move(names));
}

}  // namespace

bool isChoosableZone(std::string_view name)
{
    static const std::vector<std::string> kNames = everyName();
    return std::binary_search(kNames.begin(), kNames.end(), name) && isKnownTimeZone(name);
}

const std::vector<std::string>& choosableZones()
{
    static const std::vector<std::string> kNames = namesInTable();
    return kNames;
}

}  // namespace kt
