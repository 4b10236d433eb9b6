#include "tests/soak/SimulatedFile.h"

#include "tests/soak/WholeFile.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>
#include <utility>

namespace Soak {

static std::string digits( unsigned value, size_t width ) {
    std::array<char, 16> text;
    snprintf( text.data(), text.size(), "%0*x", static_cast<int>( width ), value );
    return text.data();
}

SimulatedFile::SimulatedFile( std::string path, const std::vector<SimulatedField> &fields )
    : path_( std::move( path ) ), content_( contentOf( path_ ) ) {
    size_t offset = 0;
    for ( const SimulatedField &field : fields ) {
        places_[field.reg] = { offset, field.width };
        offset += field.width;
    }
    if ( content_.size() != offset + 1 ) {
        throw std::runtime_error( path_ + " has not the fields that it should" );
    }
}

void SimulatedFile::put( unsigned reg, const std::string &text ) {
    content_.replace( places_.at( reg ).offset, text.size(), text );
}

void SimulatedFile::write( unsigned reg, const std::string &text ) {
    const int fd = open( path_.c_str(), O_RDWR | O_CLOEXEC );
    struct flock whole = {};
    whole.l_type = F_WRLCK;
    whole.l_whence = SEEK_SET;
    const auto offset = static_cast<off_t>( places_.at( reg ).offset );
    const bool done =
        fcntl( fd, F_SETLKW, &whole ) == 0 &&
        pwrite( fd, text.data(), text.size(), offset ) == static_cast<ssize_t>( text.size() );
    const int error = errno;
    close( fd ); // lets go of the lock
    if ( !done ) {
        throw std::runtime_error( path_ + ": " + strerror( error ) );
    }
    put( reg, text );
}

void SimulatedFile::writeNumber( unsigned reg, unsigned value ) {
    write( reg, digits( value, places_.at( reg ).width ) );
}

bool SimulatedFile::written( unsigned reg, unsigned value, size_t width ) {
    if ( places_.at( reg ).width != width ) {
        return false;
    }
    put( reg, digits( value, width ) );
    return true;
}

std::string SimulatedFile::text( unsigned reg ) const {
    const Place &place = places_.at( reg );
    return content_.substr( place.offset, place.width );
}

unsigned SimulatedFile::number( unsigned reg ) const {
    return static_cast<unsigned>( strtoul( text( reg ).c_str(), nullptr, 16 ) );
}

bool SimulatedFile::isRight() const {
    return contentOf( path_ ) == content_;
}

} // namespace Soak
