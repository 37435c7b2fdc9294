#include "Sync/Foundation/Digest.h"

#include <array>
#include <memory>

#include <openssl/evp.h>
#include <openssl/sha.h>

#include "Sync/Foundation/Exception.h"

namespace kt {

namespace {

using DigestBytes = std::array<unsigned char, EVP_MAX_MD_SIZE>;

struct ContextDeleter {
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};

[[noreturn]] void throwUnavailable()
{
    throw Exception(NSGenericException, "Prüfsummenverfahren nicht verfügbar");
}

/// Fills `bytes` and returns how many they are.
std::size_t compute(const EVP_MD* algorithm, std::string_view text, DigestBytes& bytes)
{
    // One context for each thread: making one costs more than digesting a record.
    thread_local const std::unique_ptr<EVP_MD_CTX, ContextDeleter> context(EVP_MD_CTX_new());
    unsigned int length = 0;
    if (algorithm == nullptr || !context ||
        EVP_DigestInit_ex2(context.get(), algorithm, nullptr) != 1 ||
        EVP_DigestUpdate(context.get(), text.data(), text.size()) != 1 ||
        EVP_DigestFinal_ex(context.get(), bytes.data(), &length) != 1)
        throwUnavailable();
    return length;
}

Data digest(const EVP_MD* algorithm, std::string_view text)
{
    DigestBytes bytes;
    const std::size_t length = compute(algorithm, text, bytes);
    return Data{std::string(reinterpret_cast<const char*>(bytes.data()), length)};
}

std::string hexTextOf(const unsigned char* bytes, std::size_t length)
{
    constexpr std::string_view kHexDigits = "0123456789abcdef";
    std::string hex(2 * length, '\0');
    for (std::size_t index = 0; index < length; ++index) {
        hex[2 * index] = kHexDigits[bytes[index] >> 4];
        hex[2 * index + 1] = kHexDigits[bytes[index] & 0xF];
    }
    return hex;
}

std::string digestHex(const EVP_MD* algorithm, std::string_view text)
{
    DigestBytes bytes;
    const std::size_t length = compute(algorithm, text, bytes);
    return hexTextOf(bytes.data(), length);
}

// Fetched once: looking an algorithm up by name costs more than digesting a record.
const EVP_MD* md5()
{
    static const EVP_MD* const kAlgorithm = EVP_MD_fetch(nullptr, "MD5", nullptr);
    return kAlgorithm;
}

const EVP_MD* sha256()
{
    static const EVP_MD* const kAlgorithm = EVP_MD_fetch(nullptr, "SHA256", nullptr);
    return kAlgorithm;
}

}  // namespace

Data md5Digest(std::string_view bytes) { return digest(md5(), bytes); }
Data sha256Digest(std::string_view bytes) { return digest(sha256(), bytes); }
std::string md5DigestHex(std::string_view bytes) { return digestHex(md5(), bytes); }
std::string sha256DigestHex(std::string_view bytes) { return digestHex(sha256(), bytes); }

SHA1Digest sha1DigestBytes(std::string_view bytes)
{
    // Two for each event of a store: of texts that short, the functions above spend much of their
    // time on making and clearing contexts.
    SHA_CTX context;
    SHA1Digest digest;
    if (SHA1_Init(&context) != 1 || SHA1_Update(&context, bytes.data(), bytes.size()) != 1 ||
        SHA1_Final(digest.data(), &context) != 1)
        throwUnavailable();
    return digest;
}

Data sha1Digest(std::string_view bytes)
{
    const SHA1Digest digest = sha1DigestBytes(bytes);
    return Data{std::string(digest.begin(), digest.end())};
}

std::string sha1DigestHex(std::string_view bytes) { return hexText(sha1DigestBytes(bytes)); }

struct SHA256Stream::Context {
    std::unique_ptr<EVP_MD_CTX, ContextDeleter> digest{EVP_MD_CTX_new()};
};

SHA256Stream::SHA256Stream() : _context(std::make_unique<Context>())
{
    if (sha256() == nullptr || !_context->digest ||
        EVP_DigestInit_ex2(_context->digest.get(), sha256(), nullptr) != 1)
        throwUnavailable();
}

SHA256Stream::~SHA256Stream() = default;

void SHA256Stream::add(std::string_view bytes)
{
    if (EVP_DigestUpdate(_context->digest.get(), bytes.data(), bytes.size()) != 1)
        throwUnavailable();
}

std::string SHA256Stream::hexText()
{
    DigestBytes bytes;
    unsigned int length = 0;
    if (EVP_DigestFinal_ex(_context->digest.get(), bytes.data(), &length) != 1)
        throwUnavailable();
    return hexTextOf(bytes.data(), length);
}

std::string hexText(std::span<const std::uint8_t> bytes)
{
    return hexTextOf(bytes.data(), bytes.size());
}

}  // namespace kt
