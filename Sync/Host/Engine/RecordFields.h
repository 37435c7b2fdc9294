#pragma once

#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "Sync/Foundation/Dictionary.h"

namespace kt {

// What the fields of a record mean to a comparison.

/// Fields that go together. A start without its end, or a rule without its exceptions, is no state
/// that anybody wanted, so each of these groups is compared and taken as one; it is named after its
/// first field.
///
///     StartDate, EndDate, Duration, AllDay
///     RecurrenceRule, ExceptionDates, RecurrenceExceptionDates
///     DueDate, CompletedDate, Completed
///     Subscriber, SubscriberData
///
/// Any other field is a unit of its own.
std::string_view unitOfField(std::string_view field);
/// All fields of a unit.
std::vector<std::string_view> fieldsOfUnit(std::string_view unit);

/// No change by themselves: they are different each time a store is read or touched.
bool isPassiveField(std::string_view field);
/// A field that holds the key of another record, or follows from other records.
bool isKeyOfAnotherRecord(std::string_view field);
/// Texts and dates of an item that both layouts write and read back unchanged.
bool isKeptByEveryLayout(std::string_view field);
/// Subscriber or SubscriberData.
bool isSubscription(std::string_view field);
/// Subscriber or SubscriberData without what a refresh leaves in it (a keyed archive is looked
/// into).
Value withoutRefreshTraces(const Value& subscription);

/// A record together with the zone that was the machine's own when the record was read.
struct RecordReading {
    const Dictionary& record;
    std::string_view timezone;
};

/// The units in which two readings of a record differ, in a stable order. No change by themselves:
/// passive fields, the traces of a subscription's refresh, the zone of an all-day date, and a zone
/// that was the machine's own both times (a floating time takes the zone of wherever it is read).
std::vector<std::string> changedUnits(const RecordReading& before, const RecordReading& after);
/// The same without zones of machines: what a server's record changed.
std::vector<std::string> changedUnits(const Dictionary& before, const Dictionary& after);

/// Whether any field of the unit is there.
bool hasUnit(const Dictionary& record, std::string_view unit);
/// Makes the unit in `target` what it is in `source`.
void takeUnit(Dictionary& target, const Dictionary& source, std::string_view unit);
/// What `keys` has in place of the key of another record that the field holds; null when it is
/// that key, and when nothing is there.
const std::string* otherKey(const Dictionary& record, std::string_view field,
                            const std::unordered_map<std::string, std::string>& keys);
/// Puts it in its place, if there is one.
void replaceKey(Dictionary& record, std::string_view field,
                const std::unordered_map<std::string, std::string>& keys);
/// Makes the passive fields in `target` what they are in `source`, as far as `source` has them.
void takePassiveFields(Dictionary& target, const Dictionary& source);

}  // namespace kt
