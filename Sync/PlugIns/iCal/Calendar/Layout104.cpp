#include "Sync/PlugIns/iCal/Calendar/Layout104.h"

namespace kt {

std::string Layout104::calendarFolder(std::string_view sourceKey) const
{
    return paths().calendarFolder104(sourceKey);
}

std::string Layout104::itemsFolder(std::string_view calendarFolder) const
{
    return std::string(calendarFolder);
}

std::vector<std::string> Layout104::filesToBackup() const { return {paths().iCalFolder()}; }

std::vector<std::string> Layout104::filesToWatch() const { return {paths().nodeFile()}; }

}  // namespace kt
