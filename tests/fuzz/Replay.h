#pragma once

#include <ostream>
#include <span>
#include <string_view>

/// A fuzzing target, by the folder of its inputs.
struct ReplayTarget {
    const char *name;
    void ( *eat )( std::string_view input );

    friend void PrintTo( const ReplayTarget &target, std::ostream *out ) { *out << target.name; }
};

/// Those of this program.
std::span<const ReplayTarget> replayTargets();
