#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/PropertyList.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarStore.h"
#include "tests/Sync/PlugIns/iCal/Calendar/ModelFixture.h"

namespace kt::test {

/// A home folder with a store in the 10.4 layout, and a host that reports such a system.
class Store104Fixture : public ModelFixture {
protected:
    static constexpr const char* kSubscription = "com.apple.ical.sources.urlsubscribesource";
    static constexpr const char* kBirthdays = "com.apple.ical.sources.birthdays";
    static constexpr const char* kOrdinary = "com.apple.ical.sources.naivereadwrite";

    // Relative to the home folder.
    inline static const std::string kICal = "Library/Application Support/iCal/";
    inline static const std::string kPlugin =
        "Library/Application Support/VeloraSuite/SyncPlugins/ICalSyncPlugin/";
    inline static const std::string kNodeFile = kICal + "nodes.plist";

    Store104Fixture() { helper.script.macOSVersion = 4; }

    // Nodes, as iCal writes them.

    static Dictionary calendarNode(const std::string& sourceKey)
    {
        return Dictionary{{"Key", "node-" + sourceKey},
                          {"SourceKey", sourceKey},
                          {"ThemeColor", "#0252D4"},
                          {"Selection", true},
                          {"Type", "CALSourceNode"}};
    }
    static Dictionary groupNode(const std::string& title, Array subnodes = {})
    {
        return Dictionary{{"Key", "group-" + title},
                          {"ThemeColor", "#FF0000"},
                          {"Selection", true},
                          {"Title", title},
                          {"Type", "CALNamedGroupNode"},
                          {"Expanded", true},
                          {"Subnodes", std::move(subnodes)}};
    }
    static Dictionary with(Dictionary node, const std::string& key, Value value)
    {
        node.set(key, std::move(value));
        return node;
    }
    static Dictionary without(Dictionary node, const std::string& key)
    {
        node.remove(key);
        return node;
    }

    // The store on disk.

    void writeNodes(Array list) const
    {
        writeNodeFile(Dictionary{{"Version", 2}, {"List", std::move(list)}});
    }
    void writeNodeFile(const Dictionary& content) const
    {
        home.write(kNodeFile, xmlPropertyList(content));
    }
    static std::string folderOf(const std::string& sourceKey)
    {
        return kICal + "Sources/" + sourceKey + ".calendar/";
    }
    void writeInfo(const std::string& sourceKey, const Dictionary& info) const
    {
        home.write(folderOf(sourceKey) + "Info.plist", xmlPropertyList(info));
    }
    void writeCalendar(const std::string& sourceKey, const std::string& title,
                       const std::string& sourceType = kOrdinary) const
    {
        writeInfo(sourceKey,
                  Dictionary{{"Title", title}, {"Key", sourceKey}, {"Type", sourceType}});
    }
    void writeItems(const std::string& sourceKey, const std::string& components) const
    {
        home.write(folderOf(sourceKey) + "corestorage.ics",
                   "BEGIN:VCALENDAR\r\nVERSION:2.0\r\n" + components + "END:VCALENDAR\r\n");
    }
    std::optional<Dictionary> storedDictionary(const std::string& relative) const
    {
        return dictionaryWithContentsOfFile(home.path(relative));
    }
    /// "List" of a node file; empty, and a failure, when there is none.
    Array storedNodes(const std::string& relative = kNodeFile) const
    {
        const auto file = storedDictionary(relative);
        EXPECT_TRUE(file && (*file)["List"].isArray()) << relative;
        return file && (*file)["List"].isArray() ? (*file)["List"].array() : Array();
    }

    // Reading.

    std::shared_ptr<KTSyncCalendarStore> store =
        KTSyncCalendarStore::calendarStoreWithPluginHelper(&helper);

    ParsedCalendars readStore() const
    {
        auto parsed = store->calendars();
        EXPECT_TRUE(parsed.has_value());
        return parsed.value_or(ParsedCalendars());
    }
    /// The calendar of that title; the test fails without one.
    static std::shared_ptr<KTSyncCalendar> titled(const ParsedCalendars& calendars,
                                                  const std::string& title)
    {
        for (const auto& entry : calendars) {
            if (entry.second->title() == title)
                return entry.second;
        }
        throw std::runtime_error("no calendar " + title);
    }
    static std::vector<std::string> titles(const ParsedCalendars& calendars)
    {
        std::vector<std::string> titles;
        for (const auto& entry : calendars)
            titles.push_back(entry.second->title().value_or("(nil)"));
        return titles;
    }
    std::vector<KTLoss> losses() const { return classes.losses(); }
};

}  // namespace kt::test
