#include "Sync/Foundation/Platform.h"
#include "Sync/HostInterface/Guard.h"
#include "Sync/HostInterface/PublishingOptions.h"
#include "Sync/PlugIns/iCal/ICalSyncPlugin.h"

namespace kt {

namespace {

constexpr std::string_view kActiveColumn = "calendarActive";
constexpr std::string_view kFullSyncNotice =
    "Die Kalender werden beim nächsten Mal vollständig synchronisiert";

}  // namespace

View* ICalSyncPlugin::configView()
{
    tell(_outlets.syncedCalendarsList, &TableView::setDelegate, this);
    tell(_outlets.syncedCalendarsList, &TableView::setDataSource, this);
    tell(_outlets.publicSharingProgress, &ProgressIndicator::setUsesThreadedAnimation, true);
    tell(_outlets.publicSharingProgress, &ProgressIndicator::setDisplayedWhenStopped, false);
    const bool isFullSyncDue = _pluginHelper->boolPreferenceForKey(kFullSyncPreference, false);
    tell(_outlets.syncCalendarsStatusLabel, &Label::setStringValue,
         std::string(isFullSyncDue ? kFullSyncNotice : ""));
    _localCalendarsList.clear();
    _localCalendarsList = calendarsList();
    updateActivatedCalendars();
    tell(_outlets.sharingTabView, &View::setHidden, selectedPublishableCalendar() == nullptr);
    return _outlets.configView;
}

const std::shared_ptr<KTSyncCalendar>& ICalSyncPlugin::calendarInRow(int row) const
{
    if (row < 0 || static_cast<std::size_t>(row) >= _localCalendarsList.size())
        throw Exception(NSRangeException, stringWithFormat("no calendar in row %d", row));
    return _localCalendarsList[static_cast<std::size_t>(row)];
}

int ICalSyncPlugin::numberOfRowsInTableView(TableView*)
{
    return static_cast<int>(_localCalendarsList.size());
}

Value ICalSyncPlugin::tableViewObjectValueForTableColumn(TableView*, const TableColumn& tableColumn,
                                                         int row)
{
    return guardedOr(
        [&]() -> Value {
            const auto& calendar = calendarInRow(row);
            const std::string recordKey = recordKeyOf(*calendar);
            if (tableColumn.identifier == kActiveColumn)
                return _activatedCalendars[recordKey];
            const bool isPublic = publishingOptions(recordKey)[kPublicOption].boolValue();
            return stringWithFormat("%@ %@", calendar->title(), isPublic ? "(Öffentlich)" : "");
        },
        [](const Exception&) -> Value { return ""; });
}

void ICalSyncPlugin::tableViewSetObjectValue(TableView*, const Value& objectValue,
                                             const TableColumn& tableColumn, int row)
{
    if (tableColumn.identifier != kActiveColumn)
        return;
    guardedOr(
        [&] {
            _activatedCalendars.set(recordKeyOf(*calendarInRow(row)), objectValue);
            _pluginHelper->updatePreferenceWithObject(kSyncedPreference, _activatedCalendars);
            _pluginHelper->updatePreferenceWithBool(kFullSyncPreference, true);
            tell(_outlets.syncCalendarsStatusLabel, &Label::setStringValue,
                 std::string(kFullSyncNotice));
        },
        [](const Exception& exception) {
            NSLog("CorvidPluginsHelber tableView:setObjectValue: %@", exception.description());
        });
}

std::optional<std::string> ICalSyncPlugin::tableViewIdentityOfRow(TableView*, int row)
{
    return guardedOr([&] { return std::optional(recordKeyOf(*calendarInRow(row))); },
                     [](const Exception&) { return std::optional<std::string>(); });
}

std::optional<std::string> ICalSyncPlugin::tableViewColorForRow(TableView*, int row)
{
    return guardedOr([&] { return calendarInRow(row)->color(); },
                     [](const Exception&) { return std::optional<std::string>(); });
}

std::string ICalSyncPlugin::recordKeyOf(const KTSyncCalendar& calendar)
{
    return std::string(Value(calendar.recordKey()).string());
}

}  // namespace kt
