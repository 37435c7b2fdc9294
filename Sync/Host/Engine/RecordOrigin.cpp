#include "Sync/Host/Engine/RecordOrigin.h"

#include <set>
#include <sstream>

namespace kt {

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

}  // namespace kt
