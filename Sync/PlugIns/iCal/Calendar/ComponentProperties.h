#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <utility>
#include <vector>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/Foundation/Value.h"
#include "Sync/PlugIns/iCal/Calendar/KeyPlaces.h"
#include "Sync/PlugIns/iCal/Calendar/PropertyName.h"

namespace kt {

/// The properties of one component on their way from a file's lines into an object, by name: what a
/// Dictionary is, but with keys that are views, mostly into the file's text, which outlives it, and
/// with values that can be taken out.
class ComponentProperties {
public:
    struct Entry {
        Entry(std::string_view entryKey, Value&& entryValue)
            : key(entryKey),
              value(std::move(entryValue))
        {}

        std::string_view key;
        Value value;  // nil once it has been taken
    };

    ComponentProperties() = default;
    ComponentProperties(std::initializer_list<Entry> entries);
    operator Dictionary() const;

    /// Throws Exception NSInvalidArgumentException for nil.
    void set(const PropertyName& name, Value&& value);
    /// Moves the value out; nil when there is none.
    Value take(const PropertyName& name);

    /// The value, or a nil value when the name is absent.
    const Value& operator[](const PropertyName& name) const
    {
        const Entry* const entry = find(name);
        return entry == nullptr ? kNil : entry->value;
    }
    std::size_t size() const { return _entries.size(); }
    auto begin() { return _entries.begin(); }
    auto end() { return _entries.end(); }
    auto begin() const { return _entries.begin(); }
    auto end() const { return _entries.end(); }

private:
    /// Null when the name is absent.
    const Entry* find(const PropertyName& name) const
    {
        if (!name.isNumbered())
            return findUnnumbered(name);
        const std::uint32_t count = _numbered[name.number()];
        return count == 0 ? nullptr : &_entries[count - 1];
    }
    const Entry* findUnnumbered(const PropertyName& name) const;
    Entry* find(const PropertyName& name)
    {
        const Entry* const entry = std::as_const(*this).find(name);
        return entry == nullptr ? nullptr : _entries.data() + (entry - _entries.data());
    }

    static const Value kNil;
    std::vector<Entry> _entries;
    // Of each numbered name, how many entries there are up to its own; 0 when it is absent.
    std::array<std::uint32_t, PropertyName::kNumbers> _numbered{};
    KeyPlaces _unnumbered;
};

}  // namespace kt
