#include "Sync/HostInterface/KTClassTable.h"

#include <algorithm>

namespace kt {

namespace {

KTClassTable& processTable()
{
    static KTClassTable table;
    return table;
}

}  // namespace

void KTClassTable::setClass(std::string_view name, KTHostClass* hostClass)
{
    for (auto& [knownName, knownClass] : _classes) {
        if (knownName != name)
            continue;
        knownClass = hostClass;
        return;
    }
    _classes.emplace_back(std::string(name), hostClass);
}

KTHostClass* KTClassTable::classNamed(std::string_view name) const
{
    const auto found = std::find_if(_classes.begin(), _classes.end(),
                                    [&](const auto& entry) { return entry.first == name; });
    return found == _classes.end() ? nullptr : found->second;
}

const KTClassTable& hostClassTable() { return processTable(); }

void setHostClassTable(KTClassTable table) { processTable() = std::move(table); }

KTHostClass* NSClassFromString(std::string_view name) { return processTable().classNamed(name); }

}  // namespace kt
