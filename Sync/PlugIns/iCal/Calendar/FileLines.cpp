#include "Sync/PlugIns/iCal/Calendar/FileLines.h"

namespace kt {

LineList FileLines::linesIn(std::string_view stretch) const
{
    constexpr std::size_t kUsualLineLength = 24;
    LineList lines;
    lines.reserve(stretch.size() / kUsualLineLength + 1);
    walk(
        stretch, [&](std::string_view line) { lines.append(line); }, [](std::string_view) {});
    return lines;
}

}  // namespace kt
