#include "SmbusServer/Recording.h"

#include "SmbusServer/EntryJson.h"
#include "SmbusServer/EntryText.h"
#include "SmbusServer/Log.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace SmbusServer {

constexpr std::string_view mark = "kavra-smbusd recording 1\n";
// A frame and its answer, 1 MiB each, and what is said about them.
constexpr size_t longestEntry = 4 << 20;

// A stream opens a folder too and then reads nothing.
static int reasonNotToRead( const std::string &path, const std::ifstream &file ) {
    struct stat status = {};
    if ( !file ) {
        return errno;
    }
    return stat( path.c_str(), &status ) == 0 && S_ISDIR( status.st_mode ) ? EISDIR : 0;
}

RecordingReader::RecordingReader( const std::string &path )
    : path_( path ), file_( path, std::ios::binary ) {
    if ( const int reason = reasonNotToRead( path, file_ ) ) {
        throw RecordingError( path + ": cannot be read: " + strerror( reason ) );
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

// What a full disk has no room for is told by the call behind the one that it cut short.
// @return 0, or why not all was written.
static int writeAll( int fd, std::string_view bytes ) {
    while ( !bytes.empty() ) {
        const ssize_t count = write( fd, bytes.data(), bytes.size() );
        if ( count < 0 && errno != EINTR ) {
            return errno;
        }
        bytes.remove_prefix( static_cast<size_t>( std::max( count, ssize_t{ 0 } ) ) );
    }
    return 0;
}

static RecordingError cannotBeWritten( const std::string &path, int reason ) {
    return RecordingError( path + ": cannot be written: " + strerror( reason ) );
}

// @return the file's size.
static off_t checkOpenFile( const std::string &path, const Descriptor &file ) {
    struct stat status = {};
    if ( !file.valid() || fstat( file.get(), &status ) != 0 ) {
        throw cannotBeWritten( path, errno );
    }
    if ( !S_ISREG( status.st_mode ) ) {
        throw RecordingError( path + ": cannot be written: not a regular file" );
    }
    return status.st_size;
}

void checkRecording( const std::string &path ) {
    const Descriptor file( open( path.c_str(), O_RDWR | O_APPEND | O_CLOEXEC ) );
    if ( file.valid() || errno != ENOENT ) {
        if ( checkOpenFile( path, file ) > 0 ) {
            endOfRecording( path );
        }
        return;
    }
    const std::string folder = std::filesystem::path( path ).parent_path();
    if ( faccessat( AT_FDCWD, folder.empty() ? "." : folder.c_str(), W_OK | X_OK, AT_EACCESS ) !=
         0 ) {
        throw cannotBeWritten( path, errno );
    }
}

bool sameFile( const std::string &one, const std::string &other ) {
    std::error_code notThere;
    return std::filesystem::equivalent( one, other, notThere );
}

RecordingWriter::RecordingWriter( const std::string &path )
    : path_( path ), file_( open( path.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC, 0640 ) ) {
    const off_t size = checkOpenFile( path, file_ );
    // Two that append to one file would cut off each other's entries.
    if ( flock( file_.get(), LOCK_EX | LOCK_NB ) != 0 ) {
        throw RecordingError( path + ": cannot be written: another server records there" );
    }
    int reason = 0;
    if ( size == 0 ) {
        reason = writeAll( file_.get(), mark );
    } else if ( ftruncate( file_.get(), static_cast<off_t>( endOfRecording( path ) ) ) != 0 ) {
        reason = errno;
    }
    if ( reason != 0 ) {
        throw cannotBeWritten( path, reason );
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
    if ( const int reason = writeAll( file_.get(), buffer_ ) ) {
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

void printRecording( const std::string &path, bool asJson ) {
    RecordingReader reader( path );
    Recording::Entry entry;
    for ( size_t offset = reader.goodBytes(); reader.next( entry ); offset = reader.goodBytes() ) {
        puts( ( asJson ? entryJson( entry, offset ) : entryText( entry ) ).c_str() );
    }
    if ( reader.cutOff() ) {
        logEvent( "%s: cut off in entry %zu", path.c_str(), reader.count() + 1 );
    }
}

} // namespace SmbusServer
