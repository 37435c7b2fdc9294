#include "Sync/Foundation/Platform.h"
#include "Sync/HostInterface/PublishingOptions.h"
#include "Sync/HostInterface/Workspace.h"
#include "Sync/PlugIns/iCal/ICalSyncPlugin.h"

namespace kt {

namespace {

const std::vector<std::string>& itemConduits()
{
    static const std::vector<std::string> conduits{std::string(kConduitEvent),
                                                   std::string(kConduitTask)};
    return conduits;
}

int stateOf(const Button* checkbox) { return checkbox == nullptr ? 0 : checkbox->intValue(); }

/// Without a connection there is nobody to say what went wrong.
Value reason(const std::shared_ptr<KTSyncConnection>& connection, const KTSyncError& error)
{
    return connection ? Value(error.localizedDescription) : Value();
}

}  // namespace

void ICalSyncPlugin::activatePublicSharing(View*)
{
    const auto calendar = selectedPublishableCalendar();
    if (!calendar)
        return;
    tell(_outlets.publicSharingProgress, &ProgressIndicator::startAnimation);
    const auto connection = publishingConnection();
    if (publishingOptions(recordKeyOf(*calendar))[kPublicOption].boolValue())
        unpublish(*calendar, connection);
    else
        publish(*calendar, connection);
    tell(_outlets.syncedCalendarsList, &TableView::reloadData);
    endSharing();
}

void ICalSyncPlugin::publish(const KTSyncCalendar& calendar,
                             const std::shared_ptr<KTSyncConnection>& connection)
{
    showSharingStatus("Kalender veröffentlichen...");
    const std::string recordKey = recordKeyOf(calendar);
    const PublishingOptions options{stateOf(_outlets.publishEventsCheckbox) != 0,
                                    stateOf(_outlets.publishTasksCheckbox) != 0,
                                    stateOf(_outlets.anonymizeAllCheckbox) != 0};
    KTSyncError error;
    if (!connection ||
        !connection->activatePublicSharingForMainConduit(std::string(kConduitCalendar),
                                                         itemConduits(), "RO", recordKey,
                                                         options.text(), error)) {
        NSLog("Fehler beim Veroeffentlichen von '%@': \n%@", calendar.title(),
              reason(connection, error));
        return;
    }
    NSLog("Kalender '%@' wurde veroeffentlicht", calendar.title());
    storePublishingOptions(recordKey, optionsOfCheckboxes(1));
}

void ICalSyncPlugin::unpublish(const KTSyncCalendar& calendar,
                               const std::shared_ptr<KTSyncConnection>& connection)
{
    showSharingStatus("Veröffentlichung aufheben...");
    const std::string recordKey = recordKeyOf(calendar);
    KTSyncError error;
    if (!connection ||
        !connection->deactivatePublicSharingForMainConduit(std::string(kConduitCalendar),
                                                           itemConduits(), recordKey, error)) {
        NSLog("Fehler beim Deaktivieren der Veroeffentlichung von '%@': \n%@", calendar.title(),
              reason(connection, error));
        return;
    }
    NSLog("Veroeffentlichung von Kalender '%@' wurde deaktiviert", calendar.title());
    storePublishingOptions(recordKey, optionsOfCheckboxes(0));
}

void ICalSyncPlugin::changePublishOptionCheckbox(View*)
{
    // The boxes can be changed only while the calendar is unpublished.
    if (const auto calendar = selectedPublishableCalendar())
        storePublishingOptions(recordKeyOf(*calendar), optionsOfCheckboxes(0));
}

void ICalSyncPlugin::showPublicCalendarsInBrowser(View*)
{
    const auto site = _pluginHelper->publicSiteUrl();
    auto* workspace = hostClass<Workspace>();
    if (site && !site->empty() && workspace != nullptr)
        workspace->openURL(stringByAppendingPathComponent(*site, "vl/calendar"));
}

Dictionary ICalSyncPlugin::optionsOfCheckboxes(int isPublic) const
{
    return Dictionary{{std::string(kPublicOption), isPublic},
                      {std::string(kPublishEventsOption), stateOf(_outlets.publishEventsCheckbox)},
                      {std::string(kPublishTasksOption), stateOf(_outlets.publishTasksCheckbox)},
                      {std::string(kAnonymizeOption), stateOf(_outlets.anonymizeAllCheckbox)}};
}

}  // namespace kt
