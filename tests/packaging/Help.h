#pragma once

#include <set>
#include <string>

using Words = std::set<std::string>;

/// What a program's --help lists. Throws std::runtime_error when the program fails.
/// @param program its name in the build's bin/.
std::string helpOf( const std::string &program );

/// Options in a help text, with their dashes: words at the start of an indented line.
Words optionsIn( const std::string &help );

/// Those of them that take a value which has to be there.
Words optionsWithValueIn( const std::string &help );

/// Commands in a help text: first words of the lines below "Commands:".
Words commandsIn( const std::string &help );

std::string textOf( const std::string &path );
