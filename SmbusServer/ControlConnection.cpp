#include "SmbusServer/ControlConnection.h"

#include "SmbusServer/Log.h"

#include <array>
#include <utility>

namespace SmbusServer {

ControlConnection::ControlConnection( sd_event *loop, Descriptor descriptor, Listener &listener,
                                      const World &world )
    : listener_( listener ), world_( world ), stream_( loop, std::move( descriptor ), *this ) {}

void ControlConnection::readable() {
    std::array<char, longestLine> buffer;
    const std::optional<size_t> count = stream_.receive( buffer );
    if ( !count ) {
        return;
    }
    input_.append( buffer.data(), *count );
    // A last line without its end is a line all the same: printf 'list' | socat …
    if ( *count == 0 ) {
        inputEnded_ = true;
        if ( !input_.empty() ) {
            input_ += '\n';
        }
    }
    answerLines();
}

void ControlConnection::flushed() {
    answerLines();
}

void ControlConnection::answerLines() {
    size_t end = input_.find( '\n' );
    while ( end != std::string::npos && !stream_.waiting() ) {
        const std::string line = input_.substr( 0, end );
        input_.erase( 0, end + 1 );
        logDetail( "%s: %s", stream_.name().c_str(), line.c_str() );
        if ( !stream_.send( controlAnswer( world_, line ) ) ) {
            broken();
            return;
        }
        end = input_.find( '\n' );
    }
    if ( stream_.waiting() ) {
        return;
    }
    if ( input_.size() > longestLine ) {
        logEvent( "%s: closed after a line above %zu bytes", stream_.name().c_str(), longestLine );
        broken();
    } else if ( inputEnded_ ) {
        broken();
    }
}

void ControlConnection::broken() {
    listener_.ended( *this );
}

} // namespace SmbusServer
