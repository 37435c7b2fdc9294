#pragma once

#include "Sync/PlugIns/iCal/Calendar/FileLines.h"
#include "Sync/PlugIns/iCal/Calendar/LineList.h"

namespace kt {

// Tell, as losses, of the components among lines that nobody took, the outermost of each nest, and
// of the first END without a BEGIN, behind which nothing is read.

/// Of one item.
void reportLeftLines(const LineList& lines);
/// Of a file around its items.
void reportLeftLines(const FileLines& lines);

}  // namespace kt
