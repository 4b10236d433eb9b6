#include "SmbusServer/Recording.h"

#include "SmbusServer/EntryText.h"
#include "SmbusServer/Log.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <string_view>
#include <sys/stat.h>

namespace SmbusServer {

constexpr std::string_view mark = "kavra-smbusd recording 1\n";
// A frame and its answer, 1 MiB each, and what is said about them.
constexpr size_t longestEntry = 4 << 20;

RecordingReader::RecordingReader( const std::string &path )
    : path_( path ), file_( path, std::ios::binary ) {
    if ( !file_ ) {
        throw RecordingError( path + ": cannot be read: " + strerror( errno ) );
    }
    std::string start( mark.size(), '\0' );
    if ( !file_.read( start.data(), static_cast<std::streamsize>( start.size() ) ) ||
         start != mark ) {
        throw RecordingError( path + ": no recording" );
    }
    goodBytes_ = mark.size();
}

// Seven bits a byte, the lowest first; the high bit is set on all but the last.
static std::optional<size_t> readLength( std::ifstream &file, size_t &taken ) {
    constexpr int longest = 4;
    size_t length = 0;
    for ( int i = 0; i < longest; ++i ) {
        const int byte = file.get();
        if ( byte == std::ifstream::traits_type::eof() ) {
            return std::nullopt;
        }
        ++taken;
        length |= static_cast<size_t>( byte & 0x7f ) << ( 7 * i );
        if ( byte < 0x80 ) {
            return length;
        }
    }
    return SIZE_MAX;
}

bool RecordingReader::next( Recording::Entry &entry ) {
    const std::string where = path_ + ": entry " + std::to_string( count_ + 1 );
    size_t taken = 0;
    const std::optional<size_t> length = readLength( file_, taken );
    if ( !length ) {
        cutOff_ = taken > 0;
        return false;
    }
    if ( *length > longestEntry ) {
        throw RecordingError( where + " is longer than an entry can be" );
    }
    std::string bytes( *length, '\0' );
    if ( !file_.read( bytes.data(), static_cast<std::streamsize>( bytes.size() ) ) ) {
        cutOff_ = true;
        return false;
    }
    if ( !entry.ParseFromString( bytes ) ) {
        throw RecordingError( where + " cannot be understood" );
    }
    goodBytes_ += taken + *length;
    ++count_;
    return true;
}

// @return where to go on writing.
static size_t endOfRecording( const std::string &path ) {
    RecordingReader reader( path );
    Recording::Entry entry;
    while ( reader.next( entry ) ) {
    }
    return reader.goodBytes();
}

static bool writeAll( int fd, std::string_view bytes ) {
    return write( fd, bytes.data(), bytes.size() ) == static_cast<ssize_t>( bytes.size() );
}

RecordingWriter::RecordingWriter( const std::string &path )
    : path_( path ), file_( open( path.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC, 0640 ) ) {
    struct stat status = {};
    if ( !file_.valid() || fstat( file_.get(), &status ) != 0 ) {
        throw RecordingError( path + ": cannot be written: " + strerror( errno ) );
    }
    if ( !S_ISREG( status.st_mode ) ) {
        throw RecordingError( path + ": not a file" );
    }
    const bool fits =
        status.st_size == 0
            ? writeAll( file_.get(), mark )
            : ftruncate( file_.get(), static_cast<off_t>( endOfRecording( path ) ) ) == 0;
    if ( !fits ) {
        throw RecordingError( path + ": cannot be written: " + strerror( errno ) );
    }
}

void RecordingWriter::write( const Recording::Entry &entry ) {
    if ( !file_.valid() ) {
        return;
    }
    const size_t length = entry.ByteSizeLong();
    if ( length > longestEntry ) {
        stop( "an entry is too long" );
        return;
    }
    buffer_.clear();
    size_t left = length;
    for ( ; left >= 0x80; left >>= 7 ) {
        buffer_ += static_cast<char>( left | 0x80 );
    }
    buffer_ += static_cast<char>( left );
    entry.AppendToString( &buffer_ );
    const off_t end = lseek( file_.get(), 0, SEEK_END );
    if ( !writeAll( file_.get(), buffer_ ) ) {
        const int reason = errno;
        if ( ftruncate( file_.get(), end ) != 0 ) {
            logEvent( "%s: its last entry is not whole", path_.c_str() );
        }
        stop( strerror( reason ) );
    }
}

void RecordingWriter::stop( const char *reason ) {
    logEvent( "%s: recording stops: %s", path_.c_str(), reason );
    file_ = Descriptor();
}

void printRecording( const std::string &path ) {
    RecordingReader reader( path );
    Recording::Entry entry;
    while ( reader.next( entry ) ) {
        puts( entryText( entry ).c_str() );
    }
    if ( reader.cutOff() ) {
        logEvent( "%s: cut off in entry %zu", path.c_str(), reader.count() + 1 );
    }
}

} // namespace SmbusServer
