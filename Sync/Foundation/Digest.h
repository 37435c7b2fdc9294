#pragma once

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

}  // namespace kt
