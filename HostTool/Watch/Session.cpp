#include "HostTool/Watch/Session.h"

#include "HostTool/Board/SharedRegister.h"
#include "HostTool/Host/HostServices.h"

#include <systemd/sd-event.h>

namespace HostTool::Watch {

namespace {

constexpr uint64_t microsecondsPerSecond = 1'000'000;
// What is answered from a poll is real behind the first one.
constexpr uint64_t settleMicroseconds = 1'250'000;
constexpr uint64_t accuracy = 1000;

sd_event *loop() {
    return HostServices::get().loop();
}

Moment now() {
    return std::chrono::steady_clock::now();
}

} // namespace

Session::Session( Task &task, Display &display )
    : task_( task ), display_( display ), model_( std::move( task.devices ), task.board ) {
    for ( const Item &each : model_.items() ) {
        watched_.entries.push_back( each.entry() );
    }
    addSources();
    link_ = std::make_unique<ServerLink>(
        loop(), [this]( const std::string &reason ) { serverChanged( reason ); } );
}

Session::~Session() {
    sd_event_source_disable_unref( passTimer_ );
    sd_event_source_disable_unref( reader_ );
    sd_event_source_disable_unref( end_ );
    HostServices::get().timersAreHeld( false );
}

void Session::check( int result ) {
    if ( result < 0 && !isOver_ ) {
        error_ = -result;
        isOver_ = true;
    }
}

void Session::addSources() {
    const auto onPass = []( sd_event_source *, uint64_t, void *self ) {
        static_cast<Session *>( self )->startPass();
        return 0;
    };
    const auto onTurn = []( sd_event_source *, void *self ) {
        static_cast<Session *>( self )->readNext();
        return 0;
    };
    const auto onEnd = []( sd_event_source *, uint64_t, void *self ) {
        static_cast<Session *>( self )->stop();
        return 0;
    };
    check( sd_event_add_time_relative( loop(), &passTimer_, CLOCK_MONOTONIC, 0, accuracy, onPass,
                                       this ) );
    check( sd_event_add_defer( loop(), &reader_, onTurn, this ) );
    // Whatever else there is to do comes first.
    check( sd_event_source_set_priority( reader_, SD_EVENT_PRIORITY_IDLE ) );
    check( sd_event_source_set_enabled( reader_, SD_EVENT_OFF ) );
    if ( task_.options.seconds ) {
        const uint64_t period =
            static_cast<uint64_t>( *task_.options.seconds ) * microsecondsPerSecond;
        check( sd_event_add_time_relative( loop(), &end_, CLOCK_MONOTONIC, period, accuracy, onEnd,
                                           this ) );
        // A reading that is due is still made.
        check( sd_event_source_set_priority( end_, SD_EVENT_PRIORITY_IDLE + 1 ) );
    }
}

void Session::startPass() {
    const uint64_t period =
        model_.isSettling() ? settleMicroseconds
                            : static_cast<uint64_t>( task_.options.every ) * microsecondsPerSecond;
    check( sd_event_source_set_time_relative( passTimer_, period ) );
    check( sd_event_source_set_enabled( passTimer_, SD_EVENT_ONESHOT ) );
    // A pass that takes longer than the period is not cut short.
    if ( next_ == 0 && !model_.serverLostAt() ) {
        check( sd_event_source_set_enabled( reader_, SD_EVENT_ON ) );
    }
}

void Session::readNext() {
    if ( model_.serverLostAt() || next_ >= model_.items().size() ) {
        next_ = 0;
        check( sd_event_source_set_enabled( reader_, SD_EVENT_OFF ) );
        return;
    }
    const size_t item = next_++;
    const bool wasRead = model_.items()[item].wasRead;
    if ( model_.items()[item].device.record ) {
        readDevice( model_.device( item ) );
    } else if ( wasRead ) {
        return;
    }
    const std::vector<Change> changes = model_.update( item, now() );
    if ( !wasRead && model_.items()[item].wasRead ) {
        display_.isRead( model_, item );
    }
    if ( !changes.empty() ) {
        display_.hasChanged( model_, changes );
    }
}

void Session::serverChanged( const std::string &reason ) {
    HostServices::get().timersAreHeld( !reason.empty() );
    if ( reason.empty() ) {
        model_.serverIsBack();
    } else {
        model_.serverIsLost( now(), reason );
    }
    display_.serverHasChanged( model_ );
}

std::vector<const Device *> Session::cagesBeside( const Device &device ) const {
    std::vector<const Device *> cages;
    for ( const Item &each : model_.items() ) {
        if ( each.entry().deviceClass == DeviceClass::xcvr &&
             each.entry().did == device.entry->did ) {
            cages.push_back( &each.device );
        }
    }
    return cages;
}

Outcome Session::tellDevice( size_t item, const Order &order ) {
    const Device &device = model_.items()[item].device;
    if ( model_.serverLostAt() ) {
        return { PL_STATUS_IO_ERROR, "there is no server" };
    }
    std::string hazard = writeHazard( *device.entry, order.setting, watched_ );
    if ( hazard.empty() ) {
        hazard = whyNotYet( order.setting, cagesBeside( device ) );
    }
    if ( !hazard.empty() ) {
        return { PL_STATUS_INVALID, hazard };
    }
    Outcome outcome = tell( device, order );
    if ( outcome.isFine() && order.setting == Setting::light ) {
        model_.lightIs( item, order.value );
    }
    return outcome;
}

// The timer that makes a lamp blink is this process's, and would leave it lit or dark.
void Session::endBeacons() {
    for ( const Item &each : model_.items() ) {
        if ( each.light == PL_LED_BEACON && !model_.serverLostAt() ) {
            tell( each.device, { Setting::light, PL_LED_OFF } );
        }
    }
}

void Session::run() {
    while ( !isOver_ ) {
        check( sd_event_run( loop(), UINT64_MAX ) );
        model_.blinksAre( HostServices::get().blinks() );
        display_.refresh( model_ );
    }
    endBeacons();
    checkLoop( -error_ );
}

} // namespace HostTool::Watch
