#pragma once

#include <string>

namespace kt {

/// Whether an existing folder holds nothing but folders and names that begin with a dot, as a
/// rewrite leaves one behind that was cut off before it wrote a file: there is no text in it. False
/// for one that cannot be listed as a whole, and for what is no folder. Links are not followed.
bool isEmptyFolder(const std::string& path);

}  // namespace kt
