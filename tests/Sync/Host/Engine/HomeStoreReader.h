#pragma once

#include <string>
#include <vector>

#include "Sync/PlugIns/iCal/Calendar/LoadedStore.h"
#include "tests/Sync/Host/Engine/HomeModel.h"

namespace kt::test {

/// Reads a store through the plug-in's own loading. What that does not give, because somebody broke
/// it or it is there twice, is still shown where its text stands.
class HomeStoreReader {
public:
    /// To be made where the home's disk is in force. `before` is what was known of the store, not
    /// owned.
    HomeStoreReader(Layout layout, const std::vector<HomeCalendar>& before);

    /// In the calendar program's order.
    std::vector<HomeCalendar> calendars() const;

private:
    HomeCalendar calendarFrom(const LoadedCalendar& loaded) const;
    void addItems(const LoadedCalendar& loaded, HomeCalendar& calendar) const;
    void addUnread(const LoadedCalendar& loaded, HomeCalendar& calendar) const;
    void keepUnread(std::vector<HomeCalendar>& calendars) const;
    std::string titleOf(const std::string& recordKey) const;

    Layout _layout;
    const std::vector<HomeCalendar>& _before;
    LoadedStore _loaded;
};

}  // namespace kt::test
