#pragma once

#include <string>
#include <string_view>

#include "Sync/Host/Services/LookingHost.h"
#include "Sync/Host/Services/Preferences.h"

namespace kt {

// What the commands that are about one calendar share.

/// The calendar or group of that record key. Throws Exception NSGenericException, with a line for
/// the user, for a key that stands for none.
SyncRecord chosenCalendar(const StoreContents& contents, const std::string& key);

/// Throws Exception NSGenericException, with a line for the user, when it cannot be stored.
void setPreference(Preferences& preferences, std::string_view key, const Value& value);

/// A preference that holds something for each calendar; empty for one that is no dictionary.
Dictionary dictionaryPreference(Preferences& preferences, std::string_view key);

}  // namespace kt
