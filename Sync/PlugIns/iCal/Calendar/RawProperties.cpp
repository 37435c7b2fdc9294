#include "Sync/PlugIns/iCal/Calendar/RawProperties.h"

#include <algorithm>

namespace kt {

static_assert(PropertyName::kNumbers <= 32, "a bit for each number");

RawProperties::RawProperties(std::initializer_list<Entry> entries)
{
    for (const auto& [key, value] : entries)
        set(key, value);
}

RawProperties::RawProperties(const Dictionary& dictionary)
{
    for (const auto& [key, value] : dictionary)
        set(key, value);
}

RawProperties::operator Dictionary() const
{
    Dictionary dictionary;
    for (const RawProperty& property : _properties)
        dictionary.set(property.key, property.value());
    return dictionary;
}

void RawProperties::set(std::string_view key, const Value& value)
{
    const auto [place, isNew] = enter(key, std::min(key.find(';'), key.size()));
    _properties[place].setValue(value);
}

Value RawProperties::valueNamed(const PropertyName& name) const
{
    const std::size_t place =
        name.isNumbered() ? placeOfBare(name) : _places.find(name.text(), _properties);
    return place < _properties.size() ? _properties[place].value() : Value();
}

}  // namespace kt
