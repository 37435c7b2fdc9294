#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "Sync/Foundation/Platform.h"
#include "Sync/Foundation/PropertyList.h"
#include "Sync/Host/Engine/HostSyncRecord.h"
#include "Sync/HostInterface/KTCarefulWriting.h"
#include "Sync/HostInterface/KTIdentityReport.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"
#include "Sync/PlugIns/iCal/ICalHelper.h"
#include "tests/support/HostClassesScope.h"
#include "tests/support/PlatformScope.h"
#include "tests/support/RecordingPluginHelper.h"
#include "tests/support/TemporaryFolder.h"

namespace kt::test {

/// Asks for careful writing; gives up what a test picks.
class CarefulWriting : public KTCarefulWriting {
public:
    bool isGivenUp(const KTLoss& unread) const override { return givesUp && givesUp(unread); }

    const KTSyncRecord* storedRecordOf(const KTSyncRecord& handed) const override
    {
        const auto found = stored.find(&handed);
        return found == stored.end() ? nullptr : found->second;
    }

    bool noteFolders(const std::vector<std::string>& names) override
    {
        noted.insert(noted.end(), names.begin(), names.end());
        return canNote;
    }
    std::vector<std::string> foldersLeftBehind() const override { return leftBehind; }

    std::vector<std::string> noted;
    bool canNote = true;
    std::vector<std::string> leftBehind;
    std::function<bool(const KTLoss&)> givesUp;
    std::map<const KTSyncRecord*, const KTSyncRecord*> stored;  // by what is handed out
};

class Identities : public KTIdentityReport {
public:
    void reportIdentity(const SyncRecord& record, const KTStoreIdentity& identity) override
    {
        told.emplace_back(record, identity);
    }

    std::vector<std::pair<SyncRecord, KTStoreIdentity>> told;
};

/// A calendar of a store that a test lays out: in 10.5 a file for each text, in 10.4 one file of
/// all of them.
struct StoredCalendar {
    std::string key;
    std::string title;
    std::vector<std::string> files;  // components of each
};

struct StoredGroup {
    std::string key;
    std::string title;
    std::vector<std::string> members;  // keys of calendars
};

/// A store of either layout in a temporary home, loaded and rewritten as a host with careful
/// writing does it. The parameter is the system version.
class CarefulFixture : public ::testing::TestWithParam<int> {
protected:
    static constexpr const char* kSources = "Library/Application Support/iCal/Sources/";
    static constexpr const char* kNodeFile = "Library/Application Support/iCal/nodes.plist";
    static constexpr const char* kStore = "Library/Calendars/";
    static constexpr const char* kPluginFolder =
        "Library/Application Support/VeloraSuite/SyncPlugins/ICalSyncPlugin/";

    CarefulFixture()
    {
        KTClassTable table = hostClassTable();
        table.setClass(KTCarefulWriting::className, &careful);
        table.setClass(KTIdentityReport::className, &identities);
        setHostClassTable(table);
        host.script.macOSVersion = GetParam();
    }

    bool is104() const { return GetParam() == 4; }

    static std::string calendarFile(const std::string& components)
    {
        return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nX-WR-CALNAME;VALUE=TEXT:x\r\n"
               "BEGIN:VTIMEZONE\r\nTZID:Europe/Berlin\r\nEND:VTIMEZONE\r\n" +
               components + "END:VCALENDAR\r\n";
    }
    static std::string event(const std::string& uid, const std::string& title,
                             const std::string& more = "")
    {
        return "BEGIN:VEVENT\r\nUID:" + uid + "\r\nCLASS:PRIVATE\r\nSUMMARY;LANGUAGE=de:" + title +
               "\r\nDTSTAMP:20071201T000000Z\r\nDTSTART;TZID=Europe/Berlin:20071224T100000\r\n"
               "DTEND;TZID=Europe/Berlin:20071224T110000\r\n" +
               more + "END:VEVENT\r\n";
    }
    static std::string task(const std::string& uid, const std::string& title,
                            const std::string& more = "")
    {
        return "BEGIN:VTODO\r\nUID:" + uid + "\r\nSUMMARY:" + title + "\r\n" + more +
               "END:VTODO\r\n";
    }

