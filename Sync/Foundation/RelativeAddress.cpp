#include "Sync/Foundation/RelativeAddress.h"

#include <algorithm>
#include <optional>

namespace kt {

namespace {

/// The parts of an address without the characters that set them apart. A part that is there and
/// empty differs from one that is not there; a path always is.
struct Parts {
    std::optional<std::string_view> scheme;
    std::optional<std::string_view> authority;
    std::string_view path;
    std::optional<std::string_view> query;
    std::optional<std::string_view> fragment;
};

bool isLetter(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

// scheme = ALPHA *( ALPHA / DIGIT / "+" / "-" / "." )
bool isScheme(std::string_view text)
{
    return !text.empty() && isLetter(text.front()) &&
           std::all_of(text.begin(), text.end(), [](char character) {
               return isLetter(character) ||
                      std::string_view("0123456789+-.").find(character) != std::string_view::npos;
           });
}

/// Cuts the text off at the first of the characters and returns what stood in front of it.
std::string_view takeUpTo(std::string_view& text, std::string_view characters)
{
    const std::size_t end = std::min(text.find_first_of(characters), text.size());
    const std::string_view taken = text.substr(0, end);
    text.remove_prefix(end);
    return taken;
}

// address = [scheme ":"] ["//" authority] path ["?" query] ["#" fragment]
Parts partsOf(std::string_view address)
{
    Parts parts;
    const std::size_t colon = address.find(':');
    if (colon != std::string_view::npos && isScheme(address.substr(0, colon))) {
        parts.scheme = address.substr(0, colon);
        address.remove_prefix(colon + 1);
    }
    if (address.starts_with("//")) {
        address.remove_prefix(2);
        parts.authority = takeUpTo(address, "/?#");
    }
    parts.path = takeUpTo(address, "?#");
    if (address.starts_with('?')) {
        address.remove_prefix(1);
        parts.query = takeUpTo(address, "#");
    }
    if (address.starts_with('#'))
        parts.fragment = address.substr(1);
    return parts;
}

/// RFC 3986, 5.2.4.
std::string withoutDotSegments(std::string_view path)
{
    std::string result;
    const auto dropLastSegment = [&] {
        const std::size_t slash = result.rfind('/');
        result.resize(slash == std::string::npos ? 0 : slash);
    };
    while (!path.empty()) {
        if (path.starts_with("../"))
            path.remove_prefix(3);
        else if (path.starts_with("./") || path.starts_with("/./"))
            path.remove_prefix(2);
        else if (path == "/.")
            path = "/";
        else if (path.starts_with("/../") || path == "/..") {
            path = path.size() == 3 ? "/" : path.substr(3);
            dropLastSegment();
        } else if (path == "." || path == "..")
            path = {};
        else {
            const std::size_t end = std::min(path.find('/', 1), path.size());
            result += path.substr(0, end);
            path.remove_prefix(end);
        }
    }
    return result;
}

/// RFC 3986, 5.2.3: the reference's path in the place of the base's last segment.
std::string mergedPath(const Parts& base, std::string_view path)
{
    std::string merged;
    if (base.authority && base.path.empty())
        merged = "/";
    else
        merged = base.path.substr(0, base.path.rfind('/') + 1);
    return merged.append(path);
}

// RFC 3986, 5.3.
std::string composed(const Parts& parts)
{
    std::string address;
    if (parts.scheme)
        address.append(*parts.scheme).append(":");
    if (parts.authority)
        address.append("//").append(*parts.authority);
    address.append(parts.path);
    if (parts.query)
        address.append("?").append(*parts.query);
    if (parts.fragment)
        address.append("#").append(*parts.fragment);
    return address;
}

}  // namespace

std::string resolvedAddress(std::string_view base, std::string_view reference)
{
    const Parts from = partsOf(base);
    const Parts parts = partsOf(reference);
    if (!from.scheme)
        return std::string(reference);

    Parts target = parts;
    std::string path;
    if (parts.scheme || parts.authority || parts.path.starts_with('/'))
        path = withoutDotSegments(parts.path);
    else if (parts.path.empty())
        path = from.path;
    else
        path = withoutDotSegments(mergedPath(from, parts.path));
    target.path = path;
    if (!parts.scheme) {
        target.scheme = from.scheme;
        if (!parts.authority) {
            target.authority = from.authority;
            if (parts.path.empty() && !parts.query)
                target.query = from.query;
        }
    }
    return composed(target);
}

}  // namespace kt
