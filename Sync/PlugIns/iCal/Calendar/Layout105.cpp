#include "Sync/PlugIns/iCal/Calendar/Layout105.h"

namespace kt {

std::string Layout105::calendarFolder(std::string_view sourceKey) const
{
    return paths().calendarFolder105(sourceKey);
}

std::string Layout105::itemsFolder(std::string_view calendarFolder) const
{
    return StorePaths::eventsFolder(calendarFolder);
}

std::vector<std::string> Layout105::filesToBackup() const { return {paths().calendarsFolder()}; }

std::vector<std::string> Layout105::filesToWatch() const { return {paths().calendarCache()}; }

}  // namespace kt
