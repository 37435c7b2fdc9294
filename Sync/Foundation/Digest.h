#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "Sync/Foundation/Value.h"

namespace kt {

Data md5Digest(std::string_view bytes);            // 16 bytes
Data sha1Digest(std::string_view bytes);           // 20 bytes
Data sha256Digest(std::string_view bytes);         // 32 bytes
std::string md5DigestHex(std::string_view bytes);  // lower-case hexadecimal
std::string sha1DigestHex(std::string_view bytes);
std::string sha256DigestHex(std::string_view bytes);

/// For digests that are kept by the thousand: a third of the memory of the hexadecimal text.
using SHA1Digest = std::array<std::uint8_t, 20>;
SHA1Digest sha1DigestBytes(std::string_view bytes);
std::string hexText(const SHA1Digest& digest);

}  // namespace kt
