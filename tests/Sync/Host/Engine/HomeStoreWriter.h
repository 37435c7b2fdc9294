#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "Sync/HostInterface/StorePaths.h"
#include "Sync/PlugIns/iCal/Calendar/StoreLayout.h"
#include "tests/Sync/Host/Engine/HomeModel.h"
#include "tests/support/RecordingPluginHelper.h"

namespace kt::test {

/// How the text of an item is damaged.
enum class Damage {
    inPlace,    // where it stands, under its name
    elsewhere,  // in a file, or without the UID, that says whose text it was
};

/// The calendar program's hand: writes into a store what tests changed, and leaves every other text
/// byte for byte. To be made where the home's disk is in force.
class HomeStoreWriter {
public:
    HomeStoreWriter(Layout layout, const std::string& home, Damage damage);

    /// The store as the program leaves it after its first start.
    void begin();
    /// Writes where `calendars` differ from what is `known` of the store, and notes in them where
    /// everything stands then.
    void write(std::vector<HomeCalendar>& calendars, const std::vector<HomeCalendar>& known);

    /// The record that describes a calendar, with its members for a group.
    static Dictionary recordOf(const HomeCalendar& calendar,
                               const std::vector<HomeCalendar>& calendars);

private:
    void dropForeign(std::vector<HomeCalendar>& calendars,
                     const std::vector<HomeCalendar>& known) const;
    void removeCalendars(const std::vector<HomeCalendar>& calendars,
                         const std::vector<HomeCalendar>& known) const;
    void describe(HomeCalendar& calendar, const std::vector<HomeCalendar>& calendars);
    void writeDescription(const HomeCalendar& calendar, const Dictionary& record,
                          const std::string& folder);
    void writeItems(HomeCalendar& calendar, const HomeCalendar* known);
    void writeItem(HomeItem& item);
    std::string indexOf(const std::vector<HomeCalendar>& calendars);
    std::string folderFor(const HomeCalendar& calendar) const;
    std::string pathFor(const HomeCalendar& calendar, const HomeItem& item) const;
    std::string textOf(const HomeItem& item);
    std::shared_ptr<const StoredText> damaged(const std::shared_ptr<const StoredText>& whole);
    void put(const StoredText& stored) const;
    void take(const StoredText& stored) const;
    bool removesEmptyFiles() const { return _layout == Layout::leopard; }

    Layout _layout;
    StorePaths _paths;
    Damage _damage;
    RecordingPluginHelper _helper;
    std::unique_ptr<const StoreLayout> _store;
};

}  // namespace kt::test
