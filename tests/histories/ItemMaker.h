#pragma once

#include <set>
#include <string>

#include "tests/histories/ItemText.h"

namespace kt::test {

/// A new item, its kind, title and time taken from the number: some are alike in all that a record
/// key is made of. Its notes begin with the token, `#17#`.
ItemText makeItem(int token, int what, const std::string& stamp);

/// One of the series' occurrences as an item of its own, an hour later.
ItemText makeOccurrence(const ItemText& series, int token, int what, const std::string& stamp);
bool isOccurrence(const ItemText& item);

/// The item with one thing changed, which is told.
std::string editItem(ItemText& item, int what, const std::string& stamp);

/// The tokens of an item's notes: of one that was entered on two devices both may stand there.
std::set<int> tokensOf(const ItemText& item);
/// As people read them: `#17 #21`.
std::string toldTokens(const ItemText& item);

}  // namespace kt::test
