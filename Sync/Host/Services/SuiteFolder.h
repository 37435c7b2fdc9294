#pragma once

#include <string>
#include <string_view>

namespace kt {

/// Where the host keeps what is its own: one folder below the home that it works on.
class SuiteFolder {
public:
    explicit SuiteFolder(std::string_view home);

    const std::string& path() const { return _path; }
    std::string preferencesPath() const { return pathOf("Preferences.plist"); }
    std::string settingsPath() const { return pathOf("icalsync.toml"); }
    std::string localStatePath() const { return pathOf("LocalState.sqlite"); }
    /// The server that is used where no other is named.
    std::string serverPath() const { return pathOf("Server.sqlite"); }
    std::string backupsPath() const { return pathOf("Backups"); }
    std::string logPath() const { return pathOf("Logs/Synchronisierung.log"); }
    std::string fileLogPath() const { return pathOf("Logs/Einzelheiten.log"); }
    std::string lockPath() const { return pathOf("Synchronisierung.lock"); }

    /// Makes sure that the folder is there. Throws Exception NSGenericException, with a line for
    /// the user, when it cannot be made.
    void create() const;

private:
    std::string pathOf(std::string_view name) const;

    std::string _path;
};

}  // namespace kt
