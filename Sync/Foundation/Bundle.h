#pragma once

#include <memory>
#include <optional>
#include <string>

#include "Sync/Foundation/Dictionary.h"

namespace kt {

/// A loadable bundle on disk: NAME.bundle/Contents/{Info.plist,Linux/EXECUTABLE,Resources/...}.
/// The executable is opened on demand and stays open as long as the object lives.
class Bundle {
public:
    /// Null when the folder or its Info.plist cannot be read.
    static std::shared_ptr<Bundle> bundleWithPath(const std::string& path);

    ~Bundle();
    Bundle(const Bundle&) = delete;
    Bundle& operator=(const Bundle&) = delete;

    const std::string& bundlePath() const { return _path; }
    const Dictionary& infoDictionary() const { return _info; }
    std::string executablePath() const;
    std::string resourcePath() const;
    /// Path of a file in the resource folder, or nullopt when it is not there.
    std::optional<std::string> pathForResource(const std::string& name) const;

    /// Opens the executable; false with the loader's words in `error`.
    bool load(std::string& error);
    /// An exported symbol of the loaded executable, or null.
    void* symbolNamed(const char* name) const;

private:
    Bundle(std::string path, Dictionary info);

    std::string _path;
    Dictionary _info;
    void* _handle = nullptr;
};

}  // namespace kt
