// What a library in another's process must leave as it was.
#pragma once

#include <cstddef>
#include <map>

namespace Conformance {

/// Threads of this process.
size_t threads();

/// What the process does with a signal.
struct Disposition {
    void ( *handler )( int );
    int flags; ///< sa_flags
    bool isBlocked;
    bool operator==( const Disposition & ) const = default;
};

/// Of each signal, by its number.
std::map<int, Disposition> dispositions();

} // namespace Conformance
