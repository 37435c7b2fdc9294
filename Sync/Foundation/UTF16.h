#pragma once

#include <string>
#include <string_view>

namespace kt {

enum class ByteOrder { bigEndian, littleEndian };

/// The units, two bytes each, as UTF-8; a lone half of a pair as its own three-byte sequence. A
/// byte behind the last whole unit is dropped.
std::string utf8OfUTF16(std::string_view bytes, ByteOrder order);

}  // namespace kt
