#include "Sync/Host/Engine/RecordMerge.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

#include "Sync/Host/Engine/HostEnhancedDate.h"
#include "Sync/Host/Engine/RecordFields.h"

namespace kt {

namespace {

std::int64_t sequenceOf(const Dictionary& record)
{
    const Value& sequence = record["Sequence"];
    if (!sequence.isString() && !sequence.isNumber())
        return std::numeric_limits<std::int64_t>::min();
    return sequence.longLongValue();
}

std::optional<Date> dateStampOf(const Dictionary& record)
{
    const auto stamp = record["DateStamp"].objectOfClass<KTSyncEnhancedDate>();
    return stamp ? std::optional(instantOf(*stamp)) : std::nullopt;
}

bool contains(const std::vector<std::string>& units, const std::string& unit)
{
    return std::find(units.begin(), units.end(), unit) != units.end();
}

// Whether the sides contradict each other nowhere in the unit, so that all fields of both can stand
// together. An end and a duration are two ways to say one thing, and never do.
bool canBeJoined(const Dictionary& local, const Dictionary& server, std::string_view unit)
{
    const auto fields = fieldsOfUnit(unit);
    const bool contradict = std::any_of(fields.begin(), fields.end(), [&](std::string_view field) {
        return local.contains(field) && server.contains(field) && local[field] != server[field];
    });
    const bool hasEnd = local.contains("EndDate") || server.contains("EndDate");
    const bool hasDuration = local.contains("Duration") || server.contains("Duration");
    return !contradict && !(unit == "StartDate" && hasEnd && hasDuration);
}

void addMissingFields(Dictionary& target, const Dictionary& source, std::string_view unit)
{
    for (const std::string_view field : fieldsOfUnit(unit)) {
        if (!target.contains(field))
            target.setIfPresent(field, source[field]);
    }
}

bool isSameUnit(const Dictionary& left, const Dictionary& right, std::string_view unit)
{
    const auto fields = fieldsOfUnit(unit);
    return std::all_of(fields.begin(), fields.end(),
                       [&](std::string_view field) { return left[field] == right[field]; });
}

}  // namespace

MergeSide winnerOfConflict(const Dictionary& local, const Dictionary& server)
{
    const std::int64_t localSequence = sequenceOf(local);
    const std::int64_t serverSequence = sequenceOf(server);
    if (localSequence != serverSequence)
        return localSequence > serverSequence ? MergeSide::local : MergeSide::server;
    return dateStampOf(local) > dateStampOf(server) ? MergeSide::local : MergeSide::server;
}

bool isEarlier(const Dictionary& one, const Dictionary& other)
{
    const bool haveSequences = one.contains("Sequence") && other.contains("Sequence");
    if (haveSequences && sequenceOf(one) != sequenceOf(other))
        return sequenceOf(one) < sequenceOf(other);
    const auto stamp = dateStampOf(one);
    const auto otherStamp = dateStampOf(other);
    return stamp && otherStamp && *stamp < *otherStamp;
}

Dictionary mergedOntoAgreed(const Dictionary& agreed, const LocalChange& local,
                            const Dictionary& server)
{
    Dictionary merged = server;
    if (local.units.empty())
        return merged;
    const std::vector<std::string> serverUnits = changedUnits(agreed, server);
    const MergeSide winner =
        serverUnits.empty() ? MergeSide::local : winnerOfConflict(local.record, server);
    for (const std::string& unit : local.units) {
        const bool isConflict =
            contains(serverUnits, unit) && !isSameUnit(local.record, server, unit);
        if (!isConflict || winner == MergeSide::local)
            takeUnit(merged, local.record, unit);
    }
    if (winner == MergeSide::local)
        takePassiveFields(merged, local.record);
    return merged;
}

Dictionary mergedWithoutBase(const Dictionary& local, const Dictionary& server)
{
    const std::vector<std::string> differing = changedUnits(server, local);
    Dictionary merged = server;
    if (differing.empty())
        return merged;
    const MergeSide winner = winnerOfConflict(local, server);
    for (const std::string& unit : differing) {
        if (canBeJoined(local, server, unit))
            addMissingFields(merged, local, unit);
        else if (winner == MergeSide::local)
            takeUnit(merged, local, unit);
    }
    if (winner == MergeSide::local)
        takePassiveFields(merged, local);
    return merged;
}

Dictionary mergedAsNew(const Dictionary& local, const Dictionary& server)
{
    constexpr const char* kNotes = "Notes";
    constexpr std::string_view kLineBreak = "\\n";  // as item texts have it (RFC 5545, 3.3.11)
    Dictionary merged = mergedWithoutBase(local, server);
    if (!local[kNotes].isString() || !server[kNotes].isString())
        return merged;
    const bool isLocalFirst = winnerOfConflict(local, server) == MergeSide::local;
    std::string first(isLocalFirst ? local[kNotes].string() : server[kNotes].string());
    const std::string second(isLocalFirst ? server[kNotes].string() : local[kNotes].string());
    if (first.find(second) != std::string::npos)
        merged.set(kNotes, first);
    else if (second.find(first) != std::string::npos)
        merged.set(kNotes, second);
    else
        merged.set(kNotes, first.append(kLineBreak).append(second));
    return merged;
}

}  // namespace kt
