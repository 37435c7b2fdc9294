#include "Sync/Foundation/UTF16.h"

#include <cstddef>

#include "Sync/Foundation/UTF8.h"

namespace kt {

std::string utf8OfUTF16(std::string_view bytes, ByteOrder order)
{
    const std::size_t high = order == ByteOrder::bigEndian ? 0 : 1;
    const auto unitAt = [&](std::size_t index) {
        return static_cast<char32_t>(static_cast<unsigned char>(bytes[index + high]) << 8 |
                                     static_cast<unsigned char>(bytes[index + 1 - high]));
    };
    std::string text;
    text.reserve(bytes.size());
    for (std::size_t index = 0; index + 2 <= bytes.size(); index += 2) {
        char32_t unit = unitAt(index);
        if (isHighSurrogate(unit) && index + 4 <= bytes.size() &&
            isLowSurrogate(unitAt(index + 2))) {
            unit = joinedSurrogates(unit, unitAt(index + 2));
            index += 2;
        }
        appendUTF8(text, unit);
    }
    return text;
}

}  // namespace kt
