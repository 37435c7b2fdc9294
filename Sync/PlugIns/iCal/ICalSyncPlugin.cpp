#include "Sync/PlugIns/iCal/ICalSyncPlugin.h"

#include "Sync/Foundation/Bundle.h"
#include "Sync/PlugIns/iCal/Calendar/StoreLayout.h"

namespace kt {

ICalSyncPlugin::ICalSyncPlugin(KTSyncPluginHelper* pluginHelper, std::string bundlePath)
    : _pluginHelper(pluginHelper),
      _bundlePath(std::move(bundlePath))
{
    if (auto* loader = hostClass<NibLoader>())
        _nib = loader->loadNibNamed("ICalSyncPlugin", *this, _bundlePath);
}

ICalSyncPlugin::~ICalSyncPlugin()
{
    tell(_outlets.syncedCalendarsList, &TableView::setDelegate, nullptr);
    tell(_outlets.syncedCalendarsList, &TableView::setDataSource, nullptr);
}

std::function<void(View*)> ICalSyncPlugin::actionNamed(std::string_view selector)
{
    if (selector == "activatePublicSharing:")
        return [this](View* sender) { activatePublicSharing(sender); };
    if (selector == "changePublishOptionCheckbox:")
        return [this](View* sender) { changePublishOptionCheckbox(sender); };
    if (selector == "showPublicCalendarsInBrowser:")
        return [this](View* sender) { showPublicCalendarsInBrowser(sender); };
    return {};
}

bool ICalSyncPlugin::isEnabled()
{
    return _pluginHelper->boolPreferenceForKey(kActivatePreference, false) &&
           showInSyncPluginsList();
}

void ICalSyncPlugin::enable()
{
    _pluginHelper->updatePreferenceWithBool(kActivatePreference, true);
}

void ICalSyncPlugin::disable()
{
    _pluginHelper->updatePreferenceWithBool(kActivatePreference, false);
}

std::vector<std::string> ICalSyncPlugin::syncConduits()
{
    return {std::string(kConduitEvent), std::string(kConduitTask), std::string(kConduitCalendar)};
}

std::shared_ptr<Image> ICalSyncPlugin::menuIcon()
{
    if (_menuIcon)
        return _menuIcon;
    const auto bundle = Bundle::bundleWithPath(_bundlePath);
    const auto path = bundle ? bundle->pathForResource("iCal.icns") : std::nullopt;
    if (path)
        _menuIcon = Image::imageWithContentsOfFile(*path);
    return _menuIcon;
}

bool ICalSyncPlugin::showInSyncPluginsList()
{
    return StoreLayout::isOfferedOnSystem(_pluginHelper->macOSVersion());
}

std::optional<std::vector<std::string>> ICalSyncPlugin::filesToBackup()
{
    const auto layout = StoreLayout::ofHost(_pluginHelper);
    return layout ? std::optional(layout->filesToBackup()) : std::nullopt;
}

std::string ICalSyncPlugin::describeRecord(const KTSyncRecord& record)
{
    const Dictionary& fields = record.record();
    if (record.conduit() == kConduitCalendar)
        return stringWithFormat("%@: '%@'",
                                fields["Type"] == Value("CalendarGroup") ? "Gruppe" : "Kalender",
                                fields["Title"]);
    if (record.conduit() == kConduitEvent)
        return stringWithFormat("Ereignis: '%@' (%@)", fields["Title"], fields["StartDate"]);
    if (record.conduit() == kConduitTask)
        return stringWithFormat("Aufgabe: '%@'", fields["Title"]);
    return fields.description();
}

bool ICalSyncPlugin::resetSync()
{
    _pluginHelper->logMsg("Die Synchronisierung der iCal-Kalender wird zurueckgesetzt");
    _resetSync = true;
    return _pluginHelper->resetLocalState();
}

bool ICalSyncPlugin::cancelSync()
{
    _cancelSync = true;
    return true;
}

}  // namespace kt
