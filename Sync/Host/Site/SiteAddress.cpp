#include "Sync/Host/Site/SiteAddress.h"

#include <algorithm>
#include <vector>

#include "Sync/Foundation/Text.h"
#include "Sync/Host/Publishing/PercentEncoding.h"
#include "Sync/Host/Publishing/PublicSite.h"
#include "Sync/Host/Site/StyleSheet.h"

namespace kt {

namespace {

constexpr std::size_t kLongestKey = 255;
constexpr std::string_view kFileEnding = ".ics";

using Result = SiteAddress::Result;

Result refused(SiteAddress::Refusal refusal) { return {std::nullopt, refusal}; }

/// False for an escape that is none.
bool readQuery(SiteAddress& address, std::string_view query)
{
    for (const std::string_view part : componentsSeparatedByString(query, "&")) {
        const std::size_t equals = part.find('=');
        const auto name = percentDecoded(part.substr(0, equals), Blank::plus);
        const auto value =
            percentDecoded(equals == std::string_view::npos ? "" : part.substr(equals + 1),
                           Blank::plus);
        if (!name || !value)
            return false;
        if (*name == "month" && !address.month)
            address.month = *value;
        if (*name == "zone" && !address.zone)
            address.zone = *value;
    }
    return true;
}

/// One part of a path that stands for a record key.
bool isKey(const std::string& key)
{
    return !key.empty() && key != "." && key != ".." && key.size() <= kLongestKey &&
           key.find('/') == std::string::npos;
}

Result calendarAddress(std::string_view encodedKey, SiteAddress address)
{
    if (encodedKey.find('/') != std::string_view::npos)
        return refused(SiteAddress::Refusal::unknown);
    auto key = percentDecoded(encodedKey, Blank::percent);
    if (!key)
        return refused(SiteAddress::Refusal::malformed);
    address.kind = SiteAddress::Kind::calendar;
    if (key->ends_with(kFileEnding)) {
        address.kind = SiteAddress::Kind::calendarFile;
        key->resize(key->size() - kFileEnding.size());
    }
    if (!isKey(*key))
        return refused(SiteAddress::Refusal::unknown);
    address.key = *key;
    return {std::move(address), {}};
}

bool hasPrefix(std::string_view text, std::string_view lowerCase)
{
    return text.size() >= lowerCase.size() &&
           std::equal(lowerCase.begin(), lowerCase.end(), text.begin(), [](char left, char right) {
               return left == (right >= 'A' && right <= 'Z' ? right - 'A' + 'a' : right);
           });
}

/// What follows "http://host", which a request may name as well (RFC 9112, 3.2.2); the target
/// itself where it begins with a path. Empty for anything else.
std::string withoutHost(std::string_view target)
{
    for (const std::string_view scheme : {"http://", "https://"}) {
        if (!hasPrefix(target, scheme))
            continue;
        target.remove_prefix(scheme.size());
        const std::size_t end = std::min(target.find_first_of("/?"), target.size());
        if (end == 0)
            return "";
        const std::string rest(target.substr(end));
        return rest.starts_with('/') ? rest : '/' + rest;
    }
    return std::string(target.starts_with('/') ? target : "");
}

}  // namespace

SiteAddress::Result SiteAddress::fromTarget(std::string_view requestTarget)
{
    const std::string whole = withoutHost(requestTarget);
    const std::string_view target = whole;
    if (target.empty())
        return refused(Refusal::malformed);
    const std::size_t mark = target.find('?');
    const std::string_view path = target.substr(0, mark);
    if (path.find('#') != std::string_view::npos || !percentDecoded(path, Blank::percent))
        return refused(Refusal::malformed);
    SiteAddress address;
    if (mark != std::string_view::npos && !readQuery(address, target.substr(mark + 1)))
        return refused(Refusal::malformed);
    const std::string folder = std::string(kListingPath) + '/';
    if (path.starts_with(folder) && path != folder)
        return calendarAddress(path.substr(folder.size()), std::move(address));
    if (path == kListingPath)
        address.kind = Kind::listing;
    else if (path == kStyleSheetPath)
        address.kind = Kind::styleSheet;
    else if (path == "/" || path == "/vl" || path == "/vl/" || path == folder)
        address.kind = Kind::root;
    else
        return refused(Refusal::unknown);
    return {std::move(address), {}};
}

}  // namespace kt
