#include "Sync/Host/Server/RandomIdentifier.h"

#include <cstdint>
#include <random>
#include <string_view>

namespace kt {

std::string randomIdentifier()
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::random_device source;
    std::string identifier;
    for (int word = 0; word < 4; ++word) {
        auto bits = static_cast<std::uint32_t>(source());
        for (int digit = 0; digit < 8; ++digit, bits >>= 4)
            identifier += digits[bits & 15U];
    }
    return identifier;
}

}  // namespace kt
