#pragma once

#include <string>

namespace kt {

/// Makes the destination the exact copy of the source, a file or a folder with all its content, by
/// copying what differs and removing what the source lacks. Files of equal kind, size, time and
/// permissions count as equal, since copying keeps all of these. A source that is a link counts as
/// what it leads to. What cannot be read is passed over. False when something else could not be
/// copied or removed; the rest goes on.
bool mirrorPath(const std::string& source, const std::string& destination);

}  // namespace kt
