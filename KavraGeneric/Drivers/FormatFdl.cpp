#include "KavraGeneric/Drivers/FormatFdl.h"

#include "KavraGeneric/Assert.h"
#include "KavraGeneric/HostServices.h"

#include <algorithm>
#include <utility>

namespace Drivers {

namespace {

// Of a fill that is tried out. Templates have a few hundred characters and a placeholder or two.
constexpr int mostReplacements = 1000;
constexpr size_t mostGrowth = 256 << 10;

std::string placeholderOf( const std::string &key ) {
    return '{' + key + '}';
}

// A shorter value uses up the text. Of the longer ones "}}{key{key" in the template "{key}}" grows
// for ever: it begins with the placeholder's end and ends with its beginning. One that does only
// one of the two uses up a brace of the template with each placeholder that it completes.
bool mayFeedOnItself( const std::string &placeholder, const std::string &value ) {
    if ( value.size() < placeholder.size() ) {
        return false;
    }
    bool beginsWithItsEnd = false;
    bool endsWithItsBeginning = false;
    for ( size_t length = 1; length < placeholder.size(); ++length ) {
        beginsWithItsEnd |= value.starts_with( placeholder.substr( length ) );
        endsWithItsBeginning |= value.ends_with( placeholder.substr( 0, length ) );
    }
    return beginsWithItsEnd && endsWithItsBeginning;
}

// A placeholder is replaced where it comes first: in front of it there can be no other afterwards
// but one that the value completes, so the search need not begin at the start again.
bool trialEnds( const std::string &original, const std::string &placeholder,
                const std::string &value ) {
    std::string text = original;
    size_t found = text.find( placeholder );
    for ( int replacements = 0; found != std::string::npos; ++replacements ) {
        if ( replacements == mostReplacements || text.size() > original.size() + mostGrowth ) {
            return false;
        }
        text.replace( found, placeholder.size(), value );
        found = text.find( placeholder, found - std::min( found, placeholder.size() ) );
    }
    return true;
}

} // namespace

FormatFdl::FormatFdl( std::string text ) : template_( std::move( text ) ) {}

void FormatFdl::start() {
    text_ = template_;
    active_ = true;
}

bool FormatFdl::set( std::string key, std::string value ) {
    pl_trace( 5, "FormatFdl::set( '%s', '%s' )", key.c_str(), value.c_str() );
    assert( active_ && "FormatFdl: Must call start() before set(...)" );
    const std::string placeholder = placeholderOf( key );
    size_t found = text_.find( placeholder );
    if ( found == std::string::npos ) {
        pl_trace( 0, "Error: FormatFdl::set -- invalid key '%s'", placeholder.c_str() );
        assert( 0 && "Invalid key in FormatFdl::set" );
    }
    while ( found != std::string::npos ) {
        text_.replace( found, placeholder.size(), value );
        found = text_.find( placeholder );
    }
    return true;
}

const char *FormatFdl::charPtr() {
    assert( active_ && "FormatFdl: Must call start() before charPtr()" );
    active_ = false;
    return text_.c_str();
}

std::string FormatFdl::str() {
    assert( active_ && "FormatFdl: Must call start() before str()" );
    active_ = false;
    return text_;
}

bool FormatFdl::comesToAnEnd( const std::string &key, const std::string &value ) const {
    const std::string placeholder = placeholderOf( key );
    if ( template_.find( placeholder ) == std::string::npos ) {
        return true; // set() says what it thinks of that
    }
    if ( value.find( placeholder ) != std::string::npos ) {
        return false;
    }
    return !mayFeedOnItself( placeholder, value ) || trialEnds( template_, placeholder, value );
}

} // namespace Drivers
