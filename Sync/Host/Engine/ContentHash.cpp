#include <algorithm>
#include <array>
#include <cmath>
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
    explicit Canonical(HashScope scope) : _scope(scope) { _text.reserve(512); }

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
        _text += letter;
        _text += std::to_string(bytes.size());
        _text += ':';
        _text += bytes;
    }

    template <class Filter>
    void addEntries(const Dictionary& dictionary, const Filter& filter)
    {
        std::vector<const Dictionary::Entry*> entries;
        entries.reserve(dictionary.size());
        for (const auto& entry : dictionary) {
            if (filter(entry.first))
                entries.push_back(&entry);
        }
        std::sort(entries.begin(), entries.end(),
                  [](const auto* left, const auto* right) { return left->first < right->first; });
        addPiece('d', std::to_string(entries.size()));
        for (const auto* entry : entries) {
            addPiece('k', entry->first);
            addField(entry->first, entry->second);
        }
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
            addPiece('i', value.description());
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
            addPiece('i', std::to_string(static_cast<std::int64_t>(real)));
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
};

}  // namespace

std::string contentHash(const Dictionary& record, HashScope scope)
{
    Canonical canonical(scope);
    canonical.addRecord(record);
    return sha1DigestHex(canonical.text());
}

}  // namespace kt
