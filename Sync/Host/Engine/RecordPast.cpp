#include "Sync/Host/Engine/RecordPast.h"

#include <algorithm>
#include <set>
#include <sstream>

#include "Sync/Foundation/Digest.h"
#include "Sync/Host/Engine/IdentityPairing.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

namespace {

constexpr std::string_view kIdentity = "id-";
constexpr std::size_t kDigits = 16;  // of a hash
constexpr std::size_t kMostFormer = 8;

std::string beginningOf(std::string_view hash)
{
    return std::string(hash.substr(0, kDigits)).append(" ");
}

}  // namespace

std::set<std::string> originsIn(std::string_view origins)
{
    std::set<std::string> words;
    std::istringstream stream{std::string(origins)};
    for (std::string word; stream >> word;)
        words.insert(word);
    return words;
}

std::string originOfIdentity(std::string_view conduit, const StorePlace& place)
{
    const std::string identity =
        conduit == kConduitCalendar ? std::string() : identityOf(conduit, place);
    return identity.empty() ? identity : std::string(kIdentity) + sha1DigestHex(identity);
}

std::string originOf(std::string_view conduit, const StorePlace& place, const std::string& hash)
{
    const std::string identity = originOfIdentity(conduit, place);
    return identity.empty() ? hash : identity;
}

bool haveOtherOrigins(std::string_view one, std::string_view other)
{
    return !one.empty() && !other.empty() && one != other;
}

bool hasOrigin(std::string_view origins, std::string_view origin)
{
    return !origin.empty() && originsIn(origins).count(std::string(origin)) != 0;
}

bool excludesIdentity(std::string_view origins, std::string_view identity)
{
    if (identity.empty())
        return false;
    const std::set<std::string> words = originsIn(origins);
    return !words.empty() && words.count(std::string(identity)) == 0 &&
           std::all_of(words.begin(), words.end(),
                       [](const std::string& word) { return word.starts_with(kIdentity); });
}

std::string joinedOrigins(std::string_view one, std::string_view other)
{
    if (one.empty() || other.empty())
        return "";
    std::set<std::string> all = originsIn(one);
    all.merge(originsIn(other));
    std::string joined;
    for (const std::string& each : all)
        joined += (joined.empty() ? "" : " ") + each;
    return joined;
}

bool wasFormerly(std::string_view former, std::string_view hash)
{
    return hash.size() >= kDigits && former.find(beginningOf(hash)) != std::string_view::npos;
}

std::string formerOf(std::string_view hash, std::string_view former)
{
    std::string all = wasFormerly(former, hash) ? "" : beginningOf(hash);
    all.append(former);
    return all.substr(0, kMostFormer * (kDigits + 1));
}

}  // namespace kt
