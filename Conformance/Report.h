#pragma once

#include "Conformance/Check.h"
#include "Conformance/Outcome.h"

#include <string>
#include <vector>

namespace Conformance {

/// A check that ran.
struct Result {
    Check check;
    Outcome outcome;
    long milliseconds;
};

/// One check as a line of the Test Anything Protocol, and why it failed below it.
std::string resultText( const Result &result, size_t number );
/// How many passed, failed and were skipped, as a comment of that protocol.
std::string summaryText( const std::vector<Result> &results );
std::string resultsJson( const std::vector<Result> &results, const std::string &library,
                         const std::string &board );

std::string listText( const Checks &checks );
std::string listJson( const Checks &checks );

bool conforms( const std::vector<Result> &results );

} // namespace Conformance
