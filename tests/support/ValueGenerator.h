#pragma once

#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include <rapidcheck.h>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/Foundation/UTF8.h"
#include "Sync/Foundation/Value.h"
#include "tests/support/ValuePrinting.h"

namespace kt::test {

/// Which characters a text may be made of.
enum class Alphabet { everything, withoutHalves, printable };

inline rc::Gen<char32_t> characters(Alphabet alphabet)
{
    const auto range = [](std::uint32_t first, std::uint32_t last) {
        return rc::gen::cast<char32_t>(rc::gen::inRange<std::uint32_t>(first, last + 1));
    };
    const auto ascii = range(' ', '~');
    const auto latin = range(0xA0, 0x24F);
    const auto wide = range(0x2000, 0xD7FF);
    const auto pairs = range(0x10000, 0x10FFFF);
    if (alphabet == Alphabet::printable)
        return rc::gen::weightedOneOf<char32_t>({{8, ascii}, {2, latin}, {1, wide}, {1, pairs}});
    const auto control = range(0, 0x1F);
    if (alphabet == Alphabet::withoutHalves)
        return rc::gen::weightedOneOf<char32_t>(
            {{8, ascii}, {2, control}, {2, latin}, {1, wide}, {1, pairs}});
    return rc::gen::weightedOneOf<char32_t>(
        {{8, ascii}, {2, control}, {2, latin}, {1, wide}, {2, pairs}, {1, range(0xD800, 0xDFFF)}});
}

/// Lists of a few elements, whatever the size of a property's run, which would grow with each level
/// of nesting.
template <class T>
rc::Gen<std::vector<T>> shortLists(const rc::Gen<T>& element)
{
    return rc::gen::mapcat(rc::gen::inRange<std::size_t>(0, 6), [=](std::size_t count) {
        return rc::gen::container<std::vector<T>>(count, element);
    });
}

inline rc::Gen<std::string> texts(Alphabet alphabet)
{
    return rc::gen::map(rc::gen::container<std::vector<char32_t>>(characters(alphabet)),
                        [](const std::vector<char32_t>& codePoints) {
                            std::string text;
                            char32_t last = 0;
                            for (const char32_t codePoint : codePoints) {
                                // Two halves side by side would be one character.
                                if (isHighSurrogate(last) && isLowSurrogate(codePoint))
                                    text += ' ';
                                appendUTF8(text, codePoint);
                                last = codePoint;
                            }
                            return text;
                        });
}

inline rc::Gen<Data> datas()
{
    return rc::gen::map(rc::gen::container<std::string>(rc::gen::arbitrary<char>()),
                        [](std::string bytes) { return Data{std::move(bytes)}; });
}

/// Whole seconds, some 250 years around 2001.
inline rc::Gen<Date> dates()
{
    return rc::gen::map(rc::gen::inRange<std::int64_t>(-6'000'000'000, 8'000'000'000),
                        [](std::int64_t seconds) {
                            return Date{std::chrono::sys_time<std::chrono::microseconds>(
                                std::chrono::seconds(seconds))};
                        });
}

inline rc::Gen<double> reals()
{
    return rc::gen::suchThat(rc::gen::arbitrary<double>(),
                             [](double real) { return std::isfinite(real); });
}

/// What a property list can hold, `depth` containers deep at most.
inline rc::Gen<Value> values(Alphabet alphabet, int depth = 3)
{
    const auto asValue = [](auto content) { return Value(std::move(content)); };
    const auto simple =
        rc::gen::oneOf(rc::gen::map(rc::gen::arbitrary<bool>(), asValue),
                       rc::gen::map(rc::gen::arbitrary<std::int64_t>(), asValue),
                       rc::gen::map(reals(), asValue),
                       rc::gen::map(rc::gen::resize(20, texts(alphabet)), asValue),
                       rc::gen::map(datas(), asValue), rc::gen::map(dates(), asValue));
    if (depth == 0)
        return simple;
    const auto element = rc::gen::lazy([=] { return values(alphabet, depth - 1); });
    const auto arrays = rc::gen::map(shortLists<Value>(element), asValue);
    const auto dictionaries =
        rc::gen::map(shortLists<std::pair<std::string, Value>>(
                         rc::gen::pair(rc::gen::resize(10, texts(alphabet)), element)),
                     [](const std::vector<std::pair<std::string, Value>>& entries) {
                         Dictionary dictionary;
                         for (const auto& entry : entries)
                             dictionary.set(entry.first, entry.second);
                         return Value(std::move(dictionary));
                     });
    return rc::gen::weightedOneOf<Value>({{3, simple}, {1, arrays}, {1, dictionaries}});
}

inline rc::Gen<Value> dictionaryValues(Alphabet alphabet)
{
    return rc::gen::suchThat(values(alphabet, 4),
                             [](const Value& value) { return value.isDictionary(); });
}

}  // namespace kt::test
