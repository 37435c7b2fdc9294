#include "Sync/Foundation/SharedText.h"

#include <new>

namespace kt {

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

void SharedText::releaseBlock() noexcept
{
    Block* const held = block();
    if (held->owners.fetch_sub(1, std::memory_order_acq_rel) != 1)
        return;
    held->~Block();
    ::operator delete(held);
}

}  // namespace kt
