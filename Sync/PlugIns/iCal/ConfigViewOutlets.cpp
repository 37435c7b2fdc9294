#include "Sync/PlugIns/iCal/ConfigViewOutlets.h"

namespace kt {

namespace {

template <class T>
bool connect(T*& outlet, View* view)
{
    auto* connected = dynamic_cast<T*>(view);
    if (connected == nullptr)
        return false;
    outlet = connected;
    return true;
}

}  // namespace

bool ConfigViewOutlets::set(std::string_view name, View* view)
{
    if (name == "configView")
        return connect(configView, view);
    if (name == "syncedCalendarsList")
        return connect(syncedCalendarsList, view);
    if (name == "syncCalendarsStatusLabel")
        return connect(syncCalendarsStatusLabel, view);
    if (name == "sharingTabView")
        return connect(sharingTabView, view);
    if (name == "activatePublicSharingButton")
        return connect(activatePublicSharingButton, view);
    if (name == "publishEventsCheckbox")
        return connect(publishEventsCheckbox, view);
    if (name == "publishTasksCheckbox")
        return connect(publishTasksCheckbox, view);
    if (name == "anonymizeAllCheckbox")
        return connect(anonymizeAllCheckbox, view);
    if (name == "showPublicCalendarsInBrowserButton")
        return connect(showPublicCalendarsInBrowserButton, view);
    if (name == "publicSharingProgress")
        return connect(publicSharingProgress, view);
    if (name == "publicSharingStatusLabel")
        return connect(publicSharingStatusLabel, view);
    return false;
}

}  // namespace kt
