#include "Sync/Host/Command/Look.h"

#include <algorithm>
#include <utility>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/Host/Command/Output.h"
#include "Sync/Host/Services/HomeLayout.h"

namespace kt {

namespace {

std::size_t countIn(const SyncRecordList& records, std::string_view conduit)
{
    return static_cast<std::size_t>(
        std::count_if(records.begin(), records.end(), [conduit](const SyncRecord& record) {
            return record->conduit() == conduit;
        }));
}

}  // namespace

Look::Look(Workplace& workplace)
    : _preferences(workplace.preferences().copyInMemory()),
      _host(workplace.services(_preferences))
{
    const Place& place = workplace.place();
    if (const auto obstacle = obstacleInStore(place.home, place.systemVersion))
        throw Exception(NSGenericException, obstacle->reason);
    const WriteGuard guard;
    _plugin = workplace.loadPlugin(_host);
    auto contents = _host.look(**_plugin);
    if (!contents)
        throw Exception(NSGenericException, "Die Kalender konnten nicht geladen werden!");
    _contents = *std::move(contents);
    _losses = workplace.lossReport().losses();
}

std::size_t Look::count(std::string_view conduit) const
{
    return countIn(_contents.active, conduit) + countIn(_contents.switchedOff, conduit);
}

void warnOfLosses(Workplace& workplace, const Look& look)
{
    if (look.losses().empty())
        return;
    workplace.statusLine().warn("Nicht alles konnte gelesen werden (" +
                                counted(look.losses().size(), "Stelle", "Stellen") +
                                "); mehr dazu: icalsync check");
}

}  // namespace kt
