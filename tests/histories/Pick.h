#pragma once

#include <cstddef>

namespace kt::test {

/// One of them, whatever the number; null of none.
template <class List>
auto* pick(List& list, int which)
{
    return list.empty() ? nullptr : &list[static_cast<std::size_t>(which) % list.size()];
}

}  // namespace kt::test
