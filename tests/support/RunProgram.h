#pragma once

#include <string>
#include <string_view>
#include <vector>

struct ProgramResult {
    int status; ///< exit code, or minus the signal that ended it
    std::string out;
    std::string err;
};

/// Runs a program to its end and returns what it wrote.
/// @param command path and arguments; environment entries ("NAME=value") are added to our own.
ProgramResult runProgram( const std::vector<std::string> &command,
                          const std::vector<std::string> &environment = {} );
