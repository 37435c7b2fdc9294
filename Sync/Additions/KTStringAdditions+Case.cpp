#include <clocale>
#include <cwctype>
#include <string>
#include <string_view>

#include "Sync/Additions/KTStringAdditions.h"
#include "Sync/Foundation/UTF8.h"

namespace kt {

namespace {

/// A locale that knows the letters of all scripts whatever the user's own is; null where the system
/// lacks it, and then only ASCII letters have case.
locale_t unicodeLocale()
{
    static const locale_t kLocale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return kLocale;
}

char32_t withoutCase(char32_t character)
{
    if (character >= U'A' && character <= U'Z')
        return character + (U'a' - U'A');
    if (character < 0x80 || unicodeLocale() == nullptr)
        return character;
    // By way of the capital: some letters have two small forms.
    const wint_t capital = towupper_l(static_cast<wint_t>(character), unicodeLocale());
    return static_cast<char32_t>(towlower_l(capital, unicodeLocale()));
}

std::u32string withoutCase(std::string_view text)
{
    std::u32string folded;
    folded.reserve(text.size());
    for (std::size_t position = 0; position < text.size();) {
        const UTF8Step step = utf8StepAt(text, position);
        folded += withoutCase(step.codePoint);
        position += step.length;
    }
    return folded;
}

}  // namespace

bool containsIgnoringCase(std::string_view receiver, std::string_view string)
{
    return !string.empty() &&
           withoutCase(receiver).find(withoutCase(string)) != std::u32string::npos;
}

}  // namespace kt
