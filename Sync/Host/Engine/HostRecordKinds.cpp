#include "Sync/Host/Engine/HostRecordKinds.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <span>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/KeySearch.h"
#include "Sync/Foundation/KeyedArchive.h"
#include "Sync/HostInterface/KTSyncEnhancedDate.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

namespace {

using Check = bool (*)(const Value&);

struct Field {
    std::string_view name;
    Check isRight;
};

// A calendar's file is a property list of limited depth, and these settings stand inside it.
constexpr int kDeepestSettings = 32;

bool isText(const Value& value) { return value.isString(); }
bool isData(const Value& value) { return value.isData(); }
bool isDictionary(const Value& value) { return value.isDictionary(); }
bool isList(const Value& value) { return value.isArray(); }
// A text counts by the number it begins with.
bool isNumber(const Value& value) { return value.isNumber() || value.isString(); }
bool isDate(const Value& value) { return value.objectOfClass<KTSyncEnhancedDate>() != nullptr; }

bool isListOf(Check isRight, const Value& value)
{
    return value.isArray() && std::all_of(value.array().begin(), value.array().end(), isRight);
}

bool isAbsentOr(Check isRight, const Value& value) { return value.isNil() || isRight(value); }

/// Fields that are absent are right. Goes by the entries, since most records have few of the
/// fields.
bool areRight(const Dictionary& dictionary, std::span<const Field> fields)
{
    return std::all_of(dictionary.begin(), dictionary.end(), [&](const auto& entry) {
        const std::size_t place =
            positionOfKey(fields, entry.first, [](const Field& field) { return field.name; });
        return place == fields.size() || fields[place].isRight(entry.second);
    });
}

bool isPropertyList(const Value& value, int depth = 0)
{
    if (value.isArray() || value.isDictionary()) {
        if (depth == kDeepestSettings)
            return false;
        const auto isRight = [&](const Value& element) {
            return isPropertyList(element, depth + 1);
        };
        if (value.isArray())
            return std::all_of(value.array().begin(), value.array().end(), isRight);
        const Dictionary& entries = value.dictionary();
        return std::all_of(entries.begin(), entries.end(),
                           [&](const auto& entry) { return isRight(entry.second); });
    }
    return value.kind() != Value::Kind::object;
}

bool isSetting(const Value& value) { return isPropertyList(value); }
bool isSettings(const Value& value) { return value.isDictionary() && isPropertyList(value); }

// Older records hold the settings as the only element of an array.
bool isPublisher(const Value& value)
{
    if (!value.isArray())
        return isSettings(value);
    return value.array().empty() || isSettings(value.array().front());
}

// One layout writes these settings among the calendar's own fields, which they must not replace.
bool holdsCalendarsOwnFields(const Dictionary& subscriber)
{
    constexpr std::array<std::string_view, 11> kOwn{"Key",       "Color",          "Order",
                                                    "Title",     "Checked",        "Expanded",
                                                    "Notes",     "AlarmsDisabled", "Type",
                                                    "Calendars", "Publication"};
    return std::any_of(kOwn.begin(), kOwn.end(),
                       [&](std::string_view name) { return subscriber.contains(name); });
}

bool isSubscriber(const Value& value)
{
    constexpr std::array<Field, 3> kFields{
        {{"SubscriptionURL", isText}, {"AlarmFilter", isNumber}, {"TaskFilter", isNumber}}};
    if (value.isData())
        return true;
    return isSettings(value) && areRight(value.dictionary(), kFields) &&
           !holdsCalendarsOwnFields(value.dictionary());
}

// A subscription without an address in its settings has it in the archive, which is then looked
// into. Bytes that are no archive say nothing; an archive that contradicts itself, or holds
// something else than settings, cannot be taken.
bool isArchiveRight(const Dictionary& calendar)
{
    constexpr std::array<Field, 4> kFields{{{"AutoRefresh", isSetting},
                                            {"RefreshInterval", isSetting},
                                            {"LastRefreshDate", isSetting},
                                            {"Filter", isNumber}}};
    const Value& archive = calendar["SubscriberData"];
    const Value& subscriber = calendar["Subscriber"];
    const bool hasAddress =
        subscriber.isDictionary() && subscriber.dictionary().contains("SubscriptionURL");
    if (!archive.isData() || hasAddress)
        return true;
    try {
        const auto settings = unarchiveObjectWithData(archive.data().bytes);
        return !settings || !settings->isDictionary() || areRight(settings->dictionary(), kFields);
    } catch (const Exception&) {
        return false;
    }
}

// The file that an attachment brings along is written where its address says.
bool isAttachment(const Value& value)
{
    if (!value.isDictionary())
        return false;
    const Dictionary& attachment = value.dictionary();
    return !attachment.contains("BinaryData") ||
           (attachment["BinaryData"].isData() && isAbsentOr(isText, attachment["Data"]));
}

bool areAttachments(const Value& value) { return isListOf(isAttachment, value); }
bool isAttachmentOrAddress(const Value& value) { return value.isString() || isAttachment(value); }
bool areDictionaries(const Value& value) { return isListOf(isDictionary, value); }
bool areDates(const Value& value) { return isListOf(isDate, value); }

bool isAlarm(const Value& value)
{
    constexpr std::array<Field, 4> kFields{{{"EmailAddress", isDictionary},
                                            {"Attachment", isAttachmentOrAddress},
                                            {"Attachments", areAttachments},
                                            {"AbsoluteTrigger", isDate}}};
    return value.isDictionary() && areRight(value.dictionary(), kFields);
}

bool areAlarms(const Value& value) { return isListOf(isAlarm, value); }

bool isRecurrenceRule(const Value& value)
{
    constexpr std::array<Field, 11> kFields{{{"Interval", isNumber},
                                             {"Count", isNumber},
                                             {"UntilDate", isDate},
                                             {"BySeconds", isList},
                                             {"ByMinutes", isList},
                                             {"ByHours", isList},
                                             {"ByYearDay", isList},
                                             {"ByWeekNumber", isList},
                                             {"ByMonth", isList},
                                             {"ByMonthDay", isList},
                                             {"BySP", isList}}};
    return value.isDictionary() && areRight(value.dictionary(), kFields);
}

constexpr std::array<Field, 8> kCalendarFields{{{"ParentRecordKey", isText},
                                                {"IMAPFolderKey", isText},
                                                {"Order", isNumber},
                                                {"Publisher", isPublisher},
                                                {"Subscriber", isSubscriber},
                                                {"SubscriberData", isData},
                                                {"SourceKey", isText},
                                                {"AlarmsDisabled", isNumber}}};

constexpr std::array<Field, 16> kItemFields{{{"DateStamp", isDate},
                                             {"StartDate", isDate},
                                             {"EndDate", isDate},
                                             {"DueDate", isDate},
                                             {"CompletedDate", isDate},
                                             {"RecurrenceId", isDate},
                                             {"RecurrenceRule", isRecurrenceRule},
                                             {"ExceptionDates", areDates},
                                             {"RecurrenceExceptionDates", isList},
                                             {"RecurrenceParentRecordKey", isText},
                                             {"Attendees", areDictionaries},
                                             {"Attachment", isAttachmentOrAddress},
                                             {"Attachments", areAttachments},
                                             {"Alarms", areAlarms},
                                             {"AppleSpecialFields", isDictionary},
                                             {"ParentRecordKey", isText}}};

}  // namespace

bool areFieldsOfRightKinds(const Dictionary& record, std::string_view conduit)
{
    if (conduit == kConduitCalendar)
        return areRight(record, kCalendarFields) && isArchiveRight(record);
    return areRight(record, kItemFields);
}

}  // namespace kt
