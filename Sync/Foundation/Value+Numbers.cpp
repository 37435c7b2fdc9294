// Numbers read from the beginning of a text.

#include <algorithm>
#include <charconv>
#include <limits>

#include "Sync/Foundation/Text.h"
#include "Sync/Foundation/Value.h"

namespace kt {

namespace {

std::string_view withoutLeadingBlanks(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
    return text;
}

}  // namespace

std::int64_t longLongValue(std::string_view text)
{
    text = withoutLeadingBlanks(text);
    const bool isNegative = text.starts_with('-');
    if (isNegative || text.starts_with('+'))
        text.remove_prefix(1);
    if (text.empty() || !isDecimalDigit(text.front()))
        return 0;

    std::uint64_t magnitude = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), magnitude);
    const std::uint64_t limit =
        static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()) + (isNegative ? 1 : 0);
    if (result.ec != std::errc() || magnitude > limit)
        magnitude = limit;
    return static_cast<std::int64_t>(isNegative ? 0 - magnitude : magnitude);
}

std::int32_t intValue(std::string_view text)
{
    return static_cast<std::int32_t>(
        std::clamp<std::int64_t>(longLongValue(text), std::numeric_limits<std::int32_t>::min(),
                                 std::numeric_limits<std::int32_t>::max()));
}

double doubleValue(std::string_view text)
{
    text = withoutLeadingBlanks(text);
    const bool isNegative = text.starts_with('-');
    if (isNegative || text.starts_with('+'))
        text.remove_prefix(1);
    // No words: "inf" and "nan" are no decimal numbers.
    if (text.empty() || (!isDecimalDigit(text.front()) && text.front() != '.'))
        return 0;

    // The wider type tells too large (infinity) from too small (0).
    long double number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    double real = 0;
    if (std::from_chars(text.data(), text.data() + text.size(), real).ec != std::errc())
        real = static_cast<double>(number);
    return isNegative ? -real : real;
}

bool boolValue(std::string_view text)
{
    text = withoutLeadingBlanks(text);
    text.remove_prefix(std::min(text.find_first_not_of("+-"), text.size()));
    text.remove_prefix(std::min(text.find_first_not_of('0'), text.size()));
    return !text.empty() &&
           std::string_view("YyTt123456789").find(text.front()) != std::string_view::npos;
}

}  // namespace kt
