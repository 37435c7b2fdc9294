#pragma once

#include <algorithm>
#include <cstddef>

#include "Sync/Foundation/KeyedArchive.h"
#include "Sync/Foundation/Value.h"

namespace kt {

/// Property lists and archives store an object once and refer to it as often as they like, so a
/// small file can stand for any amount of values. This bounds what a reader makes of one: what the
/// result holds when everything is counted as often as it is used, and what has been put together
/// on the way there. What a file may unfold to grows with the file; small ones have some room.
class UnfoldingBudget {
public:
    static constexpr std::size_t kElementSize = 64;    // bytes, about those of a value
    static constexpr std::size_t kLeast = 64U << 20U;  // bytes, whatever the file's size
    static constexpr std::size_t kBytesForEachByteOfInput = 32;

    /// For a file of that size in bytes.
    explicit UnfoldingBudget(std::size_t inputSize) : _limit(limit(inputSize)) {}

    static std::size_t limit(std::size_t inputSize)
    {
        return std::max(kLeast, inputSize * kBytesForEachByteOfInput);
    }
    /// Bytes of a value by itself, without the elements of a container.
    static std::size_t sizeOf(const Value& value)
    {
        if (value.isString())
            return kElementSize + value.string().size();
        if (const auto url = value.objectOfClass<URL>())
            return kElementSize + url->description().size();
        return kElementSize + (value.isData() ? value.data().bytes.size() : 0);
    }

    /// Whether a value may be as large as that.
    bool admits(std::size_t size) const { return size <= _limit; }
    /// Counts one more place that holds the value; false beyond the limit.
    bool hold(const Value& value)
    {
        _held += sizeOf(value);
        return admits(_held);
    }

private:
    std::size_t _limit;
    std::size_t _held = 0;
};

}  // namespace kt
