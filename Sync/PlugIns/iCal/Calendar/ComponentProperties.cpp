#include "Sync/PlugIns/iCal/Calendar/ComponentProperties.h"

#include <utility>

#include "Sync/Foundation/KeySearch.h"

namespace kt {

namespace {

constexpr std::size_t kHandful = 24;    // most components have a dozen
constexpr std::size_t kFirstRoom = 16;  // spares the growing of most lists

/// One of 64 bits, by length and first and last character: the names of properties differ in these.
std::uint64_t bitOfKind(std::string_view key)
{
    if (key.empty())
        return 1;
    const auto first = static_cast<unsigned char>(key.front());
    const auto last = static_cast<unsigned char>(key.back());
    return std::uint64_t{1} << ((key.size() * 7 + first + last * 3U) % 64);
}

}  // namespace

ComponentProperties::ComponentProperties(std::initializer_list<Entry> entries)
{
    for (const Entry& entry : entries)
        set(entry.key, entry.value);
}

ComponentProperties::ComponentProperties(const Dictionary& dictionary)
{
    for (const auto& [key, value] : dictionary)
        set(key, value);
}

ComponentProperties::operator Dictionary() const
{
    Dictionary dictionary;
    for (const Entry& entry : _entries)
        dictionary.setIfPresent(entry.key, entry.value);
    return dictionary;
}

std::size_t ComponentProperties::enter(std::string_view key)
{
    const std::size_t place = find(key);
    if (place == _entries.size())
        add(key, Value());
    return place;
}

void ComponentProperties::add(std::string_view key, Value value)
{
    if (_entries.empty())
        _entries.reserve(kFirstRoom);
    _entries.push_back(Entry{key, std::move(value)});
    _kinds |= bitOfKind(key);
    if (_index)
        _index->emplace(key, _entries.size() - 1);
    else if (_entries.size() > kHandful)
        makeIndex();
}

void ComponentProperties::set(std::string_view key, Value value)
{
    if (value.isNil())
        Dictionary().set(key, value);  // throws as dictionaries do
    const std::size_t place = find(key);
    if (place == _entries.size())
        add(key, std::move(value));
    else
        _entries[place].value = std::move(value);
}

Value ComponentProperties::take(std::string_view key)
{
    const std::size_t place = find(key);
    return place < _entries.size() ? std::exchange(_entries[place].value, Value()) : Value();
}

const Value& ComponentProperties::operator[](std::string_view key) const
{
    static const Value kNil;
    const std::size_t place = find(key);
    return place < _entries.size() ? _entries[place].value : kNil;
}

std::size_t ComponentProperties::find(std::string_view key) const
{
    if ((_kinds & bitOfKind(key)) == 0)
        return _entries.size();
    if (_index) {
        const auto found = _index->find(key);
        return found == _index->end() ? _entries.size() : found->second;
    }
    return positionOfKey(_entries, key, [](const Entry& entry) { return entry.key; });
}

void ComponentProperties::makeIndex()
{
    _index = std::make_unique<Index>();
    for (std::size_t place = 0; place < _entries.size(); ++place)
        _index->emplace(_entries[place].key, place);
}

}  // namespace kt
