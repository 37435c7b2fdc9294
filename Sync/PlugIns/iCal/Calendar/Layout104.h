#pragma once

#include "Sync/PlugIns/iCal/Calendar/StoreLayout.h"

namespace kt {

/// The Mac OS X 10.4 layout: a node file with the tree of calendars and groups, and a folder for
/// each calendar with all its items in one file.
class Layout104 final : public StoreLayout {
public:
    explicit Layout104(StorePaths paths = StorePaths()) : StoreLayout(std::move(paths)) {}

    std::string calendarFolder(std::string_view sourceKey) const override;
    std::string itemsFolder(std::string_view calendarFolder) const override;
    std::vector<std::string> filesToBackup() const override;
    std::vector<std::string> filesToWatch() const override;

    std::optional<ParsedCalendars> read(KTSyncCalendarStore& store) const override;
    bool write(KTSyncCalendarStore& store, const Calendars& calendars) const override;

    Dictionary node(const KTSyncCalendar& calendar) const override;
    bool storeItems(const KTSyncCalendar& calendar,
                    const std::string& calendarFolder) const override;

    /// Reads one list of nodes, groups with their members; nothing for nil. Throws Exception for an
    /// entry of a wrong kind, after reporting it as a loss.
    void readNodes(KTSyncPluginHelper* pluginHelper, const Value& list, ParsedCalendars& calendars,
                   const std::optional<std::string>& parentRecordKey) const;

protected:
    ItemFiling filing(const std::string& calendarFolder) const override;
    bool saveStore() const override;
    bool hasIndex() const override { return true; }
    std::vector<std::string> unlistedFolders() const override;
    void planDescriptions(KTSyncPluginHelper* pluginHelper, const CarefulStore& store,
                          StoreEdits& edits) const override;
    void planIndex(KTSyncPluginHelper* pluginHelper, const CarefulStore& store,
                   StoreEdits& edits) const override;

private:
    class Reader;
    class Writer;

    static void planDescription(const KTSyncCalendar* before, const KTSyncCalendar& calendar,
                                const std::string& folder, StoreEdits& edits);
    /// The content of a calendar's Info.plist and of its subscription file.
    static Dictionary description(const KTSyncCalendar& calendar);
    static std::string subscription(const KTSyncCalendar& calendar);
    static void writeSubscription(const KTSyncCalendar& calendar,
                                  const std::string& calendarFolder);
    static bool writeDescription(const KTSyncCalendar& calendar, const std::string& calendarFolder);
    void reportMissingNodes() const;
    bool isNodeFileKept() const;
    static void addItems(const KTSyncCalendar& calendar, const std::string& path,
                         std::string& text);
};

}  // namespace kt
