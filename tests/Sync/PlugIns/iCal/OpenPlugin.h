#pragma once

#include "Sync/PlugIns/iCal/ICalSyncPlugin.h"

namespace kt::test {

/// The plug-in with its state in the open.
class OpenPlugin : public ICalSyncPlugin {
public:
    using ICalSyncPlugin::_activatedCalendars;
    using ICalSyncPlugin::_cancelSync;
    using ICalSyncPlugin::_isICalDidEndNotificationDisabled;
    using ICalSyncPlugin::_isSynchronizing;
    using ICalSyncPlugin::_localCalendarsList;
    using ICalSyncPlugin::_menuIcon;
    using ICalSyncPlugin::_outlets;
    using ICalSyncPlugin::_publicCalendars;
    using ICalSyncPlugin::_resetSync;
    using ICalSyncPlugin::_syncServicesHook;
    using ICalSyncPlugin::ICalSyncPlugin;
};

}  // namespace kt::test
