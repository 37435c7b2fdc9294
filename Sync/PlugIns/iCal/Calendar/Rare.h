#pragma once

#include <memory>
#include <optional>
#include <utility>

namespace kt {

/// What std::optional is, for what most items of a calendar lack: it takes eight bytes in an item,
/// where an optional takes the room of the thing itself.
template <class T>
class Rare {
public:
    Rare() = default;
    Rare(std::nullopt_t) {}
    Rare(T content) : _content(std::make_unique<T>(std::move(content))) {}

    bool has_value() const { return _content != nullptr; }
    explicit operator bool() const { return has_value(); }
    T& operator*() { return *_content; }
    const T& operator*() const { return *_content; }
    T* operator->() { return _content.get(); }
    const T* operator->() const { return _content.get(); }

    /// A new one, made of nothing, in place of what there was.
    T& emplace() { return *(_content = std::make_unique<T>()); }
    /// What there is; made of nothing when there was nothing.
    T& valueOrNew() { return _content ? *_content : emplace(); }

    friend bool operator==(const Rare& left, const T& right) { return left && *left == right; }

private:
    std::unique_ptr<T> _content;
};

}  // namespace kt
