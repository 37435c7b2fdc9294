#pragma once

#include "Sync/Foundation/Dictionary.h"

namespace kt {

/// A calendar's settings as they stand in the store, with what changed: an entry whose value the
/// writer would write as before stays as it stands, be it missing; what the writer knows nothing of
/// stays as well. `written` is what the writer makes of the stored calendar, `wanted` what it makes
/// of the one that is to be written. Equal to `stored` when nothing changed.
Dictionary mergedSettings(const Dictionary& stored, const Dictionary& written,
                          const Dictionary& wanted);

/// The members of a group as they stand, with what changed: members that nobody knows stay in their
/// places, those that left go, new ones come last. `known` are all members that could have left.
Array mergedMembers(const Array& stored, const Array& known, const Array& wanted);

}  // namespace kt
