#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Sync/HostInterface/KTSyncPluginHelper.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

// The text of single events and tasks, from their records and back.

/// The component that the writer makes of an event's or task's record, with line ends whole that
/// the fold would cut. Writes attachment files. Throws Exception, logged, when the record cannot be
/// taken.
std::string itemText(KTSyncPluginHelper* pluginHelper, const KTSyncRecord& record,
                     const std::string& uid);

/// All that the component of a record can tell, for comparing and for putting texts together: what
/// the writer makes, and the status of a task that was completed nobody knows when, which the
/// writer leaves out and the reader takes.
std::string fullItemText(KTSyncPluginHelper* pluginHelper, const KTSyncRecord& record,
                         const std::string& uid);

/// What is written in place of a UID where texts are compared.
inline constexpr std::string_view kAnyUID = "x";

/// The full text, under kAnyUID, of a component once it was read; nullopt where it cannot be read.
std::optional<std::string> itemTextAsRead(KTSyncPluginHelper* pluginHelper,
                                          std::string_view component);

}  // namespace kt
