#include "Sync/Host/Engine/StandingRecords.h"

#include <functional>
#include <string>

namespace kt {

namespace {

std::size_t hashOf(const StorePlace& place)
{
    std::size_t hash = 0;
    for (const std::string* part : {&place.uid, &place.file, &place.recurrence})
        hash = hash * 31 + std::hash<std::string>{}(*part);
    return hash;
}

}  // namespace

void StandingRecords::add(const LocalRecord& local)
{
    const auto next = static_cast<std::uint32_t>(_records.size());
    if (_numbers.enter(local.record.get(), next) == next)
        _records.push_back({local.record, local.seen->row, hashOf(local.place)});
}

StandingRecords::Rest StandingRecords::restOf(const SyncRecordList& given,
                                              const StorePlaces& places) const
{
    Rest rest{{}, _other};
    std::vector<bool> isBack(_records.size());
    for (const SyncRecord& record : given) {
        const auto found = record ? _numbers.find(record.get()) : std::nullopt;
        const bool stands =
            found && !isBack[*found] && _records[*found].place == hashOf(places.of(*record));
        if (stands)
            isBack[*found] = true;
        else
            rest.records.push_back(record);
    }
    for (std::size_t number = 0; number < _records.size(); ++number) {
        if (!isBack[number])
            rest.knowledge.seen.push_back(_records[number].seenRow);
    }
    return rest;
}

}  // namespace kt
