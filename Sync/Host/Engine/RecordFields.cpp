#include "Sync/Host/Engine/RecordFields.h"

#include <algorithm>
#include <array>
#include <initializer_list>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/KeyedArchive.h"
#include "Sync/HostInterface/KTSyncEnhancedDate.h"

namespace kt {

namespace {

using Unit = std::vector<std::string_view>;

const std::array<Unit, 4> kUnits{{{"StartDate", "EndDate", "Duration", "AllDay"},
                                  {"RecurrenceRule", "ExceptionDates", "RecurrenceExceptionDates"},
                                  {"DueDate", "CompletedDate", "Completed"},
                                  {"Subscriber", "SubscriberData"}}};

bool isOneOf(std::string_view field, std::initializer_list<std::string_view> names)
{
    return std::find(names.begin(), names.end(), field) != names.end();
}

const Unit* unitWith(std::string_view field)
{
    for (const Unit& unit : kUnits) {
        if (std::find(unit.begin(), unit.end(), field) != unit.end())
            return &unit;
    }
    return nullptr;
}

Dictionary withoutRefreshKeys(Dictionary subscription)
{
    for (const char* name : {"RefreshDate", "LastRefreshDate", "NeedsRefresh", "NeedsForcedUpdate"})
        subscription.remove(name);
    return subscription;
}

struct Zones {
    std::string_view before;
    std::string_view after;
};

bool isSameDate(const KTSyncEnhancedDate& before, const KTSyncEnhancedDate& after,
                const Zones& zones)
{
    if (before.isAllDay() != after.isAllDay() || before.calendarDate() != after.calendarDate())
        return false;
    if (before.isAllDay() || before.timezone() == after.timezone())
        return true;
    return before.timezone() == zones.before && after.timezone() == zones.after;
}

bool isSame(const Value& before, const Value& after, const Zones& zones);

bool isSameArray(const Array& before, const Array& after, const Zones& zones)
{
    return std::equal(before.begin(), before.end(), after.begin(), after.end(),
                      [&](const Value& left, const Value& right) {
                          return isSame(left, right, zones);
                      });
}

bool isSameDictionary(const Dictionary& before, const Dictionary& after, const Zones& zones)
{
    return before.size() == after.size() &&
           std::all_of(before.begin(), before.end(), [&](const auto& entry) {
               const Value* other = after.find(entry.first);
               return other != nullptr && isSame(entry.second, *other, zones);
           });
}

bool isSame(const Value& before, const Value& after, const Zones& zones)
{
    if (before.isArray() && after.isArray())
        return isSameArray(before.array(), after.array(), zones);
    if (before.isDictionary() && after.isDictionary())
        return isSameDictionary(before.dictionary(), after.dictionary(), zones);
    const auto dateBefore = before.objectOfClass<KTSyncEnhancedDate>();
    const auto dateAfter = after.objectOfClass<KTSyncEnhancedDate>();
    if (dateBefore && dateAfter)
        return isSameDate(*dateBefore, *dateAfter, zones);
    return before == after;
}

bool isSameField(std::string_view field, const Value& before, const Value& after,
                 const Zones& zones)
{
    if (isSame(before, after, zones))
        return true;
    return isSubscription(field) && !before.isNil() && !after.isNil() &&
           isSame(withoutRefreshTraces(before), withoutRefreshTraces(after), zones);
}

void addChanges(std::vector<std::string>& units, const Dictionary& from, const Dictionary& to,
                const Zones& zones, bool onlyAbsent)
{
    for (const auto& [field, value] : from) {
        const Value* other = to.find(field);
        if (isPassiveField(field) || (onlyAbsent && other != nullptr))
            continue;
        if (other != nullptr && isSameField(field, value, *other, zones))
            continue;
        const std::string_view unit = unitOfField(field);
        if (std::find(units.begin(), units.end(), unit) == units.end())
            units.emplace_back(unit);
    }
}

}  // namespace

std::string_view unitOfField(std::string_view field)
{
    const Unit* unit = unitWith(field);
    return unit == nullptr ? field : unit->front();
}

std::vector<std::string_view> fieldsOfUnit(std::string_view unit)
{
    const Unit* fields = unitWith(unit);
    return fields == nullptr ? Unit{unit} : *fields;
}

bool isPassiveField(std::string_view field) { return isOneOf(field, {"Timezone", "DateStamp"}); }

bool isKeyOfAnotherRecord(std::string_view field)
{
    return isOneOf(field,
                   {"ParentRecordKey", "RecurrenceParentRecordKey", "RecurrenceExceptionDates"});
}

bool isKeptByEveryLayout(std::string_view field)
{
    return isOneOf(field, {"Title", "Notes", "URL", "Location", "StartDate", "EndDate", "Duration",
                           "DueDate", "CompletedDate", "Priority", "RecurrenceId", "Sequence"});
}

bool isSubscription(std::string_view field)
{
    return isOneOf(field, {"Subscriber", "SubscriberData"});
}

Value withoutRefreshTraces(const Value& subscription)
{
    if (subscription.isDictionary())
        return withoutRefreshKeys(subscription.dictionary());
    if (!subscription.isData())
        return subscription;
    try {
        bool hasLeftOut = false;
        const auto root = unarchiveObjectWithData(subscription.data().bytes, &hasLeftOut);
        if (!hasLeftOut && root && root->isDictionary())
            return withoutRefreshKeys(root->dictionary());
    } catch (const Exception&) {
        // Bytes that are no archive are compared as they are.
    }
    // So are those of which not everything can be compared.
    return subscription;
}

std::vector<std::string> changedUnits(const RecordReading& before, const RecordReading& after)
{
    std::vector<std::string> units;
    const Zones zones{before.timezone, after.timezone};
    addChanges(units, before.record, after.record, zones, false);
    addChanges(units, after.record, before.record, {zones.after, zones.before}, true);
    return units;
}

std::vector<std::string> changedUnits(const Dictionary& before, const Dictionary& after)
{
    // No zone has an empty name, so none counts as a machine's own.
    return changedUnits(RecordReading{before, ""}, RecordReading{after, ""});
}

bool hasUnit(const Dictionary& record, std::string_view unit)
{
    const auto fields = fieldsOfUnit(unit);
    return std::any_of(fields.begin(), fields.end(),
                       [&](std::string_view field) { return record.contains(field); });
}

void takeUnit(Dictionary& target, const Dictionary& source, std::string_view unit)
{
    for (const std::string_view field : fieldsOfUnit(unit)) {
        if (const Value* value = source.find(field))
            target.set(field, *value);
        else
            target.remove(field);
    }
}

const std::string* otherKey(const Dictionary& record, std::string_view field,
                            const std::unordered_map<std::string, std::string>& keys)
{
    const Value& key = record[field];
    if (!key.isString())
        return nullptr;
    const auto found = keys.find(std::string(key.string()));
    return found != keys.end() && found->second != key.string() ? &found->second : nullptr;
}

void replaceKey(Dictionary& record, std::string_view field,
                const std::unordered_map<std::string, std::string>& keys)
{
    if (const std::string* other = otherKey(record, field, keys))
        record.set(field, *other);
}

void takePassiveFields(Dictionary& target, const Dictionary& source)
{
    for (const auto& [field, value] : source) {
        if (isPassiveField(field))
            target.set(field, value);
    }
}

}  // namespace kt
