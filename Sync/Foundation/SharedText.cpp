#include "Sync/Foundation/SharedText.h"

#include <atomic>
#include <cstring>
#include <new>

namespace kt {

/// The bytes follow behind it.
struct SharedText::Block {
    explicit Block(std::size_t textLength) : length(textLength) {}

    char* bytes() { return reinterpret_cast<char*>(this + 1); }

    std::atomic<std::size_t> owners{1};
    std::size_t length;
};

SharedText::SharedText(std::string_view text)
{
    if (text.size() <= kMostInside) {
        if (!text.empty())
            std::memcpy(_bytes.data(), text.data(), text.size());
        _bytes[kMostInside] = static_cast<char>(text.size());
        return;
    }
    auto* block = new (::operator new(sizeof(Block) + text.size())) Block(text.size());
    std::memcpy(block->bytes(), text.data(), text.size());
    std::memcpy(_bytes.data(), &block, sizeof block);
    _bytes[kMostInside] = static_cast<char>(kIsBlock);
}

std::string_view SharedText::view() const noexcept
{
    if (isBlock())
        return {block()->bytes(), block()->length};
    return {_bytes.data(), static_cast<unsigned char>(_bytes[kMostInside])};
}

SharedText::Block* SharedText::block() const noexcept
{
    Block* block = nullptr;
    std::memcpy(&block, _bytes.data(), sizeof block);
    return block;
}

void SharedText::shareBlock() noexcept { block()->owners.fetch_add(1, std::memory_order_relaxed); }

void SharedText::releaseBlock() noexcept
{
    Block* const held = block();
    if (held->owners.fetch_sub(1, std::memory_order_acq_rel) != 1)
        return;
    held->~Block();
    ::operator delete(held);
}

}  // namespace kt
