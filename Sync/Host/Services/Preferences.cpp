#include "Sync/Host/Services/Preferences.h"

#include <utility>

#include "Sync/Additions/KTFileManagerAdditions.h"
#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/PropertyList.h"

namespace kt {

Preferences::Preferences(std::string path, Storage storage)
    : _path(std::move(path)),
      _storage(storage)
{
    if (auto values = dictionaryWithContentsOfFile(_path)) {
        _values = std::move(*values);
        return;
    }
    if (!FileManager::defaultManager().linkStatusAtPath(_path))
        return;
    throw Exception(NSGenericException,
                    stringWithFormat("Die Einstellungen in \"%@\" sind nicht lesbar. Die Datei "
                                     "bleibt, wie sie ist; bitte reparieren oder entfernen.",
                                     _path));
}

Preferences Preferences::copyInMemory() const
{
    Preferences copy = *this;
    copy._storage = Storage::memory;
    return copy;
}

bool Preferences::boolForKey(std::string_view key, bool defaultValue) const
{
    const Value& value = _values[key];
    return value.isNumber() || value.isString() ? value.boolValue() : defaultValue;
}

Value Preferences::objectForKey(std::string_view key, const Value& defaultValue) const
{
    const Value* value = _values.find(key);
    return value == nullptr ? defaultValue : *value;
}

bool Preferences::set(std::string_view key, const Value& value)
{
    if (_values[key] == value)
        return true;
    if (value.isNil())
        _values.remove(key);
    else
        _values.set(key, value);
    if (_storage == Storage::memory)
        return true;
    createPath(stringByDeletingLastPathComponent(_path));
    return writeDictionaryToFile(_values, _path);
}

}  // namespace kt
