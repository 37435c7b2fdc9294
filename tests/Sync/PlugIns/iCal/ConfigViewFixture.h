#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tests/Sync/PlugIns/iCal/OpenPlugin.h"
#include "tests/Sync/PlugIns/iCal/StoreFixture.h"
#include "tests/support/RecordingConnection.h"
#include "tests/support/RecordingControls.h"

namespace kt::test {

/// A plug-in with a configuration view whose controls, like host, publishing service and system
/// log, note what they are asked, all in one list.
class ConfigViewFixture : public StoreFixture {
protected:
    static constexpr const char* kPublished = "ICAL_SYNC_PLUGIN_PUBLISHED_CALENDARS";
    static constexpr const char* kNotice =
        "Die Kalender werden beim nächsten Mal vollständig synchronisiert";

    ConfigViewFixture()
    {
        setClass(NibLoader::className, &nibLoader);
        setClass(KTSyncConnectionClass::className, &service);
        setClass(Workspace::className, &workspace);
        plugin.emplace(&host, "/bundle");
        host.script.before = [this](std::string_view call) { view.calls.emplace_back(call); };
        Platform::shared().setConsoleLog([this](std::string_view line) {
            view.calls.push_back(inSystemLog(line));
            systemLog.emplace_back(line);
        });
        view.syncedCalendarsList.delegate = &*plugin;
        view.syncedCalendarsList.dataSource = &*plugin;
    }

    /// How a line of the system log stands among the calls.
    static std::string inSystemLog(std::string_view line) { return "NSLog:" + std::string(line); }

    static void setClass(std::string_view name, KTHostClass* hostClass)
    {
        KTClassTable table = hostClassTable();
        table.setClass(name, hostClass);
        setHostClassTable(table);
    }

    static Dictionary options(const Value& isPublic, const Value& events, const Value& tasks,
                              const Value& anonymize)
    {
        return Dictionary{{"Public", isPublic},
                          {"PublishEvents", events},
                          {"PublishTasks", tasks},
                          {"Anonymize", anonymize}};
    }

    /// Puts a calendar into the list, past the store. The result is its record key.
    std::string addCalendar(const std::string& title, std::int32_t type = kCalendarTypeNode)
    {
        auto calendar =
            KTSyncCalendar::syncCalendarWithPluginHelper(&host, type, std::nullopt, std::nullopt);
        calendar->setTitle(title);
        plugin->_localCalendarsList.push_back(calendar);
        return *calendar->recordKey();
    }
    /// The same, selected, with these options stored.
    std::string addSelectedCalendar(const std::string& title, const Dictionary& stored)
    {
        const std::string key = addCalendar(title);
        plugin->_publicCalendars.set(key, stored);
        view.syncedCalendarsList.row = static_cast<int>(plugin->_localCalendarsList.size()) - 1;
        return key;
    }
    void setCheckboxes(int events, int tasks, int anonymize)
    {
        view.publishEventsCheckbox.state = events;
        view.publishTasksCheckbox.state = tasks;
        view.anonymizeAllCheckbox.state = anonymize;
    }

    /// What the table shows.
    Value cell(const std::string& column, int row)
    {
        return plugin->tableViewObjectValueForTableColumn(&view.syncedCalendarsList, {column}, row);
    }
    void setCell(const std::string& column, int row, const Value& value)
    {
        plugin->tableViewSetObjectValue(&view.syncedCalendarsList, value, {column}, row);
    }
    /// What is kept of the calendar's publishing, in the preferences.
    Value storedOptions(const std::string& key) const
    {
        const Value& stored = host.script.preferences[kPublished];
        return stored.isNil() ? Value() : stored.dictionary()[key];
    }
    /// How the host notes that the preference was written with what it holds now.
    std::string updateOfPublished() const
    {
        return std::string("updatePreference:") + kPublished + "=" +
               host.script.preferences[kPublished].description();
    }

    std::vector<std::string> systemLog;
    RecordingConfigView view;
    RecordingNibLoader nibLoader{view};
    RecordingConnectionClass service{view.calls};
    RecordingWorkspace workspace;
    std::optional<OpenPlugin> plugin;
};

}  // namespace kt::test
