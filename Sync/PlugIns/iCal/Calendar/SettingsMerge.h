#pragma once

#include <string>

#include "Sync/Foundation/Dictionary.h"

namespace kt {

/// The settings in a file of the store that has been read before. Throws Exception where it cannot
/// be read now: whatever else stands in it would be written over.
Dictionary settingsThatWereRead(const std::string& path);

/// A calendar's settings as they stand in the store, with what changed: an entry whose value the
/// writer would write as before stays as it stands, be it missing; what the writer knows nothing of
/// stays as well. `written` is what the writer makes of the stored calendar, `wanted` what it makes
/// of the one that is to be written. Equal to `stored` when nothing changed.
Dictionary mergedSettings(const Dictionary& stored, const Dictionary& written,
                          const Dictionary& wanted);

/// The members of a group as they stand, with what changed: those that were in it before and are
/// not after go, new ones come last. All others stay in their places, known or not.
Array mergedMembers(const Array& stored, const Array& before, const Array& after);

}  // namespace kt
