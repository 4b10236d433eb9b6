#include "Conformance/Knobs.h"

#include "HostTool/Board/EntryArguments.h"

#include <cmath>
#include <rapidjson/document.h>

namespace Conformance {

std::string textOf( double value ) {
    std::string text = std::to_string( value );
    text.erase( text.find_last_not_of( '0' ) + 1 );
    return text.ends_with( '.' ) ? text.substr( 0, text.size() - 1 ) : text;
}

void requireValue( const Answer &answer, double wanted, double tolerance ) {
    const double value = valueOf( answer );
    require( std::fabs( value - wanted ) <= tolerance, answer.operation + ": " + textOf( value ) +
                                                           ", and the board has " +
                                                           textOf( wanted ) );
}

std::string chipOf( const Entry &entry ) {
    rapidjson::Document arguments;
    arguments.Parse( entry.arguments.c_str() );
    const bool isNamed =
        arguments.IsObject() && arguments.HasMember( "name" ) && arguments["name"].IsString();
    return isNamed ? arguments["name"].GetString() : entry.name;
}

std::string withoutEnding( const std::string &name, const std::string &ending ) {
    return name.ends_with( ending ) ? name.substr( 0, name.size() - ending.size() ) : "";
}

std::string numberOf( const Entry &entry, const char *key ) {
    const auto number = HostTool::driverNumber( entry, key );
    return number ? std::to_string( *number ) : "";
}

void Tried::requireAny() const {
    if ( count_ == 0 ) {
        throw Skipped( reason_.empty()
                           ? std::string( "the emulated board has no knobs of " ) + what_
                           : reason_ );
    }
}

} // namespace Conformance
