#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kt {

/// The names of iCal's files and folders, and of the plug-in's own: the one place that builds them.
/// All are absolute, below the home folder; nothing here touches the disk. Keys must be plain path
/// components (isPlainPathComponent).
class StorePaths {
public:
    // The Mac OS X 10.4 layout.
    static std::string iCalFolder();
    static std::string nodeFile();
    /// The calendars' folders.
    static std::string sources();
    /// What stood there before the last rewrite, moved aside.
    static std::string sourcesAside();
    static std::string nodeFileAside();
    /// A calendar's folder below "Sources".
    static std::string calendarFolder104(std::string_view sourceKey);
    /// All items of a calendar.
    static std::string itemsFile104(std::string_view calendarFolder);
    /// Settings of a subscription, a keyed archive.
    static std::string subscriptionFile104(std::string_view calendarFolder);

    // The Mac OS X 10.5 layout.
    static constexpr std::string_view calendarExtension = ".calendar";
    static constexpr std::string_view groupExtension = ".group";
    static constexpr std::string_view imapExtension = ".imap";
    static std::string calendarsFolder();
    static std::string calendarCache();
    static std::string calendarFolder105(std::string_view sourceKey);
    /// The name of the folder of a calendar or group that iCal does not know yet.
    static std::string folderName105(std::string_view recordKey, std::int32_t calendarType);
    static std::string eventsFolder(std::string_view calendarFolder);
    static std::string oldSubscriptionFile(std::string_view calendarFolder);

    // Both layouts.
    /// Whether a calendar's folder may be named after that key.
    static bool isFolderKey(std::string_view sourceKey);
    static std::string infoFile(std::string_view calendarFolder);

    // The plug-in's own.
    static std::string pluginFolder();
    /// The one copy of the 10.5 store as it was before the last rewrite.
    static std::string calendarsBackup();
    /// The one copy of the 10.4 store as it was before the last rewrite.
    static std::string sourcesBackup();
    static std::string nodeFileBackup();
    /// Written whole before it is copied to its place.
    static std::string newNodeFile();
};

}  // namespace kt
