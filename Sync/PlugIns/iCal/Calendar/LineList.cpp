#include "Sync/PlugIns/iCal/Calendar/LineList.h"

#include "Sync/Foundation/Value.h"

namespace kt {

std::string LineList::description() const
{
    Array array;
    array.reserve(_lines.size());
    for (std::string_view line : _lines)
        array.emplace_back(line);
    return kt::description(array);
}

}  // namespace kt
