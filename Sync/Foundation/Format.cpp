#include "Sync/Foundation/Format.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "Sync/Foundation/Text.h"
#include "Sync/Foundation/UTF8.h"

namespace kt {

namespace {

constexpr int kDefaultPrecision = 6;
constexpr int kLargestPrecision = 99;

template <class... Visitors>
struct Overloaded : Visitors... {
    using Visitors::operator()...;
};
template <class... Visitors>
Overloaded(Visitors...) -> Overloaded<Visitors...>;

void appendReal(std::string& out, double real, int precision)
{
    // The largest double has 309 digits before the point.
    std::array<char, 420> buffer;
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), real,
                                      std::chars_format::fixed, precision);
    out.append(buffer.data(), result.ptr);
}

void appendCharacter(std::string& out, std::int64_t code)
{
    // What no character has as its number would make the text unreadable; NUL would cut it off.
    if (code > 0 && code <= 0x10FFFF && !isSurrogate(static_cast<char32_t>(code)))
        appendUTF8(out, static_cast<char32_t>(code));
}

/// A directive behind its percent sign: `.PRECISION` for reals, then one letter.
struct Directive {
    char letter = 0;  // 0 for what is no directive
    int precision = kDefaultPrecision;
    std::size_t length = 0;
};

Directive directiveAt(std::string_view text)
{
    if (text.empty())
        return {};
    if (std::string_view("@dscf%").find(text.front()) != std::string_view::npos)
        return {text.front(), kDefaultPrecision, 1};
    if (text.front() != '.')
        return {};
    std::size_t index = 1;
    int precision = 0;
    for (; index < text.size() && isDecimalDigit(text[index]); ++index)
        precision = std::min(precision * 10 + (text[index] - '0'), kLargestPrecision);
    if (index == text.size() || text[index] != 'f')
        return {};
    return {'f', precision, index + 1};
}

void appendArgument(std::string& out, const Directive& directive, const FormatArgument* argument)
{
    switch (directive.letter) {
    case 'd':
        out += std::to_string(argument == nullptr ? 0 : argument->integer());
        break;
    case 'f':
        appendReal(out, argument == nullptr ? 0 : argument->real(), directive.precision);
        break;
    case 'c':
        if (argument == nullptr)
            out += '0';
        else
            appendCharacter(out, argument->integer());
        break;
    default:
        if (argument == nullptr)
            out += "(null)";
        else
            argument->appendTextTo(out);
    }
}

}  // namespace

FormatArgument::FormatArgument(const char* text)
{
    if (text != nullptr)
        _content = std::string_view(text);
}

FormatArgument::FormatArgument(const std::optional<std::string>& text)
{
    if (text)
        _content = std::string_view(*text);
}

FormatArgument::FormatArgument(const std::optional<std::string_view>& text)
{
    if (text)
        _content = *text;
}

void FormatArgument::appendTextTo(std::string& out) const
{
    std::visit(Overloaded{[&](std::monostate) { out += "(null)"; },
                          [&](std::string_view text) { out += text; },
                          [&](std::int64_t integer) { out += std::to_string(integer); },
                          [&](double real) { out += Value(real).description(); },
                          [&](const Array* array) { out += description(*array); },
                          [&](const auto* described) { out += described->description(); }},
               _content);
}

std::string FormatArgument::text() const
{
    std::string out;
    appendTextTo(out);
    return out;
}

std::int64_t FormatArgument::integer() const
{
    if (const auto* integer = std::get_if<std::int64_t>(&_content))
        return *integer;
    if (const auto* real = std::get_if<double>(&_content))
        return Value(*real).longLongValue();
    const auto* value = std::get_if<const Value*>(&_content);
    return value != nullptr && (*value)->isNumber() ? (*value)->longLongValue() : 0;
}

double FormatArgument::real() const
{
    if (const auto* integer = std::get_if<std::int64_t>(&_content))
        return static_cast<double>(*integer);
    if (const auto* real = std::get_if<double>(&_content))
        return *real;
    const auto* value = std::get_if<const Value*>(&_content);
    return value != nullptr && (*value)->isNumber() ? (*value)->doubleValue() : 0;
}

std::string stringWithFormatArguments(std::string_view format,
                                      std::span<const FormatArgument> arguments)
{
    std::string out;
    out.reserve(format.size() + 16 * arguments.size());
    std::size_t used = 0;
    for (std::size_t position = 0; position < format.size();) {
        const std::size_t percent = std::min(format.find('%', position), format.size());
        out += format.substr(position, percent - position);
        if (percent == format.size())
            break;
        const Directive directive = directiveAt(format.substr(percent + 1));
        position = percent + 1 + directive.length;
        if (directive.letter == 0 || directive.letter == '%') {
            out += '%';
            continue;
        }
        appendArgument(out, directive, used < arguments.size() ? &arguments[used] : nullptr);
        ++used;
    }
    return out;
}

}  // namespace kt
