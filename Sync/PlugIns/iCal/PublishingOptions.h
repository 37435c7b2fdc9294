#pragma once

#include <string_view>

namespace kt {

// How a calendar is published: keys of its entry under ICalSyncPlugin::kPublishedPreference, each
// with a number, 0 or 1.
inline constexpr std::string_view kPublicOption = "Public";
inline constexpr std::string_view kPublishEventsOption = "PublishEvents";
inline constexpr std::string_view kPublishTasksOption = "PublishTasks";
inline constexpr std::string_view kAnonymizeOption = "Anonymize";

// The same as words in the option string of the publishing service, which may hold them in any
// order.
inline constexpr std::string_view kEventsWord = "EVENTS";
inline constexpr std::string_view kTasksWord = "TASKS";
inline constexpr std::string_view kAnonymizeWord = "ANON";

}  // namespace kt
