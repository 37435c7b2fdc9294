#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "Sync/Foundation/Platform.h"

namespace kt {

/// The names of iCal's files and folders below one home folder, and of the suite's own: the one
/// place that builds them. A value; nothing here touches the disk. Keys must be plain path
/// components (isPlainPathComponent).
class StorePaths {
public:
    explicit StorePaths(std::string home = NSHomeDirectory()) : _home(std::move(home)) {}

    // The Mac OS X 10.4 layout.
    std::string iCalFolder() const;
    std::string nodeFile() const;
    /// The calendars' folders.
    std::string sources() const;
    /// What stood there before the last rewrite, moved aside.
    std::string sourcesAside() const;
    std::string nodeFileAside() const;
    /// A calendar's folder below "Sources".
    std::string calendarFolder104(std::string_view sourceKey) const;
    /// All items of a calendar.
    static std::string itemsFile104(std::string_view calendarFolder);
    /// Settings of a subscription, a keyed archive.
    static std::string subscriptionFile104(std::string_view calendarFolder);

    // The Mac OS X 10.5 layout.
    static constexpr std::string_view calendarExtension = ".calendar";
    static constexpr std::string_view groupExtension = ".group";
    static constexpr std::string_view imapExtension = ".imap";
    std::string calendarsFolder() const;
    std::string calendarCache() const;
    /// A calendar's or group's folder under its own key.
    std::string calendarFolder105(std::string_view sourceKey) const;
    /// The names of the folders of a calendar and of a group that iCal does not know yet.
    static std::string calendarFolderName105(std::string_view recordKey);
    static std::string groupFolderName105(std::string_view recordKey);
    static std::string eventsFolder(std::string_view calendarFolder);
    /// One item in the folder of events.
    static std::string itemFile105(std::string_view eventsFolder, std::string_view recordKey);
    /// Whether an item's file may be named after that key.
    static bool isItemKey(std::string_view recordKey);
    static std::string oldSubscriptionFile(std::string_view calendarFolder);

    // Both layouts.
    static constexpr std::string_view infoFileName = "Info.plist";
    static constexpr std::string_view nodeFileName = "nodes.plist";
    static constexpr std::string_view sourcesName = "Sources";
    static constexpr std::string_view itemsFileName104 = "corestorage.ics";
    static constexpr std::string_view eventsName = "Events";
    /// Without its dot.
    static constexpr std::string_view itemFileExtension = "ics";
    /// Whether a calendar's folder may be named after that key.
    static bool isFolderKey(std::string_view sourceKey);
    static std::string infoFile(std::string_view calendarFolder);
    /// Files attached to items: one folder an attachment. Stands in "Library/Calendars" in either
    /// layout.
    static constexpr std::string_view attachmentsName = "Attachments";
    std::string attachmentFile(std::string_view folder, std::string_view name) const;

    // The suite's own, and in it the plug-in's.
    std::string suiteFolder() const;
    std::string pluginFolder() const;
    /// The one copy of the 10.5 store as it was before the last rewrite.
    std::string calendarsBackup() const;
    /// The one copy of the 10.4 store as it was before the last rewrite.
    std::string sourcesBackup() const;
    std::string nodeFileBackup() const;
    /// Written whole before it is copied to its place.
    std::string newNodeFile() const;

private:
    std::string belowHome(std::string_view relative) const;

    std::string _home;
};

}  // namespace kt
