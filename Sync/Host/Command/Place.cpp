#include "Sync/Host/Command/Place.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/Host/Command/Settings.h"
#include "Sync/Host/Server/SyncServer.h"
#include "Sync/Host/Services/HomeLayout.h"
#include "Sync/Host/Services/MachineName.h"
#include "Sync/Host/Services/SuiteFolder.h"

namespace kt {

namespace {

std::string absolutePath(const std::string& path)
{
    std::error_code error;
    std::string absolute = std::filesystem::absolute(path, error).lexically_normal().string();
    if (error)
        return path;
    if (absolute.size() > 1 && absolute.ends_with('/'))
        absolute.pop_back();
    return absolute;
}

/// A file that was named has to be there; the one in the suite's folder may be missing.
Settings settingsFor(const CommandLine& line, const std::string& home)
{
    if (line.config)
        return settingsFromFile(*line.config);
    const std::string usual = SuiteFolder(home).settingsPath();
    return FileManager::defaultManager().linkStatusAtPath(usual) ? settingsFromFile(usual)
                                                                 : Settings{};
}

/// The bundle stands in the folder above the program's own.
std::string pluginBesideProgram()
{
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    return (program.parent_path().parent_path() / "ICalSyncPlugin.bundle").string();
}

}  // namespace

Place placeForCommandLine(const CommandLine& line)
{
    const std::string firstHome = absolutePath(line.home.value_or(NSHomeDirectory()));
    Settings settings = settingsFor(line, firstHome);

    Place place;
    place.home = line.home ? firstHome : absolutePath(settings.home.value_or(firstHome));
    place.systemVersion = line.systemVersion
                              ? *line.systemVersion
                              : settings.systemVersion.value_or(systemVersionOfHome(place.home));
    place.serverURL =
        line.server ? *line.server
                    : settings.server.value_or("sqlite:" + SuiteFolder(place.home).serverPath());
    place.device = line.device ? *line.device : settings.device.value_or(machineName());
    place.pluginPath = line.plugin ? *line.plugin : settings.plugin.value_or(pluginBesideProgram());
    place.calendarProgram = std::move(settings.calendarProgram);
    place.site = std::move(settings.site);
    place.site.listen = line.listen.value_or(place.site.listen);
    place.site.port = line.port.value_or(place.site.port);
    syncServerWithURL(place.serverURL);  // throws for an address that names none
    return place;
}

}  // namespace kt
