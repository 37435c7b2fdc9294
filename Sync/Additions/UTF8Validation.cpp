#include "Sync/Additions/UTF8Validation.h"

#include "Sync/Additions/KTStringAdditions.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/Foundation/Text.h"

namespace kt {

namespace {

std::string_view bytesUpToNUL(std::string_view text) { return text.substr(0, text.find('\0')); }

bool isUnwantedControlCharacter(std::uint8_t byte)
{
    return byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r';
}

bool isTrailByte(std::uint8_t byte) { return byte >= 0x80 && byte <= 0xBF; }

/// The second byte's range depends on the lead byte: it keeps out overlong forms (E0, F0) and
/// numbers beyond the last character. That is U+10FFFF, which is F4 8F BF BF: with the lead byte F4
/// some sequences are characters and some are not, so F4 is a legal lead byte with a limit of its
/// own, and all above it are none. That limit stands in the place of the lower one.
bool isSecondByteLegal(std::uint8_t leadByte, std::uint8_t secondByte)
{
    switch (leadByte) {
    case 0xE0:
        return secondByte >= 0xA0 && secondByte <= 0xBF;
    case 0xF0:
        return secondByte >= 0x90 && secondByte <= 0xBF;
    case 0xF4:
        return secondByte <= 0x8F;
    default:
        return isTrailByte(secondByte);
    }
}

bool isLeadByteLegal(std::uint8_t byte) { return (byte < 0x80 || byte > 0xC1) && byte <= 0xF4; }

/// The sequence at a position that lies inside the bytes.
struct Sequence {
    explicit Sequence(std::string_view bytes)
        : first(static_cast<std::uint8_t>(bytes.front())),
          length(utf8SequenceLength(first)),
          isLegal(length <= bytes.size() &&
                  isLegalUTF8Char(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                                  static_cast<std::int32_t>(length)))
    {}

    std::uint8_t first;
    std::size_t length;
    bool isLegal;  // false also when the bytes end too early
};

}  // namespace

std::size_t utf8SequenceLength(std::uint8_t leadByte)
{
    if (leadByte < 0xC0)
        return 1;
    if (leadByte < 0xE0)
        return 2;
    if (leadByte < 0xF0)
        return 3;
    if (leadByte < 0xF8)
        return 4;
    return leadByte < 0xFC ? 5 : 6;
}

bool isLegalUTF8Char(const std::uint8_t* bytes, std::int32_t length)
{
    if (length < 1 || length > 4)
        return false;
    if (length == 4 && !isTrailByte(bytes[3]))
        return false;
    if (length >= 3 && !isTrailByte(bytes[2]))
        return false;
    if (length >= 2 && !isSecondByteLegal(bytes[0], bytes[1]))
        return false;
    return isLeadByteLegal(bytes[0]);
}

bool isValidUTF8(std::string_view receiver)
{
    std::string_view bytes = bytesUpToNUL(receiver);
    if (bytes.size() != receiver.size() || bytes.size() != utf16Length(receiver))
        return false;
    while (!bytes.empty()) {
        const Sequence sequence(bytes);
        if (isUnwantedControlCharacter(sequence.first)) {
            NSLog("control character '%d' in '%@'", sequence.first, receiver);
            return false;
        }
        if (!sequence.isLegal)
            return false;
        bytes.remove_prefix(sequence.length);
    }
    return true;
}

std::optional<std::string> validUTF8String(std::string_view receiver)
{
    std::string_view bytes = bytesUpToNUL(receiver);
    std::string kept;
    kept.reserve(bytes.size());
    while (!bytes.empty()) {
        const Sequence sequence(bytes);
        const std::string_view taken = bytes.substr(0, sequence.length);
        if (!isUnwantedControlCharacter(sequence.first) && sequence.isLegal)
            kept += taken;
        bytes.remove_prefix(taken.size());
    }
    return stringWithData(std::move(kept), StringEncoding::utf8);
}

}  // namespace kt
