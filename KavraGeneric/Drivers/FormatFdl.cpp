#include "KavraGeneric/Drivers/FormatFdl.h"

#include "KavraGeneric/Assert.h"
#include "KavraGeneric/HostServices.h"

#include <utility>

namespace Drivers {

static std::string placeholderOf( const std::string &key ) {
    return '{' + key + '}';
}

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

// A value that begins with the placeholder's end and ends with its beginning can feed on itself:
// "}}{key{key" in the template "{key}}" grows for ever. One that does only one of the two uses up a
// piece of the template with each placeholder that it completes.
bool FormatFdl::comesToAnEnd( const std::string &key, const std::string &value ) {
    const std::string placeholder = placeholderOf( key );
    bool beginsWithItsEnd = false;
    bool endsWithItsBeginning = false;
    for ( size_t length = 1; length < placeholder.size(); ++length ) {
        beginsWithItsEnd |= value.starts_with( placeholder.substr( length ) );
        endsWithItsBeginning |= value.ends_with( placeholder.substr( 0, length ) );
    }
    return value.find( placeholder ) == std::string::npos &&
           !( beginsWithItsEnd && endsWithItsBeginning );
}

} // namespace Drivers
