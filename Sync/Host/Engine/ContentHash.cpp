#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <vector>

#include "Sync/Foundation/Digest.h"
#include "Sync/Host/Engine/HostEnhancedDate.h"
#include "Sync/Host/Engine/RecordCoding.h"
#include "Sync/Host/Engine/RecordFields.h"

namespace kt {

namespace {

// Every value is written as a letter, its length and its bytes, so that no two records run
// together.
class Canonical {
public:
    explicit Canonical(HashScope scope) : _scope(scope)
    {
        _text.reserve(512);
        _entries.reserve(32);
    }

    void addRecord(const Dictionary& record)
    {
        addEntries(record, [&](std::string_view name) { return takesIn(name); });
    }

    const std::string& text() const { return _text; }

private:
    bool takesIn(std::string_view field) const
    {
        switch (_scope) {
        case HashScope::whole:
            return true;
        case HashScope::neutral:
            return !isPassiveField(field) && !isKeyOfAnotherRecord(field);
        case HashScope::simple:
            return isKeptByEveryLayout(field);
        }
        return true;
    }

    void addPiece(char letter, std::string_view bytes)
    {
        std::array<char, 24> head{letter};
        char* end = std::to_chars(&head[1], &head.back(), bytes.size()).ptr;
        *end++ = ':';
        _text.append(head.data(), end);
        _text += bytes;
    }

    void addNumber(char letter, std::int64_t number)
    {
        std::array<char, 24> digits{};
        const char* const end =
            std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
        addPiece(letter, {digits.data(), end});
    }

    // An entry, and enough of its name to tell it from most others at one look.
    struct Named {
        std::uint64_t beginning = 0;
        const Dictionary::Entry* entry = nullptr;

        friend bool operator<(const Named& left, const Named& right)
        {
            return left.beginning != right.beginning ? left.beginning < right.beginning
                                                     : left.entry->first < right.entry->first;
        }
    };

    static std::uint64_t beginningOf(std::string_view name)
    {
        std::uint64_t beginning = 0;
        for (std::size_t index = 0; index < sizeof beginning; ++index)
            beginning = beginning << 8 |
                        (index < name.size() ? static_cast<unsigned char>(name[index]) : 0U);
        return beginning;
    }

    // By their names. A dictionary that is an entry's value stands behind its own while its turn
    // lasts, so that a record takes one list.
    template <class Filter>
    void addEntries(const Dictionary& dictionary, const Filter& filter)
    {
        const std::size_t begin = _entries.size();
        for (const auto& entry : dictionary) {
            if (filter(entry.first))
                _entries.push_back({beginningOf(entry.first), &entry});
        }
        const std::size_t end = _entries.size();
        std::sort(_entries.begin() + static_cast<std::ptrdiff_t>(begin), _entries.end());
        const std::size_t count = end - begin;
        addPiece('d', std::to_string(count));
        for (std::size_t index = begin; index < end; ++index) {
            const Dictionary::Entry& entry = *_entries[index].entry;
            addPiece('k', entry.first);
            addField(entry.first, entry.second);
        }
        _entries.resize(begin);
    }

    void addField(std::string_view field, const Value& value)
    {
        if (_scope == HashScope::whole || !isSubscription(field))
            addValue(value);
        else
            addValue(withoutRefreshTraces(value));
    }

    void addValue(const Value& value)
    {
        switch (value.kind()) {
        case Value::Kind::nil:
            addPiece('n', "");
            break;
        case Value::Kind::boolean:
        case Value::Kind::integer:
            addNumber('i', value.longLongValue());
            break;
        case Value::Kind::real:
            addReal(value.doubleValue());
            break;
        case Value::Kind::string:
            addPiece('s', value.string());
            break;
        case Value::Kind::data:
            addPiece('b', value.data().bytes);
            break;
        case Value::Kind::date:
            addPiece('t', std::to_string(value.date().instant.time_since_epoch().count()));
            break;
        case Value::Kind::array:
            addPiece('a', std::to_string(value.array().size()));
            for (const Value& element : value.array())
                addValue(element);
            break;
        case Value::Kind::dictionary:
            addEntries(value.dictionary(), [](std::string_view) { return true; });
            break;
        case Value::Kind::object:
            addObject(value);
            break;
        }
    }

    // 1.0 equals 1.
    void addReal(double real)
    {
        constexpr double limit = 9.0e15;
        if (real == std::floor(real) && std::fabs(real) < limit) {
            addNumber('i', static_cast<std::int64_t>(real));
            return;
        }
        std::array<char, 32> digits{};
        const int length = std::snprintf(digits.data(), digits.size(), "%.17g", real);
        addPiece('r', std::string_view(digits.data(), static_cast<std::size_t>(length)));
    }

    void addObject(const Value& value)
    {
        const auto date = value.objectOfClass<KTSyncEnhancedDate>();
        if (!date) {
            addPiece('o', value.description());
            return;
        }
        std::string wallClock = date->iCalDate();
        if (wallClock.back() == 'Z')
            wallClock.pop_back();
        addPiece(date->isAllDay() ? 'D' : 'T', wallClock);
        if (_scope == HashScope::whole)
            addPiece('z', date->timezone());
    }

    HashScope _scope;
    std::string _text;
    std::vector<Named> _entries;  // of the dictionaries whose turn it is
};

}  // namespace

std::string contentHash(const Dictionary& record, HashScope scope)
{
    Canonical canonical(scope);
    canonical.addRecord(record);
    return sha1DigestHex(canonical.text());
}

}  // namespace kt
