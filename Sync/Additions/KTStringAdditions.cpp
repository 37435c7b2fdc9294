#include "Sync/Additions/KTStringAdditions.h"

#include <utility>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Text.h"
#include "Sync/Foundation/UTF8.h"

namespace kt {

namespace {

std::string textWithLatin1(std::string_view bytes)
{
    std::string text;
    text.reserve(bytes.size());
    for (char byte : bytes)
        appendUTF8(text, static_cast<unsigned char>(byte));
    return text;
}

/// The byte position of a UTF-16 index; an index inside a surrogate pair gives the position behind
/// the pair, since no text that is searched for can begin with half a character.
std::size_t bytePosition(std::string_view text, std::size_t index)
{
    std::size_t position = 0;
    for (std::size_t unit = 0; unit < index && position < text.size();) {
        const UTF8Step step = utf8StepAt(text, position);
        unit += step.isValid && step.codePoint > 0xFFFF ? 2 : 1;
        position += step.length;
    }
    return position;
}

}  // namespace

std::optional<std::string> stringWithData(std::string data, StringEncoding encoding)
{
    switch (encoding) {
    case StringEncoding::ascii:
        if (asciiPrefixLength(data) != data.size())
            return std::nullopt;
        return data;
    case StringEncoding::utf8:
        if (!isReadableUTF8(data))
            return std::nullopt;
        return data;
    case StringEncoding::isoLatin1:
        return textWithLatin1(data);
    }
    return std::nullopt;
}

bool contains(std::string_view receiver, std::string_view string)
{
    return !string.empty() && receiver.find(string) != std::string_view::npos;
}

std::optional<std::string> containsAStringFromArray(std::string_view receiver,
                                                    const std::vector<std::string>& array)
{
    for (const std::string& string : array) {
        if (contains(receiver, string))
            return string;
    }
    return std::nullopt;
}

Range rangeOfString(std::string_view receiver, std::string_view string, std::size_t fromIndex)
{
    if (fromIndex > utf16Length(receiver))
        throw Exception(NSRangeException,
                        stringWithFormat("Index %d liegt hinter dem Textende", fromIndex));
    if (string.empty())
        return {};
    const std::size_t found = receiver.find(string, bytePosition(receiver, fromIndex));
    if (found == std::string_view::npos)
        return {};
    return {utf16Length(receiver.substr(0, found)), utf16Length(string)};
}

std::string stringByReplacingAllOccurencesOfString(std::string_view receiver,
                                                   std::string_view string,
                                                   std::string_view withString)
{
    std::string text(receiver);
    replaceOccurrencesOfString(text, string, withString);
    return text;
}

std::optional<std::string> substringFromIndex(std::string_view receiver, std::size_t fromIndex,
                                              std::size_t toIndex)
{
    if (fromIndex > toIndex || toIndex >= utf16Length(receiver))
        return std::nullopt;
    return utf16Substring(receiver, fromIndex, toIndex - fromIndex);
}

std::size_t replaceLastOccurenceOfString(std::string& receiver, std::string_view string,
                                         std::string_view withString)
{
    const std::size_t found = string.empty() ? std::string::npos : receiver.rfind(string);
    if (found == std::string::npos)
        return 0;
    receiver.replace(found, string.size(), withString);
    return 1;
}

std::size_t replaceOccurrencesOfString(std::string& receiver, std::string_view string,
                                       std::string_view withString)
{
    if (!contains(receiver, string))
        return 0;
    const std::vector<std::string_view> pieces = componentsSeparatedByString(receiver, string);
    std::string replaced;
    for (std::size_t index = 0; index < pieces.size(); ++index) {
        if (index != 0)
            replaced += withString;
        replaced += pieces[index];
    }
    receiver = std::move(replaced);
    return pieces.size() - 1;
}

}  // namespace kt
