#pragma once

#include "tests/support/FakeHost.h"

#include <string>

/// What the library traced since the host was reset, as text: "trace LEVEL: TEXT" on a line each.
inline std::string tracesOfLibrary() {
    std::string text;
    for ( const FakeHost::Line &line : FakeHost::get().lines ) {
        text += "trace " + std::to_string( line.level ) + ": " + line.text + "\n";
    }
    return text;
}
