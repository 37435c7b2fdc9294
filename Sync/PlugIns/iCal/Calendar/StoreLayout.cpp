#include "Sync/PlugIns/iCal/Calendar/StoreLayout.h"

#include "Sync/PlugIns/iCal/Calendar/KTSyncEvent.h"
#include "Sync/PlugIns/iCal/Calendar/Layout104.h"
#include "Sync/PlugIns/iCal/Calendar/Layout105.h"

namespace kt {

namespace {

constexpr int kMacOS104 = 4;
constexpr int kMacOS105 = 5;

}  // namespace

std::unique_ptr<const StoreLayout> StoreLayout::forSystemVersion(int version, StorePaths paths)
{
    switch (version) {
    case kMacOS104:
        return std::make_unique<const Layout104>(std::move(paths));
    case kMacOS105:
        return std::make_unique<const Layout105>(std::move(paths));
    default:
        return nullptr;
    }
}

std::unique_ptr<const StoreLayout> StoreLayout::ofHost(KTSyncPluginHelper* pluginHelper)
{
    return pluginHelper == nullptr ? nullptr : forSystemVersion(pluginHelper->macOSVersion());
}

bool StoreLayout::isOfferedOnSystem(int version) { return version >= kMacOS104; }

Value StoreLayout::uidOfSeries(const KTSyncEvent& event)
{
    const auto& series = event.recurrenceParentRecordKey();
    return series ? series : event.recordKey();
}

}  // namespace kt
