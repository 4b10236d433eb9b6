#pragma once

#include <string_view>

/// A function a target: it eats one input and comes back, whatever the input is. What it must not
/// do ends the process: a report of a sanitizer, an exception, an assertion, a check of its own.
namespace Fuzz {

void topology( std::string_view input );
void deviceArguments( std::string_view input );
void insertDriverArg( std::string_view input );
void serverFrames( std::string_view input );
void getters( std::string_view input );
void drivers( std::string_view input );
void fruImage( std::string_view input );
void tlvImage( std::string_view input );
void manufacturerBlocks( std::string_view input );
void toolOutput( std::string_view input );
void simulationFile( std::string_view input );
void faultScript( std::string_view input );
void controlSocket( std::string_view input );
void recording( std::string_view input );
void linter( std::string_view input );

} // namespace Fuzz
