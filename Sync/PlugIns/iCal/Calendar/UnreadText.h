#pragma once

#include <string_view>

#include "Sync/PlugIns/iCal/Calendar/LineList.h"
#include "Sync/PlugIns/iCal/Calendar/RawProperties.h"

namespace kt {

// What the reading of an item file passes over or cuts short, told as losses.

/// The title that a loss names an item by; an empty text without one.
Value titleIn(const RawProperties& properties);

/// Whether a UID is one that this system gave an item: its record key. What such an item lost was
/// told when it was written, and would be told at every reading from then on.
bool isOwnUID(std::string_view uid);

/// Tells when a file hides behind its first line the beginning of a component that the reader does
/// not see: in small letters, or behind a line end that is no CR LF.
void reportHiddenComponents(std::string_view text);

/// Tells of property keys that go on beyond their first physical line, of which the reader takes no
/// more than that. Not of those that this system folded itself.
void reportCutKeys(const LineList& item);

/// Tells of properties that stand in an item under several keys with different values, of which the
/// last is all that stays: exception dates in two zones, texts in two languages. Not of those that
/// this system wrote itself, nor of special ones, whose parameters are not kept anyway.
void reportReplacedProperties(const RawProperties& properties);

}  // namespace kt
