#pragma once

#include <nlohmann/json_fwd.hpp>

#include "Sync/Host/Command/Output.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

/// {"conduit", "key", "parentKey", "record"}; without a parent, null.
Json jsonForRecord(const KTSyncRecord& record);

/// Texts, numbers, booleans, arrays and dictionaries as such; a date with a zone as {"iCalDate",
/// "timezone", "allDay"}, an instant as {"date": "2007-12-24T09:00:00Z"}, bytes as {"data":
/// base64}, any other object as its description, nil as null.
Json jsonForValue(const Value& value);

}  // namespace kt
