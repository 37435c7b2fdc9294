#pragma once

#include <string_view>

#include "Sync/Foundation/PropertyList.h"

namespace kt {

/// Whether a property list in XML is bounded and whole: tooDeep when arrays and dictionaries are
/// nested beyond the limit; malformed when its tags do not match, it is cut off, a key lacks its
/// value, or a number, date or data holds something else. libplist descends without a limit and
/// reads such things as 0, 1970 or nothing; so this comes first.
PropertyListError checkXMLStructure(std::string_view bytes);

}  // namespace kt
