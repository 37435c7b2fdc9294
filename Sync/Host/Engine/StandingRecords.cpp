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
    if (_numbers.try_emplace(local.record.get(), _records.size()).second)
        _records.push_back({local.record, local.seen->row, hashOf(local.place)});
}

StandingRecords::Rest StandingRecords::restOf(const SyncRecordList& given,
                                              const StorePlaces& places) const
{
    Rest rest{{}, _other};
    std::vector<bool> isBack(_records.size());
    for (const SyncRecord& record : given) {
        const auto found = _numbers.find(record.get());
        const bool stands = record && found != _numbers.end() && !isBack[found->second] &&
                            _records[found->second].place == hashOf(places.of(*record));
        if (stands)
            isBack[found->second] = true;
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
