#include "Sync/HostInterface/PublishingOptions.h"
#include "Sync/PlugIns/iCal/ICalSyncPlugin.h"

namespace kt {

namespace {

/// What the service says of a calendar that it holds.
Dictionary optionsOfSharing(const Dictionary& sharing)
{
    const auto options =
        PublishingOptions::fromText(sharing["publicOptions"].stringOrNil().value_or(""));
    return Dictionary{{std::string(kPublicOption), sharing["public"] == Value("YES") ? 1 : 0},
                      {std::string(kPublishEventsOption), options.events ? 1 : 0},
                      {std::string(kPublishTasksOption), options.tasks ? 1 : 0},
                      {std::string(kAnonymizeOption), options.anonymous ? 1 : 0}};
}

/// A calendar that the service does not hold keeps its choices, up to the first that is missing.
Dictionary optionsWithoutSharing(const Dictionary& stored)
{
    Dictionary options{{std::string(kPublicOption), 0}};
    for (const auto key : {kPublishEventsOption, kPublishTasksOption, kAnonymizeOption}) {
        if (!stored.contains(key))
            break;
        options.set(key, stored[key]);
    }
    return options;
}

}  // namespace

std::shared_ptr<KTSyncCalendar> ICalSyncPlugin::selectedPublishableCalendar() const
{
    const int row =
        _outlets.syncedCalendarsList == nullptr ? -1 : _outlets.syncedCalendarsList->selectedRow();
    // The table may still have a row of an older list selected.
    if (row < 0 || static_cast<std::size_t>(row) >= _localCalendarsList.size())
        return nullptr;
    const auto& calendar = _localCalendarsList[static_cast<std::size_t>(row)];
    return calendar->calendarType() == kCalendarTypeBirthday ? nullptr : calendar;
}

void ICalSyncPlugin::tableViewSelectionDidChange()
{
    const auto calendar = selectedPublishableCalendar();
    if (!calendar) {
        tell(_outlets.sharingTabView, &View::setHidden, true);
        return;
    }
    tell(_outlets.publicSharingProgress, &ProgressIndicator::startAnimation);
    showSharingStatus("Daten abfragen...");
    for (Button* control : {_outlets.activatePublicSharingButton, _outlets.publishEventsCheckbox,
                            _outlets.publishTasksCheckbox, _outlets.anonymizeAllCheckbox,
                            _outlets.showPublicCalendarsInBrowserButton}) {
        tell(control, &Control::setEnabled, false);
        tell(control, &View::display);
    }
    askForSharing(recordKeyOf(*calendar));
    endSharing();
    tell(_outlets.sharingTabView, &View::setHidden, false);
}

void ICalSyncPlugin::showSharingStatus(const std::string& text)
{
    tell(_outlets.publicSharingStatusLabel, &Label::setStringValue, text);
    // What follows keeps the interface thread busy.
    tell(_outlets.publicSharingStatusLabel, &View::display);
}

void ICalSyncPlugin::endSharing()
{
    tell(_outlets.publicSharingProgress, &ProgressIndicator::stopAnimation);
    tell(_outlets.publicSharingStatusLabel, &Label::setStringValue, std::string());
    updateUI();
}

std::shared_ptr<KTSyncConnection> ICalSyncPlugin::publishingConnection()
{
    const auto* connectionClass = hostClass<KTSyncConnectionClass>();
    return connectionClass == nullptr
               ? nullptr
               : connectionClass->initForPlugin(nullptr, shortDisplayName(), nullptr);
}

Dictionary ICalSyncPlugin::publishingOptions(const std::string& recordKey) const
{
    const Value& options = _publicCalendars[recordKey];
    return options.isNil() ? Dictionary() : options.dictionary();
}

void ICalSyncPlugin::storePublishingOptions(const std::string& recordKey, Dictionary options)
{
    _publicCalendars.set(recordKey, std::move(options));
    _pluginHelper->updatePreferenceWithObject(kPublishedPreference, _publicCalendars);
}

void ICalSyncPlugin::askForSharing(const std::string& recordKey)
{
    std::vector<Dictionary> sharings;
    KTSyncError error;
    const auto connection = publishingConnection();
    if (!connection || !connection->listPublicSharings(sharings, std::string(kConduitCalendar),
                                                       std::nullopt, recordKey, error))
        return;
    storePublishingOptions(recordKey, sharings.empty()
                                          ? optionsWithoutSharing(publishingOptions(recordKey))
                                          : optionsOfSharing(sharings.front()));
}

void ICalSyncPlugin::updateUI()
{
    const auto calendar = selectedPublishableCalendar();
    if (!calendar)
        return;
    const Dictionary options = publishingOptions(recordKeyOf(*calendar));
    const bool isUnpublished = options[kPublicOption].intValue() == 0;
    tell(_outlets.activatePublicSharingButton, &Button::setTitle,
         std::string(isUnpublished ? "Veröffentlichen..." : "Veröffentlichung aufheben..."));
    // Whoever publishes a calendar publishes its events: the box only shows it.
    tell(_outlets.publishEventsCheckbox, &Control::setEnabled, false);
    tell(_outlets.publishTasksCheckbox, &Control::setEnabled, isUnpublished);
    tell(_outlets.anonymizeAllCheckbox, &Control::setEnabled, isUnpublished);
    tell(_outlets.showPublicCalendarsInBrowserButton, &Control::setEnabled, !isUnpublished);
    tell(_outlets.activatePublicSharingButton, &Control::setEnabled, true);
    tell(_outlets.publishEventsCheckbox, &Button::setIntValue,
         options[kPublishEventsOption].intValue());
    tell(_outlets.publishTasksCheckbox, &Button::setIntValue,
         options[kPublishTasksOption].intValue());
    tell(_outlets.anonymizeAllCheckbox, &Button::setIntValue, options[kAnonymizeOption].intValue());
}

}  // namespace kt
