#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

namespace kt {

/// The names of properties (RFC 5545, 3.8) that items and alarms are made of, each with a number.
/// ALLDAY is not the RFC's: the value filter sets it beside a start.
class NumberedNames {
public:
    static constexpr std::size_t kCount = 25;  // the first stands for all other names

    /// 0 for a name that has none.
    static constexpr std::uint8_t numberOf(std::string_view name);

private:
    using Table = std::array<std::uint8_t, 64>;

    static constexpr std::array<std::string_view, kCount> kNames{
        "",          "ACTION",   "ALLDAY",        "ATTACH", "ATTENDEE", "COMPLETED", "DESCRIPTION",
        "DTEND",     "DTSTAMP",  "DTSTART",       "DUE",    "DURATION", "EXDATE",    "LOCATION",
        "ORGANIZER", "PRIORITY", "RECURRENCE-ID", "RRULE",  "SEQUENCE", "STATUS",    "SUMMARY",
        "TRANSP",    "TRIGGER",  "UID",           "URL"};

    /// Different for every name of the list.
    struct Places {
        static constexpr std::size_t of(std::string_view name)
        {
            const auto first = static_cast<unsigned char>(name.front());
            const auto last = static_cast<unsigned char>(name.back());
            return (name.size() + 6U * first + last) % Table().size();
        }
        static constexpr Table numbers()
        {
            Table table{};
            for (std::uint8_t number = 1; number < kCount; ++number) {
                if (table[of(kNames[number])] != 0)
                    throw "two names in one place";  // ends the compilation
                table[of(kNames[number])] = number;
            }
            return table;
        }
    };
    static const Table kNumbers;
};

inline constexpr NumberedNames::Table NumberedNames::kNumbers = NumberedNames::Places::numbers();

constexpr std::uint8_t NumberedNames::numberOf(std::string_view name)
{
    const std::uint8_t number = name.empty() ? std::uint8_t{0} : kNumbers[Places::of(name)];
    return kNames[number] == name ? number : std::uint8_t{0};
}

/// The name of a property with its number, so that it is looked for once, where a file has it, and
/// never again. A view of its text.
class PropertyName {
public:
    static constexpr std::size_t kNumbers = NumberedNames::kCount;

    /// Of a name that stands in the code, whose number the compiler finds.
    template <std::size_t size>
    consteval PropertyName(const char (&text)[size]) : PropertyName(std::string_view(text))
    {}
    template <std::convertible_to<std::string_view> Text>
    requires(!std::is_array_v<Text>) constexpr PropertyName(const Text& text)
        : _text(text),
          _number(NumberedNames::numberOf(_text))
    {}
    /// Of a text whose number is known.
    constexpr PropertyName(std::string_view text, std::uint8_t number)
        : _text(text),
          _number(number)
    {}

    constexpr std::string_view text() const { return _text; }
    /// 0 for a name that has none.
    constexpr std::uint8_t number() const { return _number; }
    constexpr bool isNumbered() const { return _number != 0; }

private:
    std::string_view _text;
    std::uint8_t _number;
};

}  // namespace kt
