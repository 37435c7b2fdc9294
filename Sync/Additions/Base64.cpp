#include "Sync/Additions/Base64.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <limits>

namespace kt {

namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::size_t kOctets = 3;      // of a group
constexpr std::size_t kCharacters = 4;  // that stand for them

template <class T>
MallocBuffer<T> allocate(std::size_t count)
{
    return MallocBuffer<T>(static_cast<T*>(std::malloc(count * sizeof(T))));
}

/// The octet at an index; missing ones count as 0.
unsigned octetAt(std::string_view group, std::size_t index)
{
    return index < group.size() ? static_cast<std::uint8_t>(group[index]) : 0;
}

/// Writes the characters for one to three octets, and a NUL behind them.
void encodeGroup(std::string_view group, char* output)
{
    const unsigned bits = (octetAt(group, 0) << 16) | (octetAt(group, 1) << 8) | octetAt(group, 2);
    const auto character = [bits](unsigned shift) { return kAlphabet[(bits >> shift) & 0x3F]; };
    constexpr std::size_t kRoom = kCharacters + 1;
    if (group.size() == 1)
        std::snprintf(output, kRoom, "%c%c==", character(18), character(12));
    else if (group.size() == 2)
        std::snprintf(output, kRoom, "%c%c%c=", character(18), character(12), character(6));
    else
        std::snprintf(output, kRoom, "%c%c%c%c", character(18), character(12), character(6),
                      character(0));
}

/// How many "=" stand at the end of the text, two at most.
std::size_t paddingAt(const char* end)
{
    if (end[0] != '=')
        return 0;
    return end[1] == '=' ? 2 : 1;
}

}  // namespace

void decodeQuantum(const char* source, std::uint8_t* output)
{
    std::uint32_t bits = 0;
    for (std::size_t index = 0; index < kCharacters; ++index) {
        const std::size_t value = kAlphabet.find(source[index]);
        if (value != std::string_view::npos)
            bits = (bits << 6) + static_cast<std::uint32_t>(value);
        else if (source[index] == '=')
            bits <<= 6;
    }
    output[0] = static_cast<std::uint8_t>(bits >> 16);
    output[1] = static_cast<std::uint8_t>(bits >> 8);
    output[2] = static_cast<std::uint8_t>(bits);
}

std::size_t Curl_base64_decode(const char* source, std::uint8_t** output)
{
    *output = nullptr;
    const std::size_t textLength = std::strcspn(source, "=");
    const std::size_t padding = paddingAt(source + textLength);
    const std::size_t quantums = (textLength + padding) / kCharacters;
    if (quantums == 0)
        return 0;

    const std::size_t decodedLength = quantums * kOctets - padding;
    auto buffer = allocate<std::uint8_t>(decodedLength + 4);
    if (!buffer)
        return 0;
    std::uint8_t* position = buffer.get();
    for (std::size_t index = 1; index < quantums; ++index) {
        decodeQuantum(source, position);
        source += kCharacters;
        position += kOctets;
    }
    std::array<std::uint8_t, kOctets> last{};
    decodeQuantum(source, last.data());
    std::memcpy(position, last.data(), kOctets - padding);
    buffer[decodedLength] = 0;
    *output = buffer.release();
    return decodedLength;
}

std::size_t Curl_base64_encode(const char* source, std::size_t length, char** output)
{
    *output = nullptr;
    if (source == nullptr)
        length = 0;
    else if (length == 0)
        length = std::strlen(source);
    if (length > std::numeric_limits<std::size_t>::max() / kCharacters - kCharacters)
        return 0;  // no memory could hold it
    auto buffer = allocate<char>(length * kCharacters / kOctets + 4);
    if (!buffer)
        return 0;

    char* position = buffer.get();
    for (std::string_view rest(source, length); !rest.empty(); position += kCharacters) {
        const std::string_view group = rest.substr(0, kOctets);
        encodeGroup(group, position);
        rest.remove_prefix(group.size());
    }
    *position = '\0';
    const auto textLength = static_cast<std::size_t>(position - buffer.get());
    *output = buffer.release();
    return textLength;
}

Data base64decoded(std::string_view receiver)
{
    std::uint8_t* output = nullptr;
    const std::size_t length = Curl_base64_decode(std::string(receiver).c_str(), &output);
    const MallocBuffer<std::uint8_t> buffer(output);
    if (!buffer)
        return {};
    return Data{std::string(buffer.get(), buffer.get() + length)};
}

std::string base64encoded(std::string_view bytes)
{
    if (bytes.empty())
        return {};  // a length of 0 would mean: up to the NUL
    char* output = nullptr;
    const std::size_t length = Curl_base64_encode(bytes.data(), bytes.size(), &output);
    const MallocBuffer<char> buffer(output);
    if (!buffer)
        return {};
    return std::string(buffer.get(), length);
}

}  // namespace kt
