#include "Sync/Foundation/Bundle.h"

#include <utility>

#include <dlfcn.h>

#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/PropertyList.h"

namespace kt {

namespace {

/// CFBundleExecutable, or the bundle's own name. It comes from outside and must not lead elsewhere.
std::string executableName(const std::string& bundlePath, const Dictionary& info)
{
    const Value& name = info["CFBundleExecutable"];
    if (name.isString() && isPlainPathComponent(name.string()))
        return std::string(name.string());
    const std::string folder = lastPathComponent(bundlePath);
    return folder.substr(0, folder.rfind('.'));
}

}  // namespace

std::shared_ptr<Bundle> Bundle::bundleWithPath(const std::string& path)
{
    std::optional<Dictionary> info = dictionaryWithContentsOfFile(path + "/Contents/Info.plist");
    if (!info)
        return nullptr;
    return std::shared_ptr<Bundle>(
        new Bundle(path, std::move(*info)));  // the constructor is private
}

Bundle::Bundle(std::string path, Dictionary info) : _path(std::move(path)), _info(std::move(info))
{}

Bundle::~Bundle()
{
    if (_handle != nullptr)
        ::dlclose(_handle);
}

std::string Bundle::executablePath() const
{
    return _path + "/Contents/Linux/" + executableName(_path, _info);
}

std::string Bundle::resourcePath() const { return _path + "/Contents/Resources"; }

std::optional<std::string> Bundle::pathForResource(const std::string& name) const
{
    std::string path = stringByAppendingPathComponent(resourcePath(), name);
    if (name.empty() || !FileManager::defaultManager().fileExistsAtPath(path))
        return std::nullopt;
    return path;
}

bool Bundle::load(std::string& error)
{
    if (_handle != nullptr)
        return true;
    _handle = ::dlopen(executablePath().c_str(), RTLD_NOW | RTLD_LOCAL);
    if (_handle != nullptr)
        return true;
    const char* words = ::dlerror();
    error = words == nullptr ? "" : words;
    return false;
}

void* Bundle::symbolNamed(const char* name) const
{
    return _handle == nullptr ? nullptr : ::dlsym(_handle, name);
}

}  // namespace kt
