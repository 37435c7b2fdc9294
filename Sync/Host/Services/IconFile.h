#pragma once

#include <string_view>
#include <vector>

namespace kt {

/// The PNG pictures in an icon file (icns), in its order; they point into `icon`. Other kinds of
/// pictures are passed over, and what follows a length that does not fit is not read.
///
///     "icns"  length of the file (4 bytes, big-endian)
///     type (4 bytes)  length of the entry with these 8 bytes (4 bytes)  picture   ...
std::vector<std::string_view> pngPicturesOfIcon(std::string_view icon);

}  // namespace kt
