#include <algorithm>
#include <map>
#include <set>

#include "Sync/Host/Engine/Comparison.h"
#include "Sync/Host/Engine/RecordFields.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

namespace {

constexpr const char* kOrder = "Order";
constexpr const char* kParent = "ParentRecordKey";

}  // namespace

bool Comparison::isOnlyRenumbered(const std::vector<std::string>& units)
{
    return units.size() == 1 && units.front() == kOrder;
}

bool Comparison::isOnlyRenumbered(const AgreedRow& agreed, const RemoteChange& remote)
{
    return agreed.id.conduit == kConduitCalendar &&
           isOnlyRenumbered(changedUnits(_state.agreedRecord(agreed.id), remote.record));
}

// A calendar's number says nothing but which calendars of its group it comes before and behind, and
// a store may count them anew in every group, whatever numbers it was given. One such number among
// those of another store would put the calendar anywhere. So where this device added, moved or
// reordered a calendar, the whole group goes up with the numbers that this store has.
void Comparison::keepSequences()
{
    if (!_rules.hasBase || _rules.isHealing)
        return;
    std::map<std::string, std::vector<const LocalRecord*>> groups;
    std::set<std::string> reordered;
    for (const LocalRecord& local : _local.all()) {
        if (local.isLeftOver || local.agreedId.conduit != kConduitCalendar)
            continue;
        const std::string group = groupOf(local);
        groups[group].push_back(&local);
        if (hasNewPlace(local))
            reordered.insert(group);
    }
    for (const std::string& group : reordered) {
        for (const LocalRecord* local : groups.at(group))
            takeNumber(*local);
    }
}

// Empty for a calendar at the top, which in one of the layouts is its own parent.
std::string Comparison::groupOf(const LocalRecord& local) const
{
    const Dictionary record = _local.underAgreedKeys(local);
    const Value& parent = record[kParent];
    return parent.isString() && parent.string() != local.agreedId.key ? std::string(parent.string())
                                                                      : std::string();
}

bool Comparison::hasNewPlace(const LocalRecord& local)
{
    if (local.seen == nullptr)
        return true;
    if (local.seen->hash == local.hash)
        return false;
    const auto changes = changesSinceSeen(local);
    return std::any_of(changes.begin(), changes.end(),
                       [](const std::string& unit) { return unit == kOrder || unit == kParent; });
}

void Comparison::takeNumber(const LocalRecord& local)
{
    const Value& number = local.record->record()[kOrder];
    const RemoteChange* remote = _remote.change(local.agreedId);
    const bool isAgreed = _knowledge.agreedRow(local.agreedId) != nullptr;
    const auto found = _outcomes.find(local.agreedId);
    if (found == _outcomes.end()) {
        // What was not taken from the server comes again, and so will the question.
        if (!isAgreed || remote != nullptr)
            return;
        Dictionary record = _state.agreedRecord(local.agreedId);
        if (record[kOrder] == number)
            return;
        record.set(kOrder, number);
        Outcome& outcome = take(local.agreedId, std::move(record));
        outcome.goesUp = true;
        return;
    }
    Outcome& outcome = found->second;
    if (outcome.kind != Outcome::Kind::take || outcome.record[kOrder] == number)
        return;
    if (remote != nullptr && remote->isRefused)
        return;
    // A number that the server has otherwise than agreed is somebody else's change.
    if (remote != nullptr &&
        (!isAgreed || remote->record[kOrder] != _state.agreedRecord(local.agreedId)[kOrder]))
        return;
    outcome.record.set(kOrder, number);
    outcome.goesUp = true;
}

}  // namespace kt
