#include "Sync/PlugIns/iCal/Calendar/KTSyncRecurrenceRule.h"

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Text.h"
#include "Sync/HostInterface/Guard.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"

namespace kt {

namespace {

constexpr std::string_view kLineFormat = "RRULE:%@\r\n";
constexpr std::string_view kInitWithSyncRecord =
    "[KTSyncRecurrenceRule initWithSyncRecord]:\n%@\n%@";

}  // namespace

/// In the order in which they are written. The order of reading differs in one place that matters:
/// BYMONTHDAY begins with BYMONTH, so the longest name that fits is taken.
const std::array<KTSyncRecurrenceRule::List, 10>& KTSyncRecurrenceRule::lists()
{
    using Rule = KTSyncRecurrenceRule;
    static const std::array<List, 10> kLists{{
        {"BYSECOND", "BySeconds", &Rule::_byseclist},
        {"BYMINUTE", "ByMinutes", &Rule::_byminlist},
        {"BYHOUR", "ByHours", &Rule::_byhrlist},
        {"BYYEARDAY", "ByYearDay", &Rule::_byyrdaylist},
        {"BYWEEKNO", "ByWeekNumber", &Rule::_bywknolist},
        {"BYMONTH", "ByMonth", &Rule::_bymolist},
        {"BYMONTHDAY", "ByMonthDay", &Rule::_bymodaylist},
        {"BYSETPOS", "BySP", &Rule::_bysplist},
        {"BYDAY", "ByWeekday", &Rule::_bywdaylist, true},
        {"WKST", "WeekStart", &Rule::_wkst, true},
    }};
    return kLists;
}

std::shared_ptr<const KTSyncRecurrenceRule>
KTSyncRecurrenceRule::recurrenceRuleWithRecurrenceString(const Value& recurrenceString,
                                                         KTFileLogger* fileLogger)
{
    if (recurrenceString.isNil())
        return nullptr;
    return std::make_shared<const KTSyncRecurrenceRule>(recurrenceString, fileLogger);
}

std::shared_ptr<const KTSyncRecurrenceRule> KTSyncRecurrenceRule::recurrenceRuleWithSyncRecord(
    const Value& syncRecord, KTFileLogger* fileLogger)
{
    if (syncRecord.isNil())
        return nullptr;
    const auto& record = guarded(
        fileLogger, kInitWithSyncRecord, [&] { return syncRecord.description(); },
        [&]() -> const Dictionary& { return syncRecord.dictionary(); });
    return std::make_shared<const KTSyncRecurrenceRule>(record, fileLogger);
}

KTSyncRecurrenceRule::KTSyncRecurrenceRule(const Value& recurrenceString, KTFileLogger* fileLogger)
    : _fileLogger(fileLogger)
{
    guarded(
        fileLogger, "[KTSyncRecurrenceRule initWithRecurrenceString]:\n%@\n%@",
        [&] { return recurrenceString.description(); },
        [&] {
            for (std::string_view part :
                 componentsSeparatedByString(recurrenceString.string(), ";"))
                readPart(part);
        });
}

KTSyncRecurrenceRule::KTSyncRecurrenceRule(const Dictionary& syncRecord, KTFileLogger* fileLogger)
    : _fileLogger(fileLogger)
{
    guarded(
        fileLogger, kInitWithSyncRecord, [&] { return syncRecord.description(); },
        [&] {
            _freq = syncRecord["Frequency"];
            if (const Value* interval = syncRecord.find("Interval"))
                _interval = interval->intValue();
            if (const Value* count = syncRecord.find("Count"))
                _count = count->intValue();
            _untilDate = syncRecord["UntilDate"];
            for (const List& list : lists())
                this->*list.field = syncRecord[list.recordKey];
        });
}

void KTSyncRecurrenceRule::readPart(std::string_view part)
{
    const Value value = valueForProperty(part);
    if (part.starts_with("FREQ"))
        _freq = value;
    else if (part.starts_with("UNTIL"))
        readUntilDate(value);
    else if (part.starts_with("COUNT"))
        _count = parseInt(value);
    else if (part.starts_with("INTERVAL"))
        _interval = parseInt(value);
    else
        readList(part, value);
}

void KTSyncRecurrenceRule::readUntilDate(const Value& text)
{
    _untilDate = KTSyncCalendarTools::parseICalDate(text, "Etc/UTC", _fileLogger);
    if (_untilDate.isNil() && !text.isNil())
        reportLoss(KTLoss::Kind::thinned, stringWithFormat("UNTIL: '%@' ist kein Datum", text));
}

void KTSyncRecurrenceRule::readList(std::string_view part, const Value& value)
{
    const List* longest = nullptr;
    for (const List& list : lists()) {
        if (part.starts_with(list.part) &&
            (longest == nullptr || longest->part.size() < list.part.size()))
            longest = &list;
    }
    if (longest != nullptr)
        this->*longest->field = longest->ofWeekdays ? parseWeekdayList(value) : parseIntList(value);
}

Dictionary KTSyncRecurrenceRule::syncRecord() const
{
    return guarded(_fileLogger, "[KTSyncRecurrenceRule syncRecord]:\n%@", [&] {
        Dictionary record;
        record.set("Frequency", _freq);
        record.set("Interval", _interval);
        record.setIfPresent("UntilDate", _untilDate);
        if (_count > 0)
            record.set("Count", _count);
        for (const List& list : lists())
            record.setIfPresent(list.recordKey, this->*list.field);
        return record;
    });
}

std::string KTSyncRecurrenceRule::recurrenceRule() const
{
    std::string rule;
    return guarded(
        _fileLogger, "[KTSyncRecurrenceRule recurrenceRule]:\n%@\n%@", [&] { return rule; },
        [&] {
            rule += stringWithFormat("FREQ=%@", _freq);
            if (_count >= 1)
                rule += stringWithFormat(";COUNT=%d", _count);
            else if (!_untilDate.isNil())
                rule += stringWithFormat(";UNTIL=%@",
                                         KTSyncCalendarTools::enhancedDate(_untilDate)->utcDate());
            if (_interval > 0)
                rule += stringWithFormat(";INTERVAL=%d", _interval);
            for (const List& list : lists()) {
                const Value& value = this->*list.field;
                if (value.isNil())
                    continue;
                rule += stringWithFormat(";%@=%@", list.part,
                                         list.ofWeekdays ? weekdayListToString(value)
                                                         : intListToString(value));
            }
            return rule;
        });
}

std::string KTSyncRecurrenceRule::iCalLines() const
{
    return KTSyncCalendarTools::propertyLine(_fileLogger, kLineFormat, recurrenceRule());
}

std::string KTSyncRecurrenceRule::digestedLines() const
{
    return KTSyncCalendarTools::splitLine(KTSyncCalendarTools::onOneLine(
                                              stringWithFormat(kLineFormat, recurrenceRule())),
                                          _fileLogger);
}

}  // namespace kt
