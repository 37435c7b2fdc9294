#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/Sync/Host/Engine/DiskWithReadErrors.h"
#include "tests/Sync/Host/Engine/HomeModel.h"
#include "tests/Sync/Host/Engine/HomeStoreWriter.h"

namespace kt::test {

/// A real store on a disk in memory, and what tests see and change of it. What they changed is
/// written before anything else happens there; what came of that is read again.
class HomeStore {
public:
    HomeStore(Layout layout, std::string home);

    std::vector<HomeCalendar> calendars;

    /// Null when there is none of that title.
    HomeCalendar* calendar(const std::string& title);
    HomeItem* item(const std::string& calendarTitle, const std::string& title);
    /// How many items of that title the whole store holds.
    int count(const std::string& title) const;

    int systemVersion() const { return _layout == Layout::tiger ? 4 : 5; }
    const std::string& home() const { return _home; }
    const std::shared_ptr<DiskWithReadErrors>& disk() const { return _disk; }
    /// The folder that is the store.
    std::string root() const;

    /// How often the plug-in was given a state to write.
    int rewrites() const { return _rewrites; }
    void noteRewrite() { ++_rewrites; }

    void write(Damage damage);
    /// Takes over what stands on the disk, unless nothing changed since it was written.
    void read();
    /// What stands on the disk, as the plug-in reads it.
    std::vector<HomeCalendar> calendarsAsRead() const;

    /// What goes on at one moment, to be taken up again.
    struct Moment {
        std::vector<HomeCalendar> calendars;
        std::vector<HomeCalendar> known;
        MemoryFileManager::Snapshot disk;
    };
    Moment moment() const { return {calendars, _known, _disk->snapshot(_home)}; }
    void goBackTo(const Moment& moment);

private:
    Layout _layout;
    std::string _home;
    std::shared_ptr<DiskWithReadErrors> _disk = std::make_shared<DiskWithReadErrors>();
    std::vector<HomeCalendar> _known;  // what stands on the disk
    std::map<std::string, std::string> _bytes;
    int _rewrites = 0;
};

}  // namespace kt::test
