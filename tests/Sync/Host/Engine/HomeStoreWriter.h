#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Sync/HostInterface/StorePaths.h"
#include "Sync/PlugIns/iCal/Calendar/StoreLayout.h"
#include "tests/Sync/Host/Engine/HomeItemTexts.h"
#include "tests/Sync/Host/Engine/HomeModel.h"
#include "tests/support/RecordingPluginHelper.h"

namespace kt::test {

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
    std::string indexOf(const std::vector<HomeCalendar>& calendars);
    std::string folderFor(const HomeCalendar& calendar) const;
    std::string pathFor(const HomeCalendar& calendar, const HomeItem& item) const;

    Layout _layout;
    StorePaths _paths;
    HomeItemTexts _texts;
    RecordingPluginHelper _helper;
    std::unique_ptr<const StoreLayout> _store;
};

}  // namespace kt::test
