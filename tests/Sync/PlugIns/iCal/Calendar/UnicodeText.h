#pragma once

#include <string>
#include <vector>

#include <rapidcheck.h>

#include "Sync/Foundation/UTF8.h"

namespace kt::test {

/// One character of any plane that can stand in a line: no line end, no lone half of a pair.
inline rc::Gen<char32_t> unicodeCharacter()
{
    const auto within = [](char32_t first, char32_t last) {
        return rc::gen::cast<char32_t>(rc::gen::inRange<std::uint32_t>(first, last + 1));
    };
    return rc::gen::suchThat(
        rc::gen::oneOf(within(U' ', U'~'), within(1, 0x7FF), within(0x800, 0xD7FF),
                       within(0xE000, 0xFFFF), within(0x10000, 0x10FFFF),
                       rc::gen::elementOf(std::vector<char32_t>{U'"', U'\\', U':', U';', U',', U' ',
                                                                0x1F384, 0xE4})),
        [](char32_t character) { return character != U'\r' && character != U'\n'; });
}

/// Long enough to be folded several times.
inline rc::Gen<std::string> unicodeText()
{
    const auto characters =
        rc::gen::mapcat(rc::gen::inRange<std::size_t>(0, 400), [](std::size_t count) {
            return rc::gen::container<std::vector<char32_t>>(count, unicodeCharacter());
        });
    return rc::gen::map(characters, [](const std::vector<char32_t>& all) {
        std::string text;
        for (char32_t character : all)
            appendUTF8(text, character);
        return text;
    });
}

}  // namespace kt::test
