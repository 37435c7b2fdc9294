#pragma once

#include <string>
#include <vector>

namespace kt {

/// Where a path leads when the links in it are followed; a store's folder may be one, into another
/// volume. The path itself where nothing is.
std::string realPath(const std::string& path);

/// What tells one state of a store from another without reading it: names, sizes and times of all
/// that stands at and below the paths, as one text to be compared. What is not there does not
/// count.
std::string fingerprintOfFiles(const std::vector<std::string>& paths);

}  // namespace kt
