#pragma once

#include "tests/Sync/PlugIns/iCal/OpenPlugin.h"
#include "tests/Sync/PlugIns/iCal/StoreFixture.h"

namespace kt::test {

inline constexpr const char* kCancelled = "Die Synchronisierung wurde abgebrochen!";
inline constexpr const char* kSetFullSync = "updatePreference:ICAL_SYNC_PLUGIN_FULL_SYNC=1";
inline constexpr const char* kClearFullSync = "updatePreference:ICAL_SYNC_PLUGIN_FULL_SYNC=0";
inline constexpr const char* kSummary = "1 Kalender\n1 Ereignis, 1 Aufgabe";
inline constexpr const char* kOverwriting = "Die lokalen Kalender werden überschrieben";

using Calls = std::vector<std::string>;

inline Calls operator+(Calls left, const Calls& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

/// A home with one calendar "Arbeit" (an event, a task), already known and switched on.
class SyncRun : public StoreFixture {
protected:
    SyncRun()
    {
        host.script.preferences.set("ICAL_SYNC_PLUGIN_ACTIVATE", true);
        writeCalendar("A", "Arbeit");
        writeItems("A", "1.ics", eventLines("Termin") + taskLines("Aufgabe"));
        activate("Arbeit", 1);
    }

    static std::string keyOf(const std::string& title)
    {
        KTSyncCalendar calendar(nullptr, kCalendarTypeNode, std::nullopt, std::nullopt);
        calendar.setTitle(title);
        return *calendar.recordKey();
    }
    void activate(const std::string& title, int value)
    {
        Dictionary activated;
        const Value& stored = host.script.preferences["ICAL_SYNC_PLUGIN_SYNCED_PLUGINS"];
        if (!stored.isNil())
            activated = stored.dictionary();
        activated.set(keyOf(title), value);
        host.script.preferences.set("ICAL_SYNC_PLUGIN_SYNCED_PLUGINS", activated);
    }
    static SyncRecord record(std::string_view conduit, const std::string& key,
                             std::optional<std::string> parentKey = std::nullopt)
    {
        Dictionary fields{{"Title", "Titel " + key},
                          {"Type", "CalendarNode"},
                          {"Color", "c"},
                          {"Notes", ""},
                          {"SourceKey", key}};
        fields.setIfPresent("ParentRecordKey", parentKey);
        return std::make_shared<HostSyncRecord>(0, fields, key, parentKey, std::string(conduit));
    }
    static std::vector<std::string> keys(const SyncRecordList& records)
    {
        std::vector<std::string> all;
        for (const SyncRecord& record : records)
            all.push_back(record->recordKey());
        return all;
    }

    /// Lets something happen when the host gets that call for the n-th time.
    void atCall(const std::string& prefix, std::function<void()> action, int number = 1)
    {
        host.script.before = [=, seen = 0](std::string_view call) mutable {
            if (call.starts_with(prefix) && ++seen == number)
                action();
        };
    }
    /// What the host was asked to do, without the lines and progress of loading and saving.
    Calls steps() const
    {
        Calls all;
        for (const std::string& call : host.calls()) {
            if (!call.starts_with("progress:") && !isInner(call))
                all.push_back(call);
        }
        return all;
    }
    static bool isInner(const std::string& call)
    {
        for (const char* prefix :
             {"logMsg:Kalender", "logMsg:Ereignisse laden", "logMsg:Name:", "logMsg:Titel",
              "logMsg:Arbeit ->", "logMsg:Keine Ereignisse", "logMsg:Es gibt keine"}) {
            if (call.starts_with(prefix))
                return true;
        }
        return false;
    }

    const Calls kAsked{"boolPreferenceForKey:ICAL_SYNC_PLUGIN_ACTIVATE", "isBinaryRunning:iCal"};
    Calls begun() const
    {
        const auto stored = [&](const std::string& key) {
            return "updatePreference:" + key + "=" + host.script.preferences[key].description();
        };
        return kAsked + Calls{"logMsg:Die iCal-Kalender werden synchronisiert",
                              "setStatusMsg:iCal-Kalender laden...",
                              "disableFileNotifications",
                              "objectPreferenceForKey:ICAL_SYNC_PLUGIN_SYNCED_PLUGINS",
                              "objectPreferenceForKey:ICAL_SYNC_PLUGIN_PUBLISHED_CALENDARS",
                              stored("ICAL_SYNC_PLUGIN_SYNCED_PLUGINS"),
                              stored("ICAL_SYNC_PLUGIN_PUBLISHED_CALENDARS")};
    }
    Calls started() const
    {
        return begun() + Calls{"boolPreferenceForKey:ICAL_SYNC_PLUGIN_FULL_SYNC", "startSync:5"};
    }
    Calls compared(const std::string& status = "1 Kalender\n1 Ereignis, 1 Aufgabe") const
    {
        return started() +
               Calls{"setStatusMsg:" + status, "pullRecords", "diffLocalStateWithLocalUpdates:7"};
    }
    Calls finished(const std::string& status = "1 Kalender\n1 Ereignis, 1 Aufgabe") const
    {
        return compared(status) + Calls{"pushSyncResult", "updateLocalStateWithUpdates:0",
                                        "logMsg:Synchronisierung beenden...", "finishSync"};
    }
    static Calls failed(const std::string& message, const std::string& status)
    {
        return {"logMsg:" + message, "setStatusMsg:" + status};
    }
    static Calls failed(const std::string& text) { return failed(text, text); }
    const Calls kCleanedUp{"enableFileNotifications"};

    void expectSteps(const Calls& expected) const { EXPECT_EQ(steps(), expected); }

    /// No run is left behind, whatever its end.
    void expectCleanedUp() const
    {
        EXPECT_FALSE(plugin._isSynchronizing);
        EXPECT_FALSE(plugin._isICalDidEndNotificationDisabled);
    }

    OpenPlugin plugin{&host};
};

}  // namespace kt::test
