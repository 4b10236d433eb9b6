#include "SmbusServer/Stream.h"

#include <cerrno>
#include <cstdint>
#include <stdexcept>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <utility>

namespace SmbusServer {

static std::string nameOf( const Peer &peer ) {
    static uint64_t count = 0;
    return "client " + std::to_string( ++count ) + " (" + describe( peer ) + ")";
}

static bool passing( int reason ) {
    return reason == EAGAIN || reason == EINTR;
}

Stream::Stream( sd_event *loop, Descriptor descriptor, Owner &owner )
    : descriptor_( std::move( descriptor ) ), owner_( owner ), peer_( peerOf( descriptor_.get() ) ),
      name_( nameOf( peer_ ) ) {
    sd_event_source *source = nullptr;
    if ( sd_event_add_io( loop, &source, descriptor_.get(), EPOLLIN, ready, this ) < 0 ) {
        throw std::runtime_error( "a connection cannot be watched" );
    }
    source_.reset( source );
}

// The owner may have destroyed the stream when its calls return: nothing is touched after them.
int Stream::ready( sd_event_source *, int, uint32_t, void *userdata ) {
    auto *self = static_cast<Stream *>( userdata );
    if ( self->waiting() ) {
        self->flush();
    } else {
        self->owner_.readable();
    }
    return 0;
}

std::optional<size_t> Stream::receive( std::span<char> buffer ) {
    const ssize_t count = recv( descriptor_.get(), buffer.data(), buffer.size(), 0 );
    if ( count < 0 && passing( errno ) ) {
        return std::nullopt;
    }
    return count < 0 ? 0 : static_cast<size_t>( count );
}

bool Stream::send( std::string_view bytes ) {
    if ( waiting() ) {
        unsent_ += bytes;
        return true;
    }
    const ssize_t count = ::send( descriptor_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL );
    if ( count < 0 && !passing( errno ) ) {
        return false;
    }
    const size_t sent = count < 0 ? 0 : static_cast<size_t>( count );
    if ( sent < bytes.size() ) {
        unsent_ = bytes.substr( sent );
        sd_event_source_set_io_events( source_.get(), EPOLLOUT );
    }
    return true;
}

void Stream::refusesMore() {
    shutdown( descriptor_.get(), SHUT_RD );
}

void Stream::receivingIs( bool receiving ) {
    sd_event_source_set_io_events( source_.get(), receiving ? uint32_t{ EPOLLIN } : 0 );
}

void Stream::flush() {
    const ssize_t count = ::send( descriptor_.get(), unsent_.data(), unsent_.size(), MSG_NOSIGNAL );
    if ( count < 0 ) {
        if ( !passing( errno ) ) {
            owner_.broken();
        }
        return;
    }
    unsent_.erase( 0, static_cast<size_t>( count ) );
    if ( !waiting() ) {
        unsent_.shrink_to_fit();
        sd_event_source_set_io_events( source_.get(), EPOLLIN );
        owner_.flushed();
    }
}

} // namespace SmbusServer
