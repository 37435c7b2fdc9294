#include "tests/Sync/Host/Engine/HomeStore.h"

#include <algorithm>

#include "Sync/Host/Services/SuiteFolder.h"
#include "tests/Sync/Host/Engine/HomeStoreReader.h"
#include "tests/support/OnDisk.h"

namespace kt::test {

HomeStore::HomeStore(Layout layout, std::string home) : _layout(layout), _home(std::move(home))
{
    const OnDisk work(_home, _disk);
    SuiteFolder(_home).create();
    HomeStoreWriter(_layout, _home, Damage::inPlace).begin();
}

HomeCalendar* HomeStore::calendar(const std::string& title)
{
    const auto found = std::find_if(calendars.begin(), calendars.end(),
                                    [&](const auto& each) { return each.title == title; });
    return found == calendars.end() ? nullptr : &*found;
}

HomeItem* HomeStore::item(const std::string& calendarTitle, const std::string& title)
{
    HomeCalendar* owner = calendar(calendarTitle);
    if (owner == nullptr)
        return nullptr;
    const auto found =
        std::find_if(owner->items.begin(), owner->items.end(),
                     [&](const auto& each) { return each.fields["Title"] == Value(title); });
    return found == owner->items.end() ? nullptr : &*found;
}

int HomeStore::count(const std::string& title) const
{
    int count = 0;
    for (const auto& owner : calendars) {
        for (const auto& each : owner.items)
            count += each.fields["Title"] == Value(title) ? 1 : 0;
    }
    return count;
}

std::string HomeStore::root() const
{
    const StorePaths paths(_home);
    return _layout == Layout::tiger ? paths.iCalFolder() : paths.calendarsFolder();
}

void HomeStore::write(Damage damage)
{
    const OnDisk work(_home, _disk);
    HomeStoreWriter(_layout, _home, damage).write(calendars, _known);
    _known = calendars;
    _bytes = _disk->description(root());
}

void HomeStore::read()
{
    if (_disk->description(root()) == _bytes)
        return;
    calendars = calendarsAsRead();
    _known = calendars;
    _bytes = _disk->description(root());
}

std::vector<HomeCalendar> HomeStore::calendarsAsRead() const
{
    const OnDisk work(_home, _disk);
    return HomeStoreReader(_layout, _known).calendars();
}

void HomeStore::goBackTo(const Moment& moment)
{
    _disk->restore(moment.disk, _home);
    calendars = moment.calendars;
    _known = moment.known;
    _bytes = _disk->description(root());
}

}  // namespace kt::test
