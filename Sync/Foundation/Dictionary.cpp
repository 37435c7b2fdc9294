#include "Sync/Foundation/Dictionary.h"

#include <algorithm>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/KeySearch.h"

namespace kt {

namespace {

constexpr std::size_t kHandful =
    32;  // records and components stay below; up to here a linear look-up is faster

constexpr std::size_t kFirstRoom = 4;  // most dictionaries hold more than one entry

}  // namespace

Dictionary::Dictionary(std::initializer_list<Entry> entries)
{
    _entries.reserve(entries.size());
    for (const Entry& entry : entries)
        set(entry.first, entry.second);
}

Dictionary::Dictionary(const Dictionary& other)
    : _entries(other._entries),
      _index(other._index ? std::make_unique<Index>(*other._index) : nullptr)
{}

Dictionary& Dictionary::operator=(Dictionary other) noexcept
{
    _entries.swap(other._entries);
    _index.swap(other._index);
    return *this;
}

void Dictionary::set(std::string_view key, Value value)
{
    if (value.isNil())
        throw Exception(NSInvalidArgumentException,
                        "nil kann nicht in ein Wörterbuch (Schlüssel: " + std::string(key) + ")");
    const std::size_t index = indexOf(key);
    if (index < _entries.size()) {
        _entries[index].second = std::move(value);
        return;
    }
    if (_entries.empty())
        _entries.reserve(kFirstRoom);
    _entries.emplace_back(std::string(key), std::move(value));
    if (_index)
        _index->places.emplace(_entries.back().first, index);
    else if (_entries.size() > kHandful)
        rebuildIndex();
}

void Dictionary::setIfPresent(std::string_view key, Value value)
{
    if (!value.isNil())
        set(key, std::move(value));
}

void Dictionary::remove(std::string_view key)
{
    const std::size_t index = indexOf(key);
    if (index == _entries.size())
        return;
    if (!_index) {
        _entries.erase(_entries.begin() + static_cast<std::ptrdiff_t>(index));
        return;
    }
    // The gap stays until gaps are the greater part: removing many keys stays linear.
    _index->places.erase(_index->places.find(key));
    _entries[index] = Entry();
    if (_index->places.size() < _entries.size() / 2)
        compact();
    else
        while (_entries[_index->first].second.isNil())
            ++_index->first;
}

void Dictionary::clear()
{
    _entries.clear();
    _index.reset();
}

void Dictionary::merge(const Dictionary& other)
{
    if (&other == this)
        return;
    for (const Entry& entry : other)
        set(entry.first, entry.second);
}

const Value* Dictionary::find(std::string_view key) const
{
    const std::size_t index = indexOf(key);
    return index < _entries.size() ? &_entries[index].second : nullptr;
}

const Value& Dictionary::operator[](std::string_view key) const
{
    static const Value kNil;
    const Value* found = find(key);
    return found == nullptr ? kNil : *found;
}

bool operator==(const Dictionary& left, const Dictionary& right)
{
    if (left.size() != right.size())
        return false;
    return std::all_of(left.begin(), left.end(), [&](const Dictionary::Entry& entry) {
        const Value* other = right.find(entry.first);
        return other != nullptr && entry.second == *other;
    });
}

std::size_t Dictionary::indexOf(std::string_view key) const
{
    if (_index) {
        const auto found = _index->places.find(key);
        return found == _index->places.end() ? _entries.size() : found->second;
    }
    return positionOfKey(_entries, key,
                         [](const Entry& entry) -> std::string_view { return entry.first; });
}

void Dictionary::compact()
{
    std::erase_if(_entries, [](const Entry& entry) { return entry.second.isNil(); });
    rebuildIndex();
}

void Dictionary::rebuildIndex()
{
    _index.reset();
    if (_entries.size() <= kHandful)
        return;
    _index = std::make_unique<Index>();
    _index->places.reserve(_entries.size());
    for (std::size_t index = 0; index < _entries.size(); ++index)
        _index->places.emplace(_entries[index].first, index);
}

}  // namespace kt
