#include "tests/soak/World.h"

#include <array>
#include <charconv>
#include <sstream>

namespace Soak {

void World::set( const std::string &knob, const std::string &value ) {
    queued_.push_back( "set " + knob + " " + value );
    turned_[knob] = value;
    ++turns_;
}

void World::setNumber( const std::string &knob, double value ) {
    std::array<char, 64> text;
    const auto end = std::to_chars( text.data(), text.data() + text.size(), value );
    set( knob, std::string( text.data(), end.ptr ) );
}

void World::send() {
    if ( !queued_.empty() ) {
        control_.ask( queued_ );
        queued_.clear();
    }
}

std::string World::get( const std::string &knob ) {
    std::string value = control_.ask( "get " + knob );
    value.pop_back();
    return value;
}

std::string World::differences() {
    std::istringstream list( control_.ask( "list" ) );
    std::string found;
    std::map<std::string, std::string> missing = turned_;
    for ( std::string line; std::getline( list, line ); ) {
        std::istringstream words( line );
        std::string knob;
        std::string value;
        words >> knob >> value;
        const auto turned = turned_.find( knob );
        missing.erase( knob );
        if ( turned != turned_.end() && turned->second != value ) {
            found += ( found.empty() ? "" : ", " ) + knob + " is " + value + " and was set to " +
                     turned->second;
        }
    }
    for ( const auto &[knob, value] : missing ) {
        found += ( found.empty() ? "" : ", " ) + knob + " is not there and was set to " + value;
    }
    return found;
}

} // namespace Soak
