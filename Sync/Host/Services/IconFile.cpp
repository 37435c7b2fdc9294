#include "Sync/Host/Services/IconFile.h"

#include <cstddef>

namespace kt {

namespace {

constexpr std::size_t kHeaderLength = 8;  // of the file and of each entry: four letters, a length
constexpr std::string_view kPngSignature = "\x89PNG\r\n\x1a\n";

std::size_t lengthInHeader(std::string_view header)
{
    std::size_t length = 0;
    for (const char byte : header.substr(4, 4))
        length = length << 8 | static_cast<unsigned char>(byte);
    return length;
}

}  // namespace

std::vector<std::string_view> pngPicturesOfIcon(std::string_view icon)
{
    std::vector<std::string_view> pictures;
    if (icon.size() < kHeaderLength || !icon.starts_with("icns"))
        return pictures;
    icon.remove_prefix(kHeaderLength);
    while (icon.size() >= kHeaderLength) {
        const std::size_t length = lengthInHeader(icon);
        if (length < kHeaderLength || length > icon.size())
            break;
        const auto picture = icon.substr(kHeaderLength, length - kHeaderLength);
        if (picture.starts_with(kPngSignature))
            pictures.push_back(picture);
        icon.remove_prefix(length);
    }
    return pictures;
}

}  // namespace kt
