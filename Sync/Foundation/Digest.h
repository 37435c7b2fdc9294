#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
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

/// The digest of what is too much to be held at once.
class SHA256Stream {
public:
    SHA256Stream();
    ~SHA256Stream();
    SHA256Stream(const SHA256Stream&) = delete;
    SHA256Stream& operator=(const SHA256Stream&) = delete;

    void add(std::string_view bytes);
    /// Of all that was added; afterwards nothing more can be.
    std::string hexText();

private:
    struct Context;
    std::unique_ptr<Context> _context;
};

/// For digests that are kept by the thousand: a third of the memory of the hexadecimal text.
using SHA1Digest = std::array<std::uint8_t, 20>;
SHA1Digest sha1DigestBytes(std::string_view bytes);

/// Lower-case hexadecimal.
std::string hexText(std::span<const std::uint8_t> bytes);

}  // namespace kt
