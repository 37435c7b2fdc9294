#pragma once

#include "Sync/PlugIns/iCal/Calendar/FileLines.h"
#include "Sync/PlugIns/iCal/Calendar/LineList.h"

namespace kt {

// What the reading of an item file passes over or cuts short, told as losses.

/// Tells when a line of a file hides the beginning of a component that the reader does not see: in
/// small letters, or behind a line end that is no CR LF.
void reportHiddenComponents(const FileLines& lines);

/// Tells of property keys that go on beyond their first physical line, of which the reader takes no
/// more than that. Not of those that this system folded itself: they were told when they were
/// written, and would be told at every reading from then on.
void reportCutKeys(const LineList& item);

}  // namespace kt
