#include "HostTool/Watch/ScreenDisplay.h"

#include "HostTool/Host/HostServices.h"
#include "HostTool/Watch/Interaction.h"
#include "HostTool/Watch/LineDisplay.h"
#include "HostTool/Watch/Lines.h"
#include "HostTool/Watch/Selection.h"

#include <systemd/sd-event.h>

#include <sys/epoll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

namespace HostTool::Watch {

namespace {

// Ages and the clock go on when nothing else happens.
constexpr uint64_t clockMicroseconds = 500'000;
constexpr uint64_t accuracy = 1000;

std::string nameOfFolder( const std::string &folder ) {
    return std::filesystem::absolute( folder ).lexically_normal().filename().string();
}

} // namespace

ScreenDisplay::ScreenDisplay( const Task &task ) : painter_( Terminal::hasColour() ) {
    around_.look = { Terminal::hasColour(), Terminal::hasUtf8() };
    around_.board = nameOfFolder( task.board.folder );
}

ScreenDisplay::~ScreenDisplay() {
    sd_event_source_disable_unref( keys_ );
    sd_event_source_disable_unref( resize_ );
    sd_event_source_disable_unref( clock_ );
}

void ScreenDisplay::attach( Session &session ) {
    session_ = &session;
    view_.selected = firstOf( session.model() );
    sd_event *loop = HostServices::get().loop();
    const auto onKeys = []( sd_event_source *, int, uint32_t events, void *self ) {
        auto *display = static_cast<ScreenDisplay *>( self );
        display->takeKeys();
        if ( ( events & ( EPOLLHUP | EPOLLERR ) ) != 0 ) {
            display->session_->stop();
        }
        return 0;
    };
    const auto onResize = []( sd_event_source *, const signalfd_siginfo *, void *self ) {
        static_cast<ScreenDisplay *>( self )->isStale_ = true;
        return 0;
    };
    const auto onClock = []( sd_event_source *, uint64_t, void *self ) {
        static_cast<ScreenDisplay *>( self )->tick();
        return 0;
    };
    sd_event_add_io( loop, &keys_, STDIN_FILENO, EPOLLIN, onKeys, this );
    sd_event_add_signal( loop, &resize_, SIGWINCH | SD_EVENT_SIGNAL_PROCMASK, onResize, this );
    sd_event_add_time_relative( loop, &clock_, CLOCK_MONOTONIC, clockMicroseconds, accuracy,
                                onClock, this );
}

void ScreenDisplay::tick() {
    isStale_ = true;
    Terminal::boundErrors();
    sd_event_source_set_time_relative( clock_, clockMicroseconds );
    sd_event_source_set_enabled( clock_, SD_EVENT_ONESHOT );
}

void ScreenDisplay::takeKeys() {
    while ( const std::optional<Key> key = Painter::nextKey() ) {
        const std::optional<Command> command = press( view_, session_->model(), *key );
        if ( command ) {
            const std::string name = session_->model().items()[command->item].entry().name;
            report( view_, name, command->order,
                    session_->tellDevice( command->item, command->order ) );
        }
        if ( view_.isOver ) {
            session_->stop();
        }
    }
    isStale_ = true;
}

void ScreenDisplay::isRead( const Model &, size_t ) {
    isStale_ = true;
}

void ScreenDisplay::hasChanged( const Model &model, const std::vector<Change> &changes ) {
    around_.lastEvent = clockText() + "  " + changeText( model, changes.front() );
    isStale_ = true;
}

void ScreenDisplay::serverHasChanged( const Model &model ) {
    around_.lastEvent =
        clockText() +
        ( model.serverLostAt() ? "  no server: " + model.serverReason() : "  the server is back" );
    isStale_ = true;
}

void ScreenDisplay::refresh( const Model &model ) {
    const unsigned blinks = HostServices::get().blinks();
    if ( !isStale_ && blinks == blinksDrawn_ ) {
        return;
    }
    blinksDrawn_ = blinks;
    isStale_ = false;
    around_.now = std::chrono::steady_clock::now();
    around_.clock = clockText();
    painter_.paint( layOut( model, view_, around_, Painter::size() ) );
}

} // namespace HostTool::Watch
