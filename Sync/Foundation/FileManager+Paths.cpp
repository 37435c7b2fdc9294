// Paths and names as strings.

#include <algorithm>

#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Text.h"

namespace kt {

namespace {

constexpr std::size_t kLongestComponent = 255;  // bytes, as file systems have it

/// Without the slashes at the end, except that of the root.
std::string_view withoutTrailingSlashes(std::string_view path)
{
    while (path.size() > 1 && path.ends_with('/'))
        path.remove_suffix(1);
    return path;
}

/// The value of a hexadecimal digit, or -1.
int hexValue(char digit)
{
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    if (digit >= 'a' && digit <= 'f')
        return digit - 'a' + 10;
    if (digit >= 'A' && digit <= 'F')
        return digit - 'A' + 10;
    return -1;
}

}  // namespace

std::string stringByAppendingPathComponent(std::string_view path, std::string_view component)
{
    component.remove_prefix(std::min(component.find_first_not_of('/'), component.size()));
    path = withoutTrailingSlashes(path);
    component = withoutTrailingSlashes(component);
    std::string joined;
    joined.reserve(path.size() + 1 + component.size());
    joined = path;
    if (component.empty())
        return joined;
    if (!joined.empty() && joined != "/")
        joined += '/';
    return joined.append(component);
}

std::string lastPathComponent(std::string_view path)
{
    path = withoutTrailingSlashes(path);
    if (path == "/")
        return "/";
    return std::string(path.substr(path.rfind('/') + 1));
}

std::string stringByDeletingLastPathComponent(std::string_view path)
{
    path = withoutTrailingSlashes(path);
    const std::size_t slash = path.rfind('/');
    if (slash == std::string_view::npos)
        return {};
    return std::string(withoutTrailingSlashes(path.substr(0, slash + 1)));
}

std::string pathExtension(std::string_view path)
{
    const std::string name = lastPathComponent(path);
    const std::size_t dot = name.rfind('.');
    if (dot == std::string::npos || dot == 0)
        return {};  // ".hidden" is a name
    return name.substr(dot + 1);
}

std::string stringByAppendingPathExtension(std::string_view path, std::string_view extension)
{
    return std::string(withoutTrailingSlashes(path)).append(".").append(extension);
}

std::vector<std::string> pathComponents(std::string_view path)
{
    std::vector<std::string> components;
    if (path.starts_with('/'))
        components.emplace_back("/");
    for (const std::string_view component : componentsSeparatedByString(path, "/"))
        if (!component.empty())
            components.emplace_back(component);
    return components;
}

bool isPlainPathComponent(std::string_view name)
{
    return !name.empty() && name != "." && name != ".." && name.size() <= kLongestComponent &&
           name.find_first_of(std::string_view("/\0", 2)) == std::string_view::npos;
}

std::optional<std::string> stringByReplacingPercentEscapes(std::string_view text)
{
    std::string replaced;
    replaced.reserve(text.size());
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (text[index] != '%') {
            replaced += text[index];
            continue;
        }
        if (text.size() - index < 3)
            return std::nullopt;
        const int high = hexValue(text[index + 1]);
        const int low = hexValue(text[index + 2]);
        if (high < 0 || low < 0)
            return std::nullopt;
        replaced += static_cast<char>(high * 16 + low);
        index += 2;
    }
    if (!isReadableUTF8(replaced))
        return std::nullopt;
    return replaced;
}

}  // namespace kt
