#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/HostInterface/KTFileLogger.h"

namespace kt {

/// The RRULE of an event or task (RFC 5545, 3.8.5.3). It is carried, never expanded and never
/// checked. Fields that come from a sync record are kept as the raw values that they were.
class KTSyncRecurrenceRule : public Object {
public:
    /// From the text behind "RRULE:". Null for nil. Throws Exception, logged, for anything but a
    /// text.
    static std::shared_ptr<const KTSyncRecurrenceRule> recurrenceRuleWithRecurrenceString(
        const Value& recurrenceString, KTFileLogger* fileLogger);
    /// From the sub-dictionary that syncRecord() gives. Null for nil. Throws Exception, logged, for
    /// anything else.
    static std::shared_ptr<const KTSyncRecurrenceRule> recurrenceRuleWithSyncRecord(
        const Value& syncRecord, KTFileLogger* fileLogger);

    /// initWithRecurrenceString:fileLogger:
    KTSyncRecurrenceRule(const Value& recurrenceString, KTFileLogger* fileLogger);
    /// initWithSyncRecord:fileLogger:
    KTSyncRecurrenceRule(const Dictionary& syncRecord, KTFileLogger* fileLogger);

    /// Throws Exception NSInvalidArgumentException, logged, without a frequency.
    Dictionary syncRecord() const;
    /// The text behind "RRULE:", its parts in one fixed order. Throws Exception, logged, for a list
    /// or an until date of the wrong kind.
    std::string recurrenceRule() const;
    /// The whole folded property line.
    std::string iCalLines() const;
    /// The same line for a digest: nothing is written, so nothing that writing loses is told.
    std::string digestedLines() const;
    /// The same text as recurrenceRule().
    std::string description() const override { return recurrenceRule(); }

    // One operation for each kind of value in a rule.

    /// The text behind the first "=" of a part, or nil without one.
    Value valueForProperty(const Value& part) const;
    /// The leading integer, 0 for none and -1 for what is no text.
    std::int32_t parseInt(const Value& text) const;
    /// One integer for each piece between commas; empty for nil.
    Array parseIntList(const Value& text) const;
    /// Decimal texts with commas between them.
    std::string intListToString(const Value& list) const;
    /// Without its leading digits.
    Value trimWeekday(const Value& text) const;
    /// An array (weekday text, ordinal) for each piece between commas; ordinals are a single digit
    /// 1 to 5 without sign, 0 for none. Stops, logged, at an empty piece.
    Array parseWeekdayList(const Value& text) const;
    /// The reverse; an ordinal of 0 is not written.
    std::string weekdayListToString(const Value& list) const;

private:
    using Field = Value KTSyncRecurrenceRule::*;
    /// One list of a rule: its part in the text, its key in a record, where it is held.
    struct List {
        std::string_view part;
        std::string_view recordKey;
        Field field;
        bool ofWeekdays = false;
    };
    static const std::array<List, 10>& lists();

    void readPart(std::string_view part);
    void readUntilDate(const Value& text);
    void readList(std::string_view part, const Value& value);

    KTFileLogger* _fileLogger;  // not owned, may be null, outlives every component
    Value _untilDate;           // KTSyncEnhancedDate
    Value _freq;                // text
    std::int32_t _count = 0;
    std::int32_t _interval = 1;
    Value _byseclist;  // this and the next seven: arrays of integers
    Value _byminlist;
    Value _byhrlist;
    Value _bymodaylist;
    Value _byyrdaylist;
    Value _bywknolist;
    Value _bymolist;
    Value _bysplist;
    Value _bywdaylist;  // this and the next: arrays of (weekday text, ordinal)
    Value _wkst;
};

}  // namespace kt
