#pragma once

#include "Sync/PlugIns/iCal/Calendar/StoreLayout.h"

namespace kt {

/// The Mac OS X 10.5 layout: one folder for each calendar and group, with its Info.plist and a file
/// for each item.
class Layout105 final : public StoreLayout {
public:
    explicit Layout105(StorePaths paths = StorePaths()) : StoreLayout(std::move(paths)) {}

    std::string calendarFolder(std::string_view sourceKey) const override;
    std::string itemsFolder(std::string_view calendarFolder) const override;
    std::vector<std::string> filesToBackup() const override;
    std::vector<std::string> filesToWatch() const override;

    std::optional<ParsedCalendars> read(KTSyncCalendarStore& store) const override;
    /// Always true: here only an Exception makes writing fail.
    bool write(KTSyncCalendarStore& store, const Calendars& calendars) const override;

    Dictionary node(const KTSyncCalendar& calendar) const override;
    bool storeItems(const KTSyncCalendar& calendar,
                    const std::string& calendarFolder) const override;

    /// Reads one folder level. Throws Exception for an entry of Info.plist that is of the wrong
    /// kind, after reporting it as a loss.
    void readLevel(KTSyncPluginHelper* pluginHelper, const std::string& path,
                   ParsedCalendars& calendars, bool parentIsIMAPGroup,
                   const std::optional<std::string>& parentIMAPGroupRecordKey) const;

protected:
    ItemFiling filing(const std::string& calendarFolder) const override;
    bool saveStore() const override;
    void planDescriptions(KTSyncPluginHelper* pluginHelper, const CarefulStore& store,
                          StoreEdits& edits) const override;
    void planIndex(KTSyncPluginHelper* pluginHelper, const CarefulStore& store,
                   StoreEdits& edits) const override;

private:
    std::string folderForNew(const KTSyncCalendar& calendar) const;
    /// Members are source keys.
    void planNew(const KTSyncCalendar& calendar, const Array& members, StoreEdits& edits) const;
    static void planChanged(KTSyncPluginHelper* pluginHelper, const CarefulCalendar& calendar,
                            const Array& membersBefore, const Array& membersAfter,
                            StoreEdits& edits);

    class ItemWriter;
    class Level;
    class Writer;
};

}  // namespace kt
