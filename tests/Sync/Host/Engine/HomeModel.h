#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/HostInterface/KTSyncEnhancedDate.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt::test {

/// The layouts that a store can have.
enum class Layout { tiger, leopard };

/// Where the text of an item stands, and what it gave when it was read.
struct StoredText {
    std::string path;
    std::string text;  // of the component; of a file that is none any more, all of it
    Dictionary fields{};
    std::shared_ptr<const StoredText> whole{};  // of damaged text, what stood there before
};

/// Where a calendar stands, and what describes it.
struct StoredCalendar {
    std::string folder;  // empty for a group of the older layout
    Dictionary record{};
    bool isBroken = false;
    std::string whole{};  // of a broken one, what its description was
};

/// An item as tests see and change it.
struct HomeItem {
    std::string conduit;
    Dictionary fields;  // without ParentRecordKey and Timezone, which the reader adds
    std::string uid;
    bool isBroken = false;                       // its text cannot be read until somebody mends it
    std::shared_ptr<const StoredText> stored{};  // null until it is written
};

/// A calendar or group as tests see and change it.
struct HomeCalendar {
    std::string title;
    std::string type = "CalendarNode";
    std::string color = "#FF0000";
    std::string notes;
    std::string sourceKey;
    int order = 0;
    std::string group;  // title of its group, empty at top level
    Dictionary extra;   // further fields of its record
    std::vector<HomeItem> items;
    bool isBroken = false;                           // it cannot be read until somebody mends it
    std::shared_ptr<const StoredCalendar> stored{};  // null until it is written

    bool isGroup() const { return type == "CalendarGroup"; }
    /// As the plug-in computes it.
    std::string recordKey() const;
};

/// `20071224T100000` in that zone, or `20071224` all-day.
EnhancedDate date(const std::string& text, const std::string& timezone = "Europe/Berlin");

HomeItem event(const std::string& title, const std::string& start, Dictionary more = {});
HomeItem task(const std::string& title, Dictionary more = {});
HomeCalendar calendar(const std::string& title, std::vector<HomeItem> items = {});

}  // namespace kt::test
