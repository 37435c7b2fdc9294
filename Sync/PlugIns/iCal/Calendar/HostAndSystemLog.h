#pragma once

#include <string>
#include <string_view>

#include "Sync/Foundation/Platform.h"
#include "Sync/HostInterface/KTSyncPluginHelper.h"

namespace kt {

/// One line, in the same words, to the host's log and to the system log: for what somebody should
/// find even when the host's log is gone.
template <class... Arguments>
void logToHostAndSystem(KTSyncPluginHelper* helper, std::string_view format,
                        const Arguments&... arguments)
{
    const std::string line = stringWithFormat(format, arguments...);
    NSLog("%@", line);
    logMsg(helper, "%@", line);
}

}  // namespace kt
