// The one rendering of values that enters logs and digests.

#include <algorithm>
#include <charconv>
#include <vector>

#include "Sync/Foundation/CalendarDate.h"
#include "Sync/Foundation/Dictionary.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/UTF8.h"
#include "Sync/Foundation/Value.h"

namespace kt {

namespace {

constexpr std::size_t kIndent = 4;
constexpr std::string_view kHexDigits = "0123456789abcdef";

bool isPlain(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') ||
           std::string_view("_$/:.-").find(character) != std::string_view::npos;
}

void appendUnit(std::string& out, char32_t unit)
{
    out += "\\U";
    for (int shift = 12; shift >= 0; shift -= 4)
        out += kHexDigits[(unit >> shift) & 0xF];
}

void appendOctal(std::string& out, char32_t byte)
{
    out += '\\';
    for (int shift = 6; shift >= 0; shift -= 3)
        out += static_cast<char>('0' + ((byte >> shift) & 7));
}

void appendEscaped(std::string& out, const UTF8Step& step)
{
    if (!step.isValid)
        appendOctal(out, step.codePoint);
    else if (step.codePoint > 0xFFFF) {
        appendUnit(out, highSurrogate(step.codePoint));
        appendUnit(out, lowSurrogate(step.codePoint));
    } else if (step.codePoint > 0x7F)
        appendUnit(out, step.codePoint);
    else if (step.codePoint == '"' || step.codePoint == '\\')
        out.append({'\\', static_cast<char>(step.codePoint)});
    else if (step.codePoint == '\n')
        out += "\\n";
    else if (step.codePoint == '\r')
        out += "\\r";
    else if (step.codePoint == '\t')
        out += "\\t";
    else if (step.codePoint < ' ' || step.codePoint == 0x7F)
        appendOctal(out, step.codePoint);
    else
        out += static_cast<char>(step.codePoint);
}

void appendElementText(std::string& out, std::string_view text)
{
    if (!text.empty() && std::all_of(text.begin(), text.end(), isPlain)) {
        out += text;
        return;
    }
    out += '"';
    for (std::size_t position = 0; position < text.size();) {
        const UTF8Step step = utf8StepAt(text, position);
        appendEscaped(out, step);
        position += step.length;
    }
    out += '"';
}

void appendData(std::string& out, std::string_view bytes)
{
    out += '<';
    for (std::size_t index = 0; index < bytes.size(); ++index) {
        if (index != 0 && index % 4 == 0)
            out += ' ';
        const auto byte = static_cast<unsigned char>(bytes[index]);
        out += kHexDigits[byte >> 4];
        out += kHexDigits[byte & 0xF];
    }
    out += '>';
}

std::string descriptionOfReal(double real)
{
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, real);
    return {buffer, result.ptr};
}

std::string descriptionOfDate(Date date)
{
    return calendarDateOfInstant(date, "UTC")
        .descriptionWithCalendarFormat("%Y-%m-%d %H:%M:%S +0000");
}

void appendElement(std::string& out, const Value& value, std::size_t depth);

void appendArray(std::string& out, const Array& array, std::size_t depth)
{
    out += "(\n";
    for (std::size_t index = 0; index < array.size(); ++index) {
        out.append((depth + 1) * kIndent, ' ');
        appendElement(out, array[index], depth + 1);
        out += index + 1 < array.size() ? ",\n" : "\n";
    }
    out.append(depth * kIndent, ' ').append(")");
}

void appendDictionary(std::string& out, const Dictionary& dictionary, std::size_t depth)
{
    std::vector<const Dictionary::Entry*> entries;
    entries.reserve(dictionary.size());
    for (const Dictionary::Entry& entry : dictionary)
        entries.push_back(&entry);
    std::sort(entries.begin(), entries.end(),
              [](const auto* left, const auto* right) { return left->first < right->first; });

    out += "{\n";
    for (const Dictionary::Entry* entry : entries) {
        out.append((depth + 1) * kIndent, ' ');
        appendElementText(out, entry->first);
        out += " = ";
        appendElement(out, entry->second, depth + 1);
        out += ";\n";
    }
    out.append(depth * kIndent, ' ').append("}");
}

void appendElement(std::string& out, const Value& value, std::size_t depth)
{
    switch (value.kind()) {
    case Value::Kind::array:
        return appendArray(out, value.array(), depth);
    case Value::Kind::dictionary:
        return appendDictionary(out, value.dictionary(), depth);
    case Value::Kind::data:
        return appendData(out, value.data().bytes);
    case Value::Kind::string:
        return appendElementText(out, value.string());
    default:
        return appendElementText(out, value.description());
    }
}

}  // namespace

std::string Value::description() const
{
    std::string out;
    switch (kind()) {
    case Kind::nil:
        out = "(null)";
        break;
    case Kind::boolean:
    case Kind::integer:
        out = std::to_string(longLongValue());
        break;
    case Kind::real:
        out = descriptionOfReal(doubleValue());
        break;
    case Kind::string:
        out = string();
        break;
    case Kind::data:
        appendData(out, data().bytes);
        break;
    case Kind::date:
        out = descriptionOfDate(date());
        break;
    case Kind::array:
        appendArray(out, array(), 0);
        break;
    case Kind::dictionary:
        appendDictionary(out, dictionary(), 0);
        break;
    case Kind::object:
        out = object()->description();
        break;
    }
    return out;
}

std::string description(const Array& array)
{
    std::string out;
    appendArray(out, array, 0);
    return out;
}

std::string Dictionary::description() const
{
    std::string out;
    appendDictionary(out, *this, 0);
    return out;
}

}  // namespace kt