    std::string folderOf(const std::string& key) const
    {
        return (is104() ? kSources : kStore) + key + ".calendar/";
    }
    /// The file that the text of that number stands in.
    std::string itemFile(const std::string& key, std::size_t number) const
    {
        return is104() ? folderOf(key) + "corestorage.ics"
                       : folderOf(key) + "Events/" + std::to_string(number) + ".ics";
    }

    void layOut(const std::vector<StoredCalendar>& calendars,
                const std::vector<StoredGroup>& groups = {})
    {
        std::map<std::string, Value> nodes;
        for (const StoredCalendar& calendar : calendars) {
            layOut(calendar);
            nodes.emplace(calendar.key, Dictionary{{"Key", "node-" + calendar.key},
                                                   {"SourceKey", calendar.key},
                                                   {"ThemeColor", "#0252D4"},
                                                   {"Type", "CALSourceNode"},
                                                   {"Selection", true},
                                                   {"Unbekannt", "bleibt"}});
        }
        Array list;
        for (const StoredGroup& group : groups) {
            Array members;
            for (const std::string& key : group.members)
                members.push_back(nodes.extract(key).mapped());
            layOut(group);
            list.emplace_back(Dictionary{{"Key", group.key},
                                         {"Title", group.title},
                                         {"ThemeColor", "#0252D4"},
                                         {"Type", "CALNamedGroupNode"},
                                         {"Unbekannt", "bleibt"},
                                         {"Subnodes", std::move(members)}});
        }
        for (const StoredCalendar& calendar : calendars) {
            if (nodes.contains(calendar.key))
                list.push_back(nodes.extract(calendar.key).mapped());
        }
        if (is104())
            home.write(kNodeFile,
                       xmlPropertyList(Dictionary{{"Version", 2}, {"List", std::move(list)}}));
    }

    void layOut(const StoredGroup& group) const
    {
        Array members;
        for (const std::string& key : group.members)
            members.emplace_back(key);
        if (!is104())
            home.write(groupFile(group.key), xmlPropertyList(Dictionary{{"Key", group.key},
                                                                        {"Title", group.title},
                                                                        {"Color", "#0252D4"},
                                                                        {"Notes", ""},
                                                                        {"Order", 1},
                                                                        {"Checked", true},
                                                                        {"Expanded", true},
                                                                        {"Unbekannt", "bleibt"},
                                                                        {"Calendars", members}}));
    }
    /// Where the layout keeps a group.
    std::string groupFile(const std::string& key) const
    {
        return is104() ? kNodeFile : kStore + key + ".group/Info.plist";
    }

    void layOut(const StoredCalendar& calendar) const
    {
        home.write(folderOf(calendar.key) + "Info.plist", xmlPropertyList(infoOf(calendar)));
        std::string all;
        for (std::size_t number = 0; number < calendar.files.size(); ++number) {
            all += calendar.files[number];
            if (!is104())
                home.write(itemFile(calendar.key, number), calendarFile(calendar.files[number]));
        }
        if (is104())
            home.write(itemFile(calendar.key, 0), calendarFile(all));
    }

    Dictionary infoOf(const StoredCalendar& calendar) const
    {
        Dictionary info{{"Key", calendar.key}, {"Title", calendar.title}, {"Unbekannt", "bleibt"}};
        if (is104()) {
            info.set("Type", "com.apple.ical.sources.naivereadwrite");
            return info;
        }
        info.merge(Dictionary{{"Color", "#0252D4"},
                              {"Notes", ""},
                              {"Order", 1},
                              {"Checked", true},
                              {"AlarmsDisabled", false},
                              {"Type", "Local"}});
        return info;
    }

    /// What the store gives; its calendars are remembered for the next rewrite.
    SyncRecordList load(const LoadedStore* earlier = nullptr)
    {
        std::int32_t counts[4] = {};
        Dictionary activated;
        RecordKeySet toSync;
        loaded = {};
        notSelected.clear();
        notExpanded.clear();
        skipped.clear();
        auto records =
            ICalHelper::loadCalendarsWithPluginHelper(&host, counts[0], counts[1], counts[2],
                                                      activated, toSync, counts[3], skipped,
                                                      notSelected, notExpanded, &loaded, earlier);
        EXPECT_TRUE(records.has_value());
        return records.value_or(SyncRecordList());
    }

