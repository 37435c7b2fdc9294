#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Sync/Foundation/Digest.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/Value.h"

namespace kt {

// KTAdditions on strings, as functions whose first parameter is the receiver. Indices and lengths
// count UTF-16 units. stringWithFormat(format, arguments) is in Foundation/Format.h; the digests of
// a text, being those of its UTF-8 bytes, are md5Digest, md5DigestHex, sha1Digest and sha1DigestHex
// in Foundation/Digest.h.

enum class StringEncoding { ascii, utf8, isoLatin1 };

/// Nullopt where the data is not valid in the encoding. UTF-8 with lone surrogate halves is valid
/// (see Foundation/Text.h); the bytes are moved, not copied, for ASCII and UTF-8.
std::optional<std::string> stringWithData(std::string data, StringEncoding encoding);

/// An occurrence within a text, in UTF-16 units.
struct Range {
    static constexpr std::size_t NSNotFound = static_cast<std::size_t>(INT64_MAX);

    std::size_t location = NSNotFound;
    std::size_t length = 0;

    friend bool operator==(const Range&, const Range&) = default;
};

/// Plain search; an empty text occurs nowhere.
bool contains(std::string_view receiver, std::string_view string);
/// The same regardless of case, umlauts and other letters included.
bool containsIgnoringCase(std::string_view receiver, std::string_view string);
/// The first element, in the array's order, that occurs in the receiver.
std::optional<std::string> containsAStringFromArray(std::string_view receiver,
                                                    const std::vector<std::string>& array);
/// The first literal occurrence from the index on. Throws Exception NSRangeException for an index
/// beyond the end.
Range rangeOfString(std::string_view receiver, std::string_view string, std::size_t fromIndex);
/// Every literal occurrence replaced. The misspelling is the interface's.
std::string stringByReplacingAllOccurencesOfString(std::string_view receiver,
                                                   std::string_view string,
                                                   std::string_view withString);
/// The characters from the first index up to, not including, the second; nullopt when the first is
/// greater than the second or the second is not smaller than the length.
std::optional<std::string> substringFromIndex(std::string_view receiver, std::size_t fromIndex,
                                              std::size_t toIndex);

/// Changes the receiver; 1, or 0 when there is no occurrence.
std::size_t replaceLastOccurenceOfString(std::string& receiver, std::string_view string,
                                         std::string_view withString);
/// Changes the receiver; the number of occurrences replaced.
std::size_t replaceOccurrencesOfString(std::string& receiver, std::string_view string,
                                       std::string_view withString);

}  // namespace kt
