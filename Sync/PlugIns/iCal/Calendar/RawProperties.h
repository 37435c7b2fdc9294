#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/Foundation/Value.h"
#include "Sync/PlugIns/iCal/Calendar/KeyPlaces.h"
#include "Sync/PlugIns/iCal/Calendar/PropertyName.h"

namespace kt {

/// One property as it stands in the lines of its component: its key verbatim, and its unfolded
/// value, which is a view into the lines wherever one physical line holds it.
class RawProperty {
public:
    RawProperty(std::string_view propertyKey, const PropertyName& name)
        : key(propertyKey),
          _nameLength(static_cast<std::uint32_t>(name.text().size())),
          _number(name.number())
    {}

    std::string_view key;  // all before the first unquoted colon

    /// The key up to its first ";".
    PropertyName name() const { return {key.substr(0, _nameLength), _number}; }
    /// What follows in the key, from its first ";" on.
    std::string_view parameters() const { return key.substr(_nameLength); }

    /// A string, or an array of strings for a key that occurred more than once.
    Value value() const { return _gathered.isNil() ? Value(_text) : _gathered; }
    /// Nullopt for an array.
    std::optional<std::string_view> text() const
    {
        if (_gathered.isNil())
            return _text;
        return _gathered.isString() ? std::optional(_gathered.string()) : std::nullopt;
    }

    /// The view outlives the property.
    void setText(std::string_view text)
    {
        _text = text;
        if (!_gathered.isNil())
            _gathered = Value();
    }
    void setValue(Value value) { _gathered = std::move(value); }

private:
    std::string_view _text;
    Value _gathered;  // what stands in no single line; nil otherwise
    std::uint32_t _nameLength;
    std::uint8_t _number;
};

/// The properties of one component in the order in which their keys came first.
class RawProperties {
public:
    struct Entry {
        std::string_view key;
        Value value;
    };

    RawProperties() = default;
    RawProperties(std::initializer_list<Entry> entries);
    /// The keys stay the dictionary's.
    RawProperties(const Dictionary& dictionary);
    operator Dictionary() const;

    /// The place of that key, entered at the end when there is none, and whether it is new.
    std::pair<std::size_t, bool> enter(std::string_view key, std::size_t nameLength)
    {
        constexpr std::size_t kFirstRoom = 16;  // spares the growing of most lists
        const PropertyName name(key.substr(0, nameLength));
        const bool isBareNumbered = name.isNumbered() && key.size() == nameLength;
        const std::size_t place =
            isBareNumbered ? placeOfBare(name) : _places.find(key, _properties);
        if (place < _properties.size())
            return {place, false};
        if (_properties.empty())
            _properties.reserve(kFirstRoom);
        _properties.emplace_back(key, name);
        if (isBareNumbered)
            _bare[name.number()] = static_cast<std::uint32_t>(_properties.size());
        else
            _places.addLastOf(_properties);
        noteNumber(name);
        return {place, true};
    }
    RawProperty& operator[](std::size_t place) { return _properties[place]; }

    /// The value under a name that stands without parameters; nil when there is none.
    Value valueNamed(const PropertyName& name) const;
    /// Whether one of the numbered names stands under more than one key.
    bool haveNamesOfSeveralKeys() const { return _haveNamesOfSeveralKeys; }

    std::size_t size() const { return _properties.size(); }
    auto begin() const { return _properties.begin(); }
    auto end() const { return _properties.end(); }

private:
    void set(std::string_view key, const Value& value);
    /// size() when there is none.
    std::size_t placeOfBare(const PropertyName& name) const
    {
        const std::uint32_t behind = _bare[name.number()];
        return behind == 0 ? _properties.size() : behind - 1;
    }
    void noteNumber(const PropertyName& name)
    {
        const std::uint32_t bit = std::uint32_t{1} << name.number();
        _haveNamesOfSeveralKeys =
            _haveNamesOfSeveralKeys || (name.isNumbered() && (_numbersSeen & bit) != 0);
        _numbersSeen |= bit;
    }

    std::vector<RawProperty> _properties;
    std::array<std::uint32_t, PropertyName::kNumbers> _bare{};  // numbered names without parameters
    KeyPlaces _places;                                          // all other keys
    std::uint32_t _numbersSeen = 0;                             // a bit for each number
    bool _haveNamesOfSeveralKeys = false;
};

}  // namespace kt
