#include "Sync/Foundation/Text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "Sync/Foundation/UTF8.h"

namespace kt {

namespace {

bool isContinuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

std::size_t unitsOf(const UTF8Step& step)
{
    return step.isValid && step.codePoint > 0xFFFF ? 2 : 1;
}

}  // namespace

UTF8Step utf8StepAt(std::string_view text, std::size_t position)
{
    const auto byteAt = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const unsigned char first = byteAt(position);
    if (first < 0x80)
        return {first, 1, true};

    const UTF8Step invalid{first, 1, false};
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || length > text.size() - position)
        return invalid;

    char32_t codePoint = first & (0xFFU >> (length + 1));
    for (std::size_t index = position + 1; index < position + length; ++index) {
        if (!isContinuation(byteAt(index)))
            return invalid;
        codePoint = (codePoint << 6) | (byteAt(index) & 0x3FU);
    }
    // Sequences longer than need be, and numbers beyond the last character.
    if ((length == 3 && codePoint < 0x800) || (length == 4 && codePoint < 0x10000) ||
        codePoint > 0x10FFFF)
        return invalid;
    return {codePoint, length, true};
}

void appendUTF8(std::string& text, char32_t codePoint)
{
    const auto append = [&](char32_t byte) { text.push_back(static_cast<char>(byte)); };
    if (codePoint < 0x80) {
        append(codePoint);
    } else if (codePoint < 0x800) {
        append(0xC0 | (codePoint >> 6));
        append(0x80 | (codePoint & 0x3F));
    } else if (codePoint < 0x10000) {
        append(0xE0 | (codePoint >> 12));
        append(0x80 | ((codePoint >> 6) & 0x3F));
        append(0x80 | (codePoint & 0x3F));
    } else {
        append(0xF0 | (codePoint >> 18));
        append(0x80 | ((codePoint >> 12) & 0x3F));
        append(0x80 | ((codePoint >> 6) & 0x3F));
        append(0x80 | (codePoint & 0x3F));
    }
}

std::size_t asciiPrefixLength(std::string_view text, std::size_t position)
{
    constexpr std::uint64_t kHighBits = 0x8080808080808080;
    std::size_t index = position;
    // Many bytes at a time: nearly all text of a calendar is ASCII.
    for (std::array<std::uint64_t, 4> blocks{}; index + sizeof blocks <= text.size();) {
        std::memcpy(blocks.data(), text.data() + index, sizeof blocks);
        if (((blocks[0] | blocks[1] | blocks[2] | blocks[3]) & kHighBits) != 0)
            break;
        index += sizeof blocks;
    }
    while (index + sizeof(std::uint64_t) <= text.size()) {
        std::uint64_t block = 0;
        std::memcpy(&block, text.data() + index, sizeof block);
        if ((block & kHighBits) != 0)
            break;
        index += sizeof block;
    }
    while (index < text.size() && static_cast<unsigned char>(text[index]) < 0x80)
        ++index;
    return index - position;
}

std::size_t utf16Length(std::string_view text)
{
    std::size_t units = 0;
    for (std::size_t position = 0; position < text.size();) {
        const std::size_t ascii = asciiPrefixLength(text, position);
        units += ascii;
        position += ascii;
        if (position == text.size())
            break;
        const UTF8Step step = utf8StepAt(text, position);
        units += unitsOf(step);
        position += step.length;
    }
    return units;
}

std::string utf16Substring(std::string_view text, std::size_t offset, std::size_t length)
{
    std::size_t position = 0;
    std::size_t unit = 0;
    const auto advance = [&](std::size_t limit) {  // not beyond the limit, nor into a pair
        while (position < text.size() && unit < limit) {
            const std::size_t ascii = asciiPrefixLength(text.substr(position, limit - unit));
            unit += ascii;
            position += ascii;
            if (ascii != 0)
                continue;
            const UTF8Step step = utf8StepAt(text, position);
            if (unit + unitsOf(step) > limit)
                return;
            unit += unitsOf(step);
            position += step.length;
        }
    };

    advance(offset);
    if (position == text.size())
        return {};
    const std::size_t end = length > SIZE_MAX - offset ? SIZE_MAX : offset + length;
    std::string part;
    if (unit < offset && unit < end) {  // begins inside a pair
        if (end == offset)
            return part;
        const UTF8Step step = utf8StepAt(text, position);
        appendUTF8(part, lowSurrogate(step.codePoint));
        unit += 2;
        position += step.length;
    }
    const std::size_t begin = position;
    advance(end);
    part.append(text.substr(begin, position - begin));
    if (position < text.size() && unit < end)  // ends inside a pair
        appendUTF8(part, highSurrogate(utf8StepAt(text, position).codePoint));
    return part;
}

bool isReadableUTF8(std::string_view bytes)
{
    for (std::size_t position = 0; position < bytes.size();) {
        position += asciiPrefixLength(bytes, position);
        if (position == bytes.size())
            break;
        const UTF8Step step = utf8StepAt(bytes, position);
        if (!step.isValid)
            return false;
        position += step.length;
    }
    return true;
}

std::string joinedSurrogateHalves(std::string text)
{
    constexpr char kLeadByte = '\xED';  // of every half
    std::size_t position = text.find(kLeadByte);
    if (position == std::string::npos)
        return text;

    std::string joined(text, 0, position);
    while (position < text.size()) {
        const UTF8Step step = utf8StepAt(text, position);
        const std::size_t next = position + step.length;
        if (step.isValid && isHighSurrogate(step.codePoint) && next < text.size()) {
            const UTF8Step following = utf8StepAt(text, next);
            if (following.isValid && isLowSurrogate(following.codePoint)) {
                appendUTF8(joined, joinedSurrogates(step.codePoint, following.codePoint));
                position = next + following.length;
                continue;
            }
        }
        joined.append(text, position, step.length);
        position = next;
    }
    return joined;
}

std::vector<std::string_view> componentsSeparatedByString(std::string_view text,
                                                          std::string_view separator)
{
    std::vector<std::string_view> components;
    if (!separator.empty()) {
        for (std::size_t end = 0; (end = text.find(separator)) != std::string_view::npos;) {
            components.push_back(text.substr(0, end));
            text.remove_prefix(end + separator.size());
        }
    }
    components.push_back(text);
    return components;
}

bool isDecimalDigit(char character) { return character >= '0' && character <= '9'; }

}  // namespace kt
