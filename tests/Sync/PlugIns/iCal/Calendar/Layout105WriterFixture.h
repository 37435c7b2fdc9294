#pragma once

#include "tests/Sync/PlugIns/iCal/StoreFixture.h"

namespace kt::test {

/// Writes calendars into the store of the temporary home.
class Layout105Writer : public StoreFixture {
protected:
    using Calendar = std::shared_ptr<KTSyncCalendar>;

    Calendar calendar(const std::string& title, std::optional<std::string> sourceKey,
                      std::int32_t type = kCalendarTypeNode)
    {
        auto made = KTSyncCalendar::syncCalendarWithPluginHelper(&host, type, std::move(sourceKey),
                                                                 std::nullopt);
        made->setTitle(title);
        made->setColor("#0252D4");
        made->setNotes("Notiz");
        return made;
    }
    Calendar group(const std::string& title)
    {
        return calendar(title, std::nullopt, kCalendarTypeGroup);
    }
    static Calendar inGroup(Calendar member, const Calendar& group)
    {
        member->setParentRecordKey(group->recordKey());
        return member;
    }
    void addEvent(const Calendar& calendar, const std::string& key)
    {
        calendar->addEvent(KTSyncEvent::syncEventWithPluginHelper(
            &host, key,
            Dictionary{{"Title", "Ereignis " + key}, {"ParentRecordKey", *calendar->recordKey()}}));
    }
    void addTask(const Calendar& calendar, const std::string& key)
    {
        calendar->addTask(KTSyncTask::syncTaskWithPluginHelper(
            &host, key,
            Dictionary{{"Title", "Aufgabe " + key}, {"ParentRecordKey", *calendar->recordKey()}}));
    }
    bool store(const std::vector<Calendar>& calendars)
    {
        return KTSyncCalendarStore::calendarStoreWithPluginHelper(&host)->storeCalendars(calendars);
    }
    std::vector<std::string> members(const Calendar& group) const
    {
        const auto info = storedInfo(*group->recordKey() + ".group");
        std::vector<std::string> keys;
        for (const Value& key : (*info)["Calendars"].array())
            keys.emplace_back(key.string());
        return keys;
    }
};

}  // namespace kt::test
