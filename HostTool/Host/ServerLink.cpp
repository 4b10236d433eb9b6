#include "HostTool/Host/ServerLink.h"

#include "HostTool/Host/Server.h"

#include <systemd/sd-event.h>

#include <sys/epoll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace HostTool {

// Ahead of the library's timers, so that none of them fires before a loss is known.
static constexpr int64_t priority = SD_EVENT_PRIORITY_IMPORTANT;
static constexpr uint64_t retryMicroseconds = 250'000;

ServerLink::ServerLink( sd_event *loop, std::function<void( const std::string & )> changed )
    : loop_( loop ), changed_( std::move( changed ) ) {
    if ( !connectNow() ) {
        tryAgain();
    }
}

ServerLink::~ServerLink() {
    sd_event_source_disable_unref( hangUp_ );
    sd_event_source_disable_unref( retry_ );
    if ( fd_ >= 0 ) {
        close( fd_ );
    }
}

bool ServerLink::connectNow() {
    const ServerConnection connection = connectToServer( serverSocket() );
    // A server that is busy answers so and is there all the same.
    if ( connection.error == EAGAIN ) {
        return false;
    }
    if ( connection.fd < 0 ) {
        say( strerror( connection.error ) );
        return false;
    }
    fd_ = connection.fd;
    say( "" );
    const auto hungUp = []( sd_event_source *, int, uint32_t, void *self ) {
        static_cast<ServerLink *>( self )->lost();
        return 0;
    };
    sd_event_add_io( loop_, &hangUp_, fd_, EPOLLRDHUP, hungUp, this );
    sd_event_source_set_priority( hangUp_, priority );
    return true;
}

void ServerLink::lost() {
    hangUp_ = sd_event_source_disable_unref( hangUp_ );
    if ( fd_ >= 0 ) {
        close( fd_ );
        fd_ = -1;
    }
    say( "it hung up" );
    tryAgain();
}

void ServerLink::say( const std::string &reason ) {
    if ( reason != said_ ) {
        said_ = reason;
        changed_( reason );
    }
}

void ServerLink::tryAgain() {
    const auto timeOut = []( sd_event_source *, uint64_t, void *self ) {
        auto *link = static_cast<ServerLink *>( self );
        if ( !link->connectNow() ) {
            link->tryAgain();
        }
        return 0;
    };
    sd_event_source_disable_unref( retry_ );
    retry_ = nullptr;
    sd_event_add_time_relative( loop_, &retry_, CLOCK_MONOTONIC, retryMicroseconds, 1, timeOut,
                                this );
}

} // namespace HostTool
