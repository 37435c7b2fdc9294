#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/Foundation/PropertyList.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarStore.h"
#include "tests/support/HostClassesScope.h"
#include "tests/support/PlatformScope.h"
#include "tests/support/RecordingPluginHelper.h"
#include "tests/support/TemporaryFolder.h"

namespace kt::test {

/// The host's record class, refusing or failing where a test wants it to.
class ScriptedRecordClass : public HostSyncRecordClass {
public:
    /// False refuses the record; may throw.
    std::function<bool(const Dictionary& record, const std::string& conduit)> accepts;

    SyncRecord syncRecordWithRecordType(int recordType, Dictionary record,
                                        const std::optional<std::string>& key,
                                        const std::optional<std::string>& parentKey,
                                        const std::string& conduit) const override
    {
        if (accepts && !accepts(record, conduit))
            return nullptr;
        return HostSyncRecordClass::syncRecordWithRecordType(recordType, std::move(record), key,
                                                             parentKey, conduit);
    }
};

/// A temporary home with a 10.5 store, and a host that reports such a system.
class StoreFixture : public ::testing::Test {
protected:
    static constexpr const char* kStore = "Library/Calendars/";
    static constexpr const char* kBackup =
        "Library/Application Support/VeloraSuite/SyncPlugins/ICalSyncPlugin/Calendars/";

    StoreFixture()
    {
        KTClassTable table = hostClassTable();
        table.setClass(KTSyncRecordClass::className, &recordClass);
        setHostClassTable(table);
    }

    /// What iCal writes for an ordinary calendar.
    static Dictionary calendarInfo(const std::string& key, const std::string& title)
    {
        return Dictionary{{"Key", key}, {"Title", title},  {"Color", "#0252D4"}, {"Notes", ""},
                          {"Order", 1}, {"Checked", true}, {"Type", "Local"}};
    }
    static Dictionary groupInfo(const std::string& key, const std::string& title,
                                const std::vector<std::string>& members)
    {
        Array list;
        for (const std::string& member : members)
            list.emplace_back(member);
        return Dictionary{{"Key", key},       {"Title", title},  {"Color", "#FF0000"},
                          {"Expanded", true}, {"Checked", true}, {"Calendars", list}};
    }
    static Dictionary with(Dictionary info, const std::string& key, Value value)
    {
        info.set(key, std::move(value));
        return info;
    }
    static Dictionary without(Dictionary info, const std::string& key)
    {
        info.remove(key);
        return info;
    }

    /// `folder` below the store: "A.calendar".
    void writeFolder(const std::string& folder, const Dictionary& info) const
    {
        home.write(kStore + folder + "/Info.plist", xmlPropertyList(info));
    }
    void writeCalendar(const std::string& key, const std::string& title) const
    {
        writeFolder(key + ".calendar", calendarInfo(key, title));
    }
    /// One file in the calendar's "Events", with the lines of one or more components.
    void writeItems(const std::string& key, const std::string& file,
                    const std::string& components) const
    {
        home.write(kStore + key + ".calendar/Events/" + file,
                   "BEGIN:VCALENDAR\r\nVERSION:2.0\r\n" + components + "END:VCALENDAR\r\n");
    }
    static std::string eventLines(const std::string& title, const std::string& more = "")
    {
        return "BEGIN:VEVENT\r\nUID:" + title + "\r\nSUMMARY:" + title +
               "\r\nDTSTAMP:20071201T000000Z\r\nDTSTART;TZID=Europe/Berlin:20071224T100000\r\n"
               "DTEND;TZID=Europe/Berlin:20071224T110000\r\n" +
               more + "END:VEVENT\r\n";
    }
    static std::string taskLines(const std::string& title, const std::string& more = "")
    {
        return "BEGIN:VTODO\r\nUID:" + title + "\r\nSUMMARY:" + title + "\r\n" + more +
               "END:VTODO\r\n";
    }

    std::optional<Dictionary> storedInfo(const std::string& folder) const
    {
        return dictionaryWithContentsOfFile(home.path(kStore + folder + "/Info.plist"));
    }
    /// Names in the store folder.
    std::vector<std::string> storeEntries() const
    {
        return FileManager::defaultManager().directoryContentsAtPath(
            home.path("Library/Calendars"));
    }

    /// What comes back is never null unless a test says so.
    ParsedCalendars readStore()
    {
        auto parsed = KTSyncCalendarStore::calendarStoreWithPluginHelper(&host)->calendars();
        EXPECT_TRUE(parsed.has_value());
        return parsed.value_or(ParsedCalendars());
    }
    /// The calendar of that title, or null.
    static std::shared_ptr<KTSyncCalendar> titled(const ParsedCalendars& calendars,
                                                  const std::string& title)
    {
        for (const auto& entry : calendars) {
            if (entry.second->title() == title)
                return entry.second;
        }
        return nullptr;
    }

    std::vector<std::string> lossReasons() const { return classes.lossReasons(); }

    TemporaryFolder home;
    PlatformScope platform{home.path()};
    HostClassesScope classes;
    ScriptedRecordClass recordClass;
    RecordingPluginHelper host;
};

}  // namespace kt::test
