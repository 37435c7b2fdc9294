#include "Sync/Host/Engine/LoadDigest.h"

#include <array>
#include <cstdint>
#include <new>

#include <xxhash.h>

#include "Sync/Foundation/Digest.h"
#include "Sync/Host/Server/RandomIdentifier.h"

namespace kt {

namespace {

constexpr std::string_view kKind = "xxh3 ";
constexpr char kBehindKey = ' ';
constexpr std::size_t kSecretSize = 192;  // bytes, as many as the library's own

/// Empty for a text of another kind.
std::string_view keyIn(std::string_view text)
{
    if (!text.starts_with(kKind))
        return {};
    text.remove_prefix(kKind.size());
    const std::size_t end = text.find(kBehindKey);
    return end == std::string_view::npos ? std::string_view() : text.substr(0, end);
}

/// As random as the key, in each of its bytes.
std::string secretOf(const std::string& key)
{
    std::string secret;
    for (char part = 'a'; secret.size() < kSecretSize; ++part)
        secret += sha256Digest(key + part).bytes;
    return secret;
}

}  // namespace

struct LoadDigest::State {
    explicit State(const std::string& key) : secret(secretOf(key))
    {
        if (!stream ||
            XXH3_128bits_reset_withSecret(stream.get(), secret.data(), secret.size()) != XXH_OK)
            throw std::bad_alloc();
    }

    struct Deleter {
        void operator()(XXH3_state_t* state) const { XXH3_freeState(state); }
    };
    const std::string secret;  // which the stream refers to
    const std::unique_ptr<XXH3_state_t, Deleter> stream{XXH3_createState()};
};

LoadDigest::LoadDigest(std::string_view earlier) : _key(keyIn(earlier))
{
    if (_key.empty())
        _key = randomIdentifier();
    _state = std::make_unique<State>(_key);
}

LoadDigest::~LoadDigest() = default;

void LoadDigest::add(std::string_view text)
{
    const std::uint64_t size = text.size();
    XXH3_128bits_update(_state->stream.get(), &size, sizeof size);
    XXH3_128bits_update(_state->stream.get(), text.data(), text.size());
}

void LoadDigest::add(const KTSyncRecord& record, std::string_view hash,
                     const HostIdentityReport::View& identity)
{
    add(record.conduit());
    add(record.recordKey());
    add(record.recordParentKey() ? std::string_view(*record.recordParentKey()) : "");
    add(hash);
    add(identity.uid);
    add(identity.recurrenceId);
    add(identity.sourceKey);
    add(identity.folder);
    add(identity.name);
}

std::string LoadDigest::text() const
{
    XXH128_canonical_t bytes;
    XXH128_canonicalFromHash(&bytes, XXH3_128bits_digest(_state->stream.get()));
    return std::string(kKind) + _key + kBehindKey + hexText(bytes.digest);
}

}  // namespace kt
