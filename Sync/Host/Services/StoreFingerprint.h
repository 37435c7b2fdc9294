#pragma once

#include <string>
#include <vector>

namespace kt {

/// What tells one state of a store from another without reading it: names, sizes, times (that
/// of the last change of any kind as well, which nobody can set), rights and inodes of all that
/// stands at and below the paths, as one text to be compared. What is not there does not count.
std::string fingerprintOfFiles(const std::vector<std::string>& paths);

}  // namespace kt
