#pragma once

#include <string_view>

namespace kt {

// What the plug-in keeps in the host's preferences and the host has to know of: the settings that a
// person changes without the plug-in's own view.

/// Boolean: the plug-in as a whole is switched on. Absent in a home that has never been synced.
inline constexpr std::string_view kActivatePreference = "ICAL_SYNC_PLUGIN_ACTIVATE";
/// Boolean: the next sync compares everything.
inline constexpr std::string_view kFullSyncPreference = "ICAL_SYNC_PLUGIN_FULL_SYNC";
/// Dictionary: a calendar's record key to 1 or 0.
inline constexpr std::string_view kSyncedCalendarsPreference = "ICAL_SYNC_PLUGIN_SYNCED_PLUGINS";
/// Dictionary: a calendar's record key to a dictionary with "Public".
inline constexpr std::string_view kPublishedCalendarsPreference =
    "ICAL_SYNC_PLUGIN_PUBLISHED_CALENDARS";

}  // namespace kt
