#pragma once

#include <cstddef>

namespace HostTool {

/// True when an operation table is long enough to have a slot, and the slot is not empty.
template <class Ops, class Slot>
bool provides( const Ops *ops, Slot Ops::*slot ) {
    const auto start = reinterpret_cast<const char *>( ops );
    const auto end = reinterpret_cast<const char *>( &( ops->*slot ) + 1 );
    return end - start <= static_cast<std::ptrdiff_t>( ops->size ) && ops->*slot != nullptr;
}

} // namespace HostTool
