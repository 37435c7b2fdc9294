#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/HostInterface/StorePaths.h"
#include "tests/histories/ItemText.h"
#include "tests/support/MemoryFileManager.h"

namespace kt::test {

/// The calendar program's hand in a store: knows where calendars and items stand in its layout, and
/// writes there as the program would. Knows nothing of how the plug-in reads.
class StoreHand {
public:
    enum class Kind { own, subscribed };
    struct Calendar {
        std::string key;  // of its folder
        std::string title;
        std::string folder;
        Kind kind = Kind::own;
    };
    struct Group {
        std::string key;
        std::string title;
    };
    struct Place {
        std::string file;
        std::size_t index = 0;  // of the item among those of the file
        std::string calendar;   // key
        ItemText item;
    };

    StoreHand(MemoryFileManager& diskOfHome, std::string home)
        : paths(std::move(home)),
          disk(diskOfHome)
    {}
    virtual ~StoreHand() = default;
    static std::unique_ptr<StoreHand> forLayout(int systemVersion, MemoryFileManager& disk,
                                                const std::string& home);

    /// The store as the program leaves it after its first start.
    virtual void begin() = 0;
    /// All that the program would show, in its order; without groups.
    virtual std::vector<Calendar> calendars() const = 0;
    virtual void addCalendar(const std::string& key, const std::string& title, Kind kind) = 0;
    virtual void removeCalendar(const Calendar& calendar) = 0;
    /// Makes the calendar of that number the first one.
    virtual void putFirst(std::size_t index) = 0;
    virtual void setColor(const Calendar& calendar, const std::string& color) = 0;
    void rename(const Calendar& calendar, const std::string& title) const;

    virtual std::vector<Group> groups() const = 0;
    virtual void addGroup(const std::string& key, const std::string& title) = 0;
    /// Its calendars stay.
    virtual void removeGroup(const Group& group) = 0;
    virtual void rename(const Group& group, const std::string& title) = 0;
    /// Null takes the calendar out of every group.
    virtual void putInto(const Group* group, const Calendar& calendar) = 0;

    /// The items of all calendars, those that cannot be read by the plug-in included.
    std::vector<Place> items() const;
    /// Those of a calendar's folder, whether or not that is a calendar at present.
    std::vector<Place> itemsBelow(const std::string& folder) const;
    void add(const Calendar& calendar, const std::string& name, const ItemText& item) const;
    /// At the end of the same file.
    void addBeside(const Place& place, const ItemText& item) const;
    /// A series and its occurrences, as far as they stand in one file.
    std::vector<Place> ofOneUid(const Place& place) const;
    void replace(const Place& place, const ItemText& item) const;
    void remove(const Place& place) const;

    /// The folder or folders that make up the store, for copies of it.
    virtual std::vector<std::string> roots() const = 0;
    virtual std::vector<std::string> itemFiles(const Calendar& calendar) const = 0;
    virtual std::string fileForNewItem(const Calendar& calendar, const std::string& name) const = 0;

protected:
    /// Whether a file without items goes.
    virtual bool removesEmptyFiles() const = 0;

    static std::string subscriptionAddress(const std::string& key)
    {
        return "webcal://example.invalid/" + key + ".ics";
    }
    Dictionary plist(const std::string& path) const;
    void write(const Dictionary& dictionary, const std::string& path) const;
    std::vector<std::string> itemFilesIn(const std::string& folder) const;
    ItemsFile itemsIn(const std::string& path) const;
    void makeFolder(const std::string& path) const;

    StorePaths paths;
    MemoryFileManager& disk;
};

}  // namespace kt::test
