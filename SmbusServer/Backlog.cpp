#include "SmbusServer/Backlog.h"

#include <algorithm>

namespace SmbusServer {

void Backlog::holds( Holder &holder, size_t bytes ) {
    if ( bytes == 0 ) {
        forget( holder );
        return;
    }
    const auto known = std::find_if( entries_.begin(), entries_.end(),
                                     [&]( const Entry &each ) { return each.holder == &holder; } );
    Entry &entry = known != entries_.end() ? *known : entries_.emplace_back( Entry{ &holder, 0 } );
    bytes_ += bytes - entry.bytes;
    entry.bytes = bytes;
    while ( bytes_ > limit ) {
        Holder &oldest = *entries_.front().holder;
        forget( oldest );
        oldest.evict();
    }
}

void Backlog::forget( Holder &holder ) {
    std::erase_if( entries_, [&]( const Entry &each ) {
        const bool is = each.holder == &holder;
        bytes_ -= is ? each.bytes : 0;
        return is;
    } );
}

} // namespace SmbusServer
