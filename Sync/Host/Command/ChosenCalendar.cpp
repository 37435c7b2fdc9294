#include "Sync/Host/Command/ChosenCalendar.h"

#include <algorithm>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Format.h"

namespace kt {

SyncRecord chosenCalendar(const StoreContents& contents, const std::string& key)
{
    for (const SyncRecordList* records : {&contents.active, &contents.switchedOff}) {
        const auto found =
            std::find_if(records->begin(), records->end(), [&](const SyncRecord& record) {
                return record->conduit() == kConduitCalendar && record->recordKey() == key;
            });
        if (found != records->end())
            return *found;
    }
    throw Exception(NSGenericException,
                    stringWithFormat("Es gibt keinen Kalender mit dem Schlüssel \"%@\".", key));
}

void setPreference(Preferences& preferences, std::string_view key, const Value& value)
{
    if (!preferences.set(key, value))
        throw Exception(NSGenericException,
                        stringWithFormat("Die Einstellungen \"%@\" können nicht gesichert werden.",
                                         preferences.path()));
}

Dictionary dictionaryPreference(Preferences& preferences, std::string_view key)
{
    const Value stored = preferences.objectForKey(key, {});
    return stored.isDictionary() ? stored.dictionary() : Dictionary{};
}

}  // namespace kt
