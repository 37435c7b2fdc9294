#include "Sync/PlugIns/iCal/Calendar/LineList.h"

#include <algorithm>
#include <cstddef>

#include "Sync/Foundation/Value.h"

namespace kt {

void LineList::removeFirst(std::size_t count)
{
    const auto removed = static_cast<std::ptrdiff_t>(std::min(count, _lines.size()));
    _lines.erase(_lines.begin(), _lines.begin() + removed);
}

void LineList::removeLast(std::size_t count)
{
    _lines.resize(_lines.size() - std::min(count, _lines.size()));
}

std::string LineList::description() const
{
    Array array;
    array.reserve(_lines.size());
    for (std::string_view line : _lines)
        array.emplace_back(line);
    return kt::description(array);
}

}  // namespace kt
