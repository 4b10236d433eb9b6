#pragma once

#include <string>
#include <vector>

namespace Conformance {

/// A name that a shared library offers or wants.
struct DynamicSymbol {
    std::string name;
    bool isDefined;
    bool isWeak;
    bool isFunction;
};

/// What stands in a shared library's file, without it being loaded.
struct ElfFile {
    std::vector<DynamicSymbol> symbols;
    bool bindsNow; ///< all symbols are bound when it is loaded
};

/// @throw Broken when the file is no 64-bit shared library of this machine's byte order.
ElfFile readElf( const std::string &path );

} // namespace Conformance
