#pragma once

#include <memory>
#include <string>

namespace kt {

/// The configuration view's root; what is inside is the nib's business.
class View {
public:
    virtual ~View() = default;
};

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
