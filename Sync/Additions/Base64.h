#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "Sync/Foundation/Value.h"

namespace kt {

// Base64 with the standard alphabet and padding (RFC 4648, section 4); no line breaks are produced
// or accepted. The first two operations are for who needs a value; the functions below are the
// ground they stand on, in C's manner.

/// The octets that the text up to its first NUL stands for, empty when there are none. Malformed
/// text never fails: it yields fewer or shifted octets (see Curl_base64_decode).
Data base64decoded(std::string_view receiver);
/// The other way, for bytes of any kind; empty also when there is no memory for the text.
std::string base64encoded(std::string_view bytes);

/// Owns what the functions below hand out.
struct MallocDeleter {
    void operator()(void* memory) const
    {
        std::free(memory);  // NOLINT(cppcoreguidelines-owning-memory): this is the owner
    }
};
template <class T>
using MallocBuffer = std::unique_ptr<T[], MallocDeleter>;

/// Decodes a NUL-terminated text and returns the number of octets. `output` receives a new buffer
/// with a NUL behind the octets, which the caller frees, or null when there is nothing to decode.
/// Only whole groups of four count, padding included: "QQ" gives nothing, "QUJDQQ" three octets.
std::size_t Curl_base64_decode(const char* source, std::uint8_t** output);

/// Encodes `length` octets, or up to the NUL when the length is 0, and returns the text's length; a
/// null source counts as empty. `output` receives a new NUL-terminated text, which the caller
/// frees, or null when there is no memory for it.
std::size_t Curl_base64_encode(const char* source, std::size_t length, char** output);

/// Four characters into three octets. "=" stands for six zero bits; a character outside the
/// alphabet counts for nothing, so what comes before it ends up six bits too low.
void decodeQuantum(const char* source, std::uint8_t* output);

}  // namespace kt
