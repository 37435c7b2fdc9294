#pragma once

#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "Sync/Foundation/Value.h"

namespace kt {

/// Text keys to values, none of them nil, in the order in which the keys were first set, so that
/// every enumeration is stable. Look-up is linear for a handful of keys and hashed beyond.
class Dictionary {
public:
    using Entry = std::pair<std::string, Value>;

    /// Goes through the entries in order, past the gaps that removed ones leave.
    class const_iterator {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = Entry;
        using difference_type = std::ptrdiff_t;
        using pointer = const Entry*;
        using reference = const Entry&;

        const_iterator() = default;
        const_iterator(const Entry* current, const Entry* end) : _current(current), _end(end)
        {
            skipGaps();
        }

        reference operator*() const { return *_current; }
        pointer operator->() const { return _current; }
        const_iterator& operator++()
        {
            ++_current;
            skipGaps();
            return *this;
        }
        const_iterator operator++(int)
        {
            const_iterator before = *this;
            ++*this;
            return before;
        }
        friend bool operator==(const const_iterator& left, const const_iterator& right)
        {
            return left._current == right._current;
        }

    private:
        void skipGaps()
        {
            while (_current != _end && _current->second.isNil())
                ++_current;
        }

        const Entry* _current = nullptr;
        const Entry* _end = nullptr;
    };

    Dictionary() = default;
    Dictionary(std::initializer_list<Entry> entries);
    Dictionary(const Dictionary& other);
    Dictionary(Dictionary&& other) noexcept = default;
    Dictionary& operator=(Dictionary other) noexcept;
    ~Dictionary() = default;

    /// Makes room for that many entries, for who knows how many there will be.
    void reserve(std::size_t count) { _entries.reserve(count); }

    /// setObject:forKey: replaces in place. Throws Exception NSInvalidArgumentException for nil.
    void set(std::string_view key, Value value);
    /// Sets a value that is not nil; nil leaves everything as it is.
    void setIfPresent(std::string_view key, Value value);
    void remove(std::string_view key);
    void clear();
    /// addEntriesFromDictionary: entries of the other replace entries of the same key.
    void merge(const Dictionary& other);

    /// Null when the key is absent.
    const Value* find(std::string_view key) const;
    bool contains(std::string_view key) const { return find(key) != nullptr; }
    /// The value, or a nil value when the key is absent.
    const Value& operator[](std::string_view key) const;

    std::size_t size() const { return _index ? _index->places.size() : _entries.size(); }
    bool empty() const { return size() == 0; }
    const_iterator begin() const
    {
        return {_entries.data() + (_index ? _index->first : 0), _entries.data() + _entries.size()};
    }
    const_iterator end() const
    {
        return {_entries.data() + _entries.size(), _entries.data() + _entries.size()};
    }

    /// See Value::description: keys ascending, four blanks an indent.
    std::string description() const;

    /// Same keys with equal values, in whatever order.
    friend bool operator==(const Dictionary& left, const Dictionary& right);

private:
    std::size_t indexOf(std::string_view key) const;  // _entries.size() when absent
    void compact();
    void rebuildIndex();

    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const
        {
            return std::hash<std::string_view>{}(text);
        }
    };

    /// What only a large dictionary has: most are small, and there are very many of them.
    struct Index {
        std::unordered_map<std::string, std::size_t, Hash, std::equal_to<>> places;
        std::size_t first = 0;  // the first entry that is no gap
    };

    std::vector<Entry> _entries;    // a removed entry stays as a nil value while there is an index
    std::unique_ptr<Index> _index;  // only beyond a handful of keys
};

}  // namespace kt
