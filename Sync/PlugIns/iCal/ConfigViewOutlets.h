#pragma once

#include <string_view>
#include <utility>

#include "Sync/HostInterface/Controls.h"
#include "Sync/HostInterface/TableView.h"

namespace kt {

/// What the configuration view is made of, each under its name in the interface file; null as long
/// as nothing is connected. Not owned.
struct ConfigViewOutlets {
    View* configView = nullptr;
    TableView* syncedCalendarsList = nullptr;
    Label* syncCalendarsStatusLabel = nullptr;
    TabView* sharingTabView = nullptr;
    Button* activatePublicSharingButton = nullptr;
    Button* publishEventsCheckbox = nullptr;
    Button* publishTasksCheckbox = nullptr;
    Button* anonymizeAllCheckbox = nullptr;
    Button* showPublicCalendarsInBrowserButton = nullptr;
    ProgressIndicator* publicSharingProgress = nullptr;
    Label* publicSharingStatusLabel = nullptr;

    /// See NibOwner::setOutlet.
    bool set(std::string_view name, View* view);
};

/// A message to nil does nothing.
template <class T, class Class, class... Parameters, class... Arguments>
void tell(T* outlet, void (Class::*operation)(Parameters...), Arguments&&... arguments)
{
    if (outlet != nullptr)
        (outlet->*operation)(std::forward<Arguments>(arguments)...);
}

}  // namespace kt
