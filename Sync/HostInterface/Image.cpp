#include "Sync/HostInterface/Image.h"

#include "Sync/Foundation/FileManager.h"

namespace kt {

std::shared_ptr<Image> Image::imageWithContentsOfFile(const std::string& path)
{
    auto contents = FileManager::defaultManager().contentsAtPath(path);
    return contents ? std::make_shared<Image>(std::move(*contents)) : nullptr;
}

}  // namespace kt
