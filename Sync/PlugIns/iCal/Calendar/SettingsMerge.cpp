#include "Sync/PlugIns/iCal/Calendar/SettingsMerge.h"

#include <algorithm>
#include <utility>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/PropertyList.h"
#include "Sync/Foundation/Value.h"

namespace kt {

namespace {

bool holds(const Array& list, const Value& value)
{
    return std::find(list.begin(), list.end(), value) != list.end();
}

}  // namespace

Dictionary settingsThatWereRead(const std::string& path)
{
    if (auto settings = dictionaryWithContentsOfFile(path))
        return *std::move(settings);
    throw Exception(NSGenericException,
                    stringWithFormat("'%@' kann nicht mehr gelesen werden", path));
}

Dictionary mergedSettings(const Dictionary& stored, const Dictionary& written,
                          const Dictionary& wanted)
{
    Dictionary merged = stored;
    for (const auto& [key, value] : wanted) {
        if (written[key] != value)
            merged.set(key, value);
    }
    for (const auto& [key, value] : written) {
        if (!wanted.contains(key))
            merged.remove(key);
    }
    return merged;
}

Array mergedMembers(const Array& stored, const Array& before, const Array& after)
{
    Array merged;
    for (const Value& member : stored) {
        if (!holds(before, member) || holds(after, member))
            merged.push_back(member);
    }
    for (const Value& member : after) {
        if (!holds(before, member) && !holds(merged, member))
            merged.push_back(member);
    }
    return merged;
}

}  // namespace kt
