#pragma once

#include <string>
#include <string_view>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/Foundation/Value.h"

namespace kt {

/// The preferences of one home: texts to property-list values, in one property-list file that is
/// replaced whole at each change.
class Preferences {
public:
    /// In memory, changes last as long as the object: for everything that works behind the write
    /// guard, and for runs whose changes are not to be kept.
    enum class Storage { file, memory };

    /// Reads the file, if there is one. Throws Exception NSGenericException, with a line for the
    /// user, when it is there and holds no preferences; it is then left as it is.
    Preferences(std::string path, Storage storage);

    /// A copy whose changes are forgotten with it.
    Preferences copyInMemory() const;

    bool contains(std::string_view key) const { return _values.contains(key); }
    /// The default also for a value that is neither number nor text.
    bool boolForKey(std::string_view key, bool defaultValue) const;
    Value objectForKey(std::string_view key, const Value& defaultValue) const;

    /// Stores the value; nil removes the entry. What is there already is not written again. False
    /// when the file could not be written: the value then holds for this process only.
    bool set(std::string_view key, const Value& value);

    const std::string& path() const { return _path; }

private:
    std::string _path;
    Storage _storage;
    Dictionary _values;
};

}  // namespace kt
