#include "Sync/Host/Publishing/TimeZoneChoice.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

#include "Sync/Foundation/CalendarDate.h"

namespace kt {

namespace {

constexpr std::string_view kDatabase = "/usr/share/zoneinfo/";
constexpr std::size_t kLongestName = 64;

/// "Area/Place" or one word, without anything that leads out of the database's folder.
bool isZoneName(std::string_view name)
{
    constexpr std::string_view kCharacters =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_+-/";
    return !name.empty() && name.size() <= kLongestName && name.front() != '/' &&
           name.find_first_not_of(kCharacters) == std::string_view::npos;
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
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace

bool isChoosableZone(std::string_view name)
{
    if (!isZoneName(name))
        return false;
    std::error_code error;
    return std::filesystem::is_regular_file(std::string(kDatabase) + std::string(name), error) &&
           isKnownTimeZone(name);
}

const std::vector<std::string>& choosableZones()
{
    static const std::vector<std::string> kNames = namesInTable();
    return kNames;
}

}  // namespace kt
