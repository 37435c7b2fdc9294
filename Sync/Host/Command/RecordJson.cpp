#include "Sync/Host/Command/RecordJson.h"

#include <nlohmann/json.hpp>

#include "Sync/Additions/Base64.h"
#include "Sync/Foundation/CalendarDate.h"
#include "Sync/HostInterface/KTSyncEnhancedDate.h"

namespace kt {

namespace {

Json jsonForDictionary(const Dictionary& dictionary)
{
    Json object = Json::object();
    // Adding a key to the object would compare it with all before it; those of a dictionary differ.
    auto& members = object.get_ref<Json::object_t&>();
    members.reserve(dictionary.size());
    for (const auto& [key, value] : dictionary)
        members.emplace_back(key, jsonForValue(value));
    return object;
}

Json jsonForArray(const Array& array)
{
    Json list = Json::array();
    for (const Value& element : array)
        list.push_back(jsonForValue(element));
    return list;
}

Json jsonForObject(const Value& value)
{
    const auto date = value.objectOfClass<KTSyncEnhancedDate>();
    if (!date)
        return value.description();
    return {{"iCalDate", date->iCalDate()},
            {"timezone", date->timezone()},
            {"allDay", date->isAllDay()}};
}

}  // namespace

Json jsonForValue(const Value& value)
{
    switch (value.kind()) {
    case Value::Kind::nil:
        return nullptr;
    case Value::Kind::boolean:
        return value.boolValue();
    case Value::Kind::integer:
        return value.longLongValue();
    case Value::Kind::real:
        return value.doubleValue();
    case Value::Kind::string:
        return value.string();
    case Value::Kind::data:
        return {{"data", base64encoded(value.data().bytes)}};
    case Value::Kind::date:
        return {{"date", iso8601(value.date())}};
    case Value::Kind::array:
        return jsonForArray(value.array());
    case Value::Kind::dictionary:
        return jsonForDictionary(value.dictionary());
    case Value::Kind::object:
        return jsonForObject(value);
    }
    return nullptr;
}

Json jsonForRecord(const KTSyncRecord& record)
{
    Json parentKey;
    if (record.recordParentKey())
        parentKey = *record.recordParentKey();
    return {{"conduit", record.conduit()},
            {"key", record.recordKey()},
            {"parentKey", std::move(parentKey)},
            {"record", jsonForDictionary(record.record())}};
}

}  // namespace kt
