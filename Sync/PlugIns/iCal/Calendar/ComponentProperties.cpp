#include "Sync/PlugIns/iCal/Calendar/ComponentProperties.h"

namespace kt {

const Value ComponentProperties::kNil;

ComponentProperties::ComponentProperties(std::initializer_list<Entry> entries)
{
    for (const Entry& entry : entries)
        set(entry.key, Value(entry.value));
}

ComponentProperties::operator Dictionary() const
{
    Dictionary dictionary;
    for (const Entry& entry : _entries)
        dictionary.setIfPresent(entry.key, entry.value);
    return dictionary;
}

void ComponentProperties::set(const PropertyName& name, Value&& value)
{
    constexpr std::size_t kFirstRoom = 16;  // spares the growing of most lists
    if (value.isNil())
        Dictionary().set(name.text(), value);  // throws as dictionaries do
    if (Entry* const entry = find(name)) {
        entry->value = std::move(value);
        return;
    }
    if (_entries.empty())
        _entries.reserve(kFirstRoom);
    _entries.emplace_back(name.text(), std::move(value));
    if (name.isNumbered())
        _numbered[name.number()] = static_cast<std::uint32_t>(_entries.size());
    else
        _unnumbered.addLastOf(_entries);
}

Value ComponentProperties::take(const PropertyName& name)
{
    Entry* const entry = find(name);
    return entry == nullptr ? Value() : std::exchange(entry->value, Value());
}

const ComponentProperties::Entry* ComponentProperties::findUnnumbered(
    const PropertyName& name) const
{
    const std::size_t place = _unnumbered.find(name.text(), _entries);
    return place < _entries.size() ? &_entries[place] : nullptr;
}

}  // namespace kt
