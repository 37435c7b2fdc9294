#pragma once

#include "Sync/PlugIns/iCal/ICalHelper.h"
#include "tests/Sync/PlugIns/iCal/StoreFixture.h"

namespace kt::test {

/// Writes records into the store of the temporary home.
class Saving : public StoreFixture {
protected:
    static constexpr const char* kNodeFile = "Library/Application Support/iCal/nodes.plist";

    static SyncRecord record(std::string_view conduit, const std::string& key, Dictionary fields,
                             int recordType = kRecordTypeRecord)
    {
        return std::make_shared<HostSyncRecord>(recordType, std::move(fields), key, std::nullopt,
                                                std::string(conduit));
    }
    static Dictionary calendarFields(const std::string& title, const std::string& sourceKey,
                                     int order = 0)
    {
        return Dictionary{{"Type", "CalendarNode"}, {"Title", title},
                          {"Color", "#0252D4"},     {"Notes", ""},
                          {"SourceKey", sourceKey}, {"Order", order}};
    }
    static SyncRecord calendar(const std::string& key, const std::string& title, int order = 0)
    {
        return record(kConduitCalendar, key, calendarFields(title, key, order));
    }
    static SyncRecord group(const std::string& key, const std::string& title, int order = 0)
    {
        return record(kConduitCalendar, key,
                      with(without(calendarFields(title, "", order), "SourceKey"), "Type",
                           "CalendarGroup"));
    }
    static SyncRecord event(const std::string& key, const std::string& parent)
    {
        return record(kConduitEvent, key,
                      Dictionary{{"Title", "Ereignis " + key}, {"ParentRecordKey", parent}});
    }
    static SyncRecord task(const std::string& key, const std::string& parent)
    {
        return record(kConduitTask, key,
                      Dictionary{{"Title", "Aufgabe " + key}, {"ParentRecordKey", parent}});
    }
    bool save(const std::optional<SyncRecordList>& records)
    {
        return ICalHelper::saveCalendars(records, &host, numCalendars, numEvents, numTasks,
                                         notSelected, notExpanded);
    }
    bool isStored(const std::string& key, const std::string& item) const
    {
        return home.exists(kStore + key + ".calendar/Events/" + item + ".ics");
    }
    /// Saves in the 10.4 layout; the source keys in the order of its node file, which is the one
    /// that the calendars were written in.
    std::vector<std::string> keysWrittenFor(const SyncRecordList& records)
    {
        host.script.macOSVersion = 4;
        home.write(kNodeFile, xmlPropertyList(Dictionary{{"Version", 2}, {"List", Array{}}}));
        EXPECT_TRUE(save(records));
        std::vector<std::string> keys;
        const auto stored =
            dictionaryWithContentsOfFile(home.path(kNodeFile)).value_or(Dictionary());
        for (const Value& node : stored["List"].array())
            keys.emplace_back(node.dictionary()["SourceKey"].string());
        return keys;
    }

    std::int32_t numCalendars = 0;
    std::int32_t numEvents = 0;
    std::int32_t numTasks = 0;
    RecordKeySet notSelected;
    RecordKeySet notExpanded;
};

}  // namespace kt::test