    bool save(const SyncRecordList& records)
    {
        savedCalendars = savedEvents = savedTasks = 0;
        return ICalHelper::saveCalendars(records, &host, savedCalendars, savedEvents, savedTasks,
                                         notSelected, notExpanded, &loaded);
    }

    static SyncRecord record(std::string_view conduit, const std::string& key, Dictionary fields)
    {
        return std::make_shared<HostSyncRecord>(kRecordTypeRecord, std::move(fields), key,
                                                std::nullopt, std::string(conduit));
    }
    static SyncRecord with(const SyncRecord& original, const std::string& field, Value value,
                           const std::string& key = "")
    {
        Dictionary fields = original->record();
        fields.set(field, std::move(value));
        return record(original->conduit(), key.empty() ? original->recordKey() : key,
                      std::move(fields));
    }
    static Value date(const std::string& text)
    {
        return KTSyncCalendarTools::parseICalDate(text, "Europe/Berlin", nullptr);
    }
    static std::size_t positionOf(const SyncRecordList& records, const std::string& title)
    {
        for (std::size_t index = 0; index < records.size(); ++index) {
            if (records[index]->record()["Title"] == Value(title))
                return index;
        }
        ADD_FAILURE() << "no record \"" << title << '"';
        return 0;
    }
    static SyncRecordList without(SyncRecordList records, const std::string& title)
    {
        records.erase(records.begin() + static_cast<std::ptrdiff_t>(positionOf(records, title)));
        return records;
    }
    static std::vector<std::string> titles(const SyncRecordList& records)
    {
        std::vector<std::string> titles;
        for (const SyncRecord& record : records)
            titles.push_back(record->record()["Title"].description());
        return titles;
    }

    /// The files of the store by path; no backups.
    std::map<std::string, std::string> store() const
    {
        auto tree = home.tree();
        std::erase_if(tree, [](const auto& entry) {
            return entry.first.find("VeloraSuite") != std::string::npos ||
                   entry.first.ends_with('/');
        });
        return tree;
    }
    /// Tells a file that was written anew, even with the same bytes.
    std::map<std::string, std::string> inodes() const
    {
        std::map<std::string, std::string> inodes;
        for (const auto& [path, content] : home.tree()) {
            struct stat status {};
            EXPECT_EQ(lstat(home.path(path).c_str(), &status), 0);
            inodes[path] = std::to_string(status.st_ino) + ' ' +
                           std::to_string(status.st_mtim.tv_sec) + ' ' +
                           std::to_string(status.st_mtim.tv_nsec);
        }
        return inodes;
    }
    static std::vector<std::string> differing(const std::map<std::string, std::string>& before,
                                              const std::map<std::string, std::string>& after)
    {
        std::vector<std::string> paths;
        for (const auto& [path, content] : before) {
            const auto found = after.find(path);
            if (found == after.end() || found->second != content)
                paths.push_back(path);
        }
        for (const auto& [path, content] : after) {
            if (!before.contains(path))
                paths.push_back(path);
        }
        return paths;
    }
    /// The whole file with one text in it replaced.
    static std::string replaced(std::string text, const std::string& from, const std::string& to)
    {
        const std::size_t found = text.find(from);
        EXPECT_NE(found, std::string::npos) << from;
        if (found != std::string::npos)
            text.replace(found, from.size(), to);
        return text;
    }

    TemporaryFolder home;
    PlatformScope platform{home.path()};
    HostClassesScope classes;
    CarefulWriting careful;
    Identities identities;
    RecordingPluginHelper host;
    LoadedStore loaded;
    RecordKeySet notSelected;
    RecordKeySet notExpanded;
    SyncRecordList skipped;
    std::int32_t savedCalendars = 0;  // by the last rewrite
    std::int32_t savedEvents = 0;
    std::int32_t savedTasks = 0;
};

}  // namespace kt::test
