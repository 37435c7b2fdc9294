#pragma once

#include <memory>
#include <string>
#include <utility>

namespace kt {

/// An image loaded from a file.
class Image {
public:
    explicit Image(std::string contents) : _contents(std::move(contents)) {}

    /// initWithContentsOfFile: null when the file cannot be read.
    static std::shared_ptr<Image> imageWithContentsOfFile(const std::string& path);

    /// The file's bytes.
    const std::string& contents() const { return _contents; }

private:
    std::string _contents;
};

}  // namespace kt
