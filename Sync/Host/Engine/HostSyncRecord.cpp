#include "Sync/Host/Engine/HostSyncRecord.h"

#include <algorithm>
#include <initializer_list>
#include <memory>
#include <string_view>
#include <utility>

#include "Sync/Host/Engine/HostRecordKinds.h"

namespace kt {

namespace {

bool hasTexts(const Dictionary& record, std::initializer_list<std::string_view> names)
{
    return std::all_of(names.begin(), names.end(),
                       [&](std::string_view name) { return record[name].isString(); });
}

}  // namespace

HostSyncRecord::HostSyncRecord(int recordType, RecordContent record, std::string key,
                               std::optional<std::string> parentKey, std::string conduit)
    : _recordType(recordType),
      _record(std::move(record)),
      _key(std::move(key)),
      _parentKey(std::move(parentKey)),
      _conduit(std::move(conduit))
{}

std::string HostSyncRecord::description() const
{
    return _conduit + ' ' + _key + ' ' + record().description();
}

bool isGroup(const Dictionary& calendar)
{
    const Value& type = calendar["Type"];
    return type.isString() && type.string() == "CalendarGroup";
}

bool isAcceptableRecord(const Dictionary& record, const std::optional<std::string>& key,
                        const std::string& conduit)
{
    if (!key || key->empty() || conduit.empty())
        return false;
    const bool isCalendar = conduit == kConduitCalendar;
    const bool isComplete = isCalendar ? hasTexts(record, {"Title", "Color", "Notes", "Type"}) &&
                                             (isGroup(record) || hasTexts(record, {"SourceKey"}))
                                       : hasTexts(record, {"Title", "ParentRecordKey"});
    return isComplete && areFieldsOfRightKinds(record, conduit);
}

SyncRecord HostSyncRecordClass::syncRecordWithRecordType(
    int recordType, Dictionary record, const std::optional<std::string>& key,
    const std::optional<std::string>& parentKey, const std::string& conduit) const
{
    if (!isAcceptableRecord(record, key, conduit))
        return nullptr;
    return std::make_shared<HostSyncRecord>(recordType, std::move(record), *key, parentKey,
                                            conduit);
}

}  // namespace kt
