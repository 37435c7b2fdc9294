#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <utility>

namespace kt {

/// The text of a Value: immutable, 16 bytes, and one block of the heap at most, which copies share.
/// Up to 15 bytes stand in the object itself. A calendar of a hundred megabytes is held as a
/// million such texts: as std::string each would take 32 bytes, twice that for the copy in a
/// record, and a trip to the heap for either.
///
/// Copies may be used by different threads, one object may not.
class SharedText {
public:
    SharedText() noexcept = default;  // empty
    explicit SharedText(std::string_view text);
    SharedText(const SharedText& other) noexcept : _bytes(other._bytes)
    {
        if (isBlock())
            shareBlock();
    }
    SharedText(SharedText&& other) noexcept : _bytes(std::exchange(other._bytes, {})) {}
    SharedText& operator=(SharedText other) noexcept
    {
        std::swap(_bytes, other._bytes);
        return *this;
    }
    ~SharedText()
    {
        if (isBlock())
            releaseBlock();
    }

    /// Valid as long as this object stays where it is and as it is.
    std::string_view view() const noexcept
    {
        if (isBlock())
            return {block()->bytes(), block()->length};
        return {_bytes.data(), static_cast<unsigned char>(_bytes[kMostInside])};
    }

private:
    /// The bytes follow behind it.
    struct Block {
        explicit Block(std::size_t textLength) : length(textLength) {}

        char* bytes() { return reinterpret_cast<char*>(this + 1); }

        std::atomic<std::size_t> owners{1};
        std::size_t length;
    };
    static constexpr std::size_t kMostInside = 15;
    static constexpr unsigned char kIsBlock =
        0xFF;  // as last byte; else the length of what is inside

    bool isBlock() const noexcept { return _bytes[kMostInside] == static_cast<char>(kIsBlock); }
    Block* block() const noexcept
    {
        Block* block = nullptr;
        std::memcpy(&block, _bytes.data(), sizeof block);
        return block;
    }
    void shareBlock() noexcept { block()->owners.fetch_add(1, std::memory_order_relaxed); }
    void releaseBlock() noexcept;

    alignas(void*) std::array<char, kMostInside + 1> _bytes{};
};

}  // namespace kt
