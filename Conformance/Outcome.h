#pragma once

#include <stdexcept>
#include <string>

namespace Conformance {

/// The library does not conform; the text says what was seen.
class Broken : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The board has nothing that a check could be tried on; the text says what is missing.
class Skipped : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The emulated board's server does not answer. The library is not to blame.
class ServerGone : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

enum class Verdict { passed, failed, skipped };

struct Outcome {
    Verdict verdict;
    std::string text;         ///< why; empty for what passed
    bool worldIsAsDocumented; ///< the check left the emulated board as its document describes it
    bool isServerGone;        ///< nothing was judged
};

/// @throw Broken with the text unless the condition holds.
inline void require( bool condition, const std::string &text ) {
    if ( !condition ) {
        throw Broken( text );
    }
}

} // namespace Conformance
