#include "Sync/Host/Publishing/PublishedText.h"

#include <algorithm>

#include "Sync/Foundation/Text.h"
#include "Sync/Foundation/UTF8.h"

namespace kt {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

std::string unescaped(std::string_view text)
{
    std::string plain;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '\\' || at + 1 == text.size()) {
            plain += text[at];
            continue;
        }
        ++at;
        plain += text[at] == 'n' || text[at] == 'N' ? '\n' : text[at];
    }
    return plain;
}

/// Of several values the first.
const Value& firstOf(const Value& field)
{
    const Value* first = &field;
    while (first->isArray() && !first->array().empty())
        first = &first->array().front();
    return *first;
}

/// C0 and C1 controls, and the marks that turn the direction of what follows them.
bool isHidden(char32_t character)
{
    return character < 0x20 || (character >= 0x7F && character < 0xA0) ||
           (character >= 0x202A && character <= 0x202E) ||
           (character >= 0x2066 && character <= 0x2069) || character == 0xFEFF;
}

}  // namespace

std::string showableText(std::string_view text)
{
    const std::string joined = joinedSurrogateHalves(std::string(text));
    std::string showable;
    showable.reserve(joined.size());
    for (std::size_t at = 0; at < joined.size();) {
        const UTF8Step step = utf8StepAt(joined, at);
        at += step.length;
        if (!step.isValid || isSurrogate(step.codePoint))
            appendUTF8(showable, kReplacement);
        else if (step.codePoint == '\r')
            showable += at < joined.size() && joined[at] == '\n' ? "" : "\n";
        else if (step.codePoint == '\n' || step.codePoint == '\t' || !isHidden(step.codePoint))
            appendUTF8(showable, step.codePoint);
    }
    return showable;
}

std::string plainTextOfField(const Value& field)
{
    const Value& first = firstOf(field);
    if (first.isString())
        return showableText(first.string());
    return first.isNumber() ? first.description() : "";
}

std::string textOfField(const Value& field)
{
    const Value& first = firstOf(field);
    return first.isString() ? showableText(unescaped(first.string())) : plainTextOfField(first);
}

std::string clippedText(std::string_view text, std::size_t most)
{
    // So many bytes hold more units than that, so the rest need not be looked at.
    const std::string begin(text.substr(0, 4 * (most + 1)));
    if (utf16Length(begin) <= most)
        return begin;
    return showableText(utf16Substring(begin, 0, most)) + " …";
}

std::string webAddress(std::string_view text)
{
    const std::size_t colon = text.find("://");
    if (colon == std::string_view::npos)
        return "";
    std::string scheme(text.substr(0, colon));
    std::transform(scheme.begin(), scheme.end(), scheme.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    const bool isOfTheWeb = scheme == "http" || scheme == "https";
    if (!isOfTheWeb || text.find_first_of(" \t\n\"<>\\^`{|}") != std::string_view::npos)
        return "";
    return std::string(text);
}

}  // namespace kt
