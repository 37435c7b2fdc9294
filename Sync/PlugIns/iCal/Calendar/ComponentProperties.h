#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/Foundation/Value.h"

namespace kt {

/// The properties of one component on their way from a file's lines into an object: what a
/// Dictionary is, but with keys that are views, mostly into the file's text, and with values that
/// can be taken out. Look-up is linear for a handful of keys and hashed beyond.
class ComponentProperties {
public:
    struct Entry {
        std::string_view key;
        Value value;  // nil once it has been taken
    };

    ComponentProperties() = default;
    ComponentProperties(std::initializer_list<Entry> entries);
    /// The keys stay the dictionary's.
    ComponentProperties(const Dictionary& dictionary);
    operator Dictionary() const;

    /// The place of a key; a new one is entered at the end without a value.
    std::size_t enter(std::string_view key);
    /// The place must have been entered.
    Value& valueAt(std::size_t place) { return _entries[place].value; }
    /// Throws Exception NSInvalidArgumentException for nil.
    void set(std::string_view key, Value value);
    /// Moves the value out; nil when there is none.
    Value take(std::string_view key);

    /// The value, or a nil value when the key is absent.
    const Value& operator[](std::string_view key) const;
    std::size_t size() const { return _entries.size(); }
    auto begin() { return _entries.begin(); }
    auto end() { return _entries.end(); }
    auto begin() const { return _entries.begin(); }
    auto end() const { return _entries.end(); }

private:
    using Index = std::unordered_map<std::string_view, std::size_t>;

    std::size_t find(std::string_view key) const;  // size() when absent
    void add(std::string_view key, Value value);   // of a key that is absent
    void makeIndex();

    std::vector<Entry> _entries;
    // A bit for the kind of each key (see bitOfKind). Most look-ups are for what is not there, and
    // most of those end here: a fifth of the time that making an event takes.
    std::uint64_t _kinds = 0;
    std::unique_ptr<Index> _index;  // only beyond a handful of keys
};

}  // namespace kt
