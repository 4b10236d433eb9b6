#pragma once

#include <string>
#include <vector>

/// The dynamic symbols of the built library, as `nm` lists them.
namespace Symbols {

struct Symbol {
    char kind; ///< nm's letter: T, D, B, R strong, W and V weak, U and w missing
    std::string name;
};

std::vector<Symbol> exported();
std::vector<Symbol> imported();
/// What scripts/exports prints for the library.
std::vector<std::string> strongExportsForPeople();
/// What scripts/imports prints for the folder that the library lies in.
std::vector<std::string> importsForPeople();
std::vector<std::string> linesOfFile( const std::string &path );

} // namespace Symbols
