#pragma once

#include "tests/faults/Faults.h"

#include <string>
#include <string_view>

/// What a call may come to when something of a kind fails in it.
/// @param type as Operation has it
/// @param usual the outcome without a fault
bool isAllowed( std::string_view type, Faults::Kind kind, std::string_view outcome,
                std::string_view usual );

/// When a call comes to status 0, the board is what the call makes of it, also with a fault met.
bool settlesTheBoard( std::string_view type );

/// The functions that code is of, a line each, the innermost first.
std::string functionsAt( const void *code );

/// The functions of rapidjson that do not look at what an allocation gave them.
/// @param caller the code behind the allocation's call
/// @return the function's name when it is one of these; empty: it is not.
std::string ofRapidjson( const void *caller );
