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

Look::Look(Workplace& workplace, Unloaded unloaded)
    : _preferences(workplace.preferences().copyInMemory()),
      _host(workplace.services(_preferences))
{
    const Place& place = workplace.place();
    if (const auto obstacle = obstacleInStore(place.home, place.systemVersion))
        throw Exception(NSGenericException, obstacle->reason);
    const WriteGuard guard;
    _plugin = workplace.loadPlugin(_host);
    auto contents = _host.look(**_plugin);
    _losses = workplace.lossReport().losses();
    _isLoaded = contents.has_value();
    if (contents)
        _contents = *std::move(contents);
    else if (unloaded == Unloaded::isFailure)
        throw Exception(NSGenericException, reasonNotLoaded());
}

std::string Look::reasonNotLoaded() const
{
    constexpr std::string_view kNotLoaded = "Die Kalender konnten nicht geladen werden!";
    const auto loss = std::find_if(_losses.begin(), _losses.end(),
                                   [](const KTLoss& told) { return !isRemark(told); });
    return std::string(kNotLoaded) + (loss == _losses.end() ? "" : " " + lineForLoss(*loss));
}

std::size_t Look::count(std::string_view conduit) const
{
    return countIn(_contents.active, conduit) + countIn(_contents.switchedOff, conduit);
}

void warnOfLosses(Workplace& workplace, const Look& look)
{
    const auto count =
        static_cast<std::size_t>(std::count_if(look.losses().begin(), look.losses().end(),
                                               [](const KTLoss& loss) { return !isRemark(loss); }));
    if (count == 0)
        return;
    workplace.statusLine().warn("Nicht alles konnte gelesen werden (" +
                                counted(count, "Stelle", "Stellen") +
                                "); mehr dazu: icalsync check");
}

}  // namespace kt
