#include "Sync/Host/Engine/RecordPast.h"

#include <set>
#include <sstream>

namespace kt {

namespace {

constexpr std::size_t kDigits = 16;  // of a hash
constexpr std::size_t kMostFormer = 8;

std::string beginningOf(std::string_view hash)
{
    return std::string(hash.substr(0, kDigits)).append(" ");
}

}  // namespace

bool haveOtherOrigins(std::string_view one, std::string_view other)
{
    return !one.empty() && !other.empty() && one != other;
}

std::string joinedOrigins(std::string_view one, std::string_view other)
{
    if (one.empty() || other.empty())
        return "";
    std::set<std::string> all;
    for (const std::string_view origin : {one, other}) {
        std::istringstream words{std::string(origin)};
        for (std::string word; words >> word;)
            all.insert(word);
    }
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
