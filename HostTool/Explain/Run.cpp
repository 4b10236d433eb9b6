#include "HostTool/Explain/Run.h"

#include "HostTool/Explain/Callbacks.h"
#include "HostTool/Explain/PrivateServer.h"
#include "HostTool/Failure.h"
#include "HostTool/Host/AbortNote.h"
#include "HostTool/Host/Devices.h"
#include "HostTool/Host/HostServices.h"

#include <systemd/sd-event.h>

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <functional>
#include <set>
#include <unistd.h>

namespace HostTool::Explain {

namespace {

class Runner {
  public:
    Runner( PrivateServer &server, const Library &library, const Board &board )
        : server_( server ), library_( library ), board_( board ) {}

    std::vector<DeviceSteps> run( const std::vector<const Entry *> &entries ) {
        for ( const Entry *entry : entries ) {
            add( *entry );
        }
        const size_t reported = subjects_.size();
        readAll( Turn::first );
        if ( !pollers_.empty() ) {
            addOthersOfPolledChips();
            poll();
            subjects_.erase( subjects_.begin() + static_cast<std::ptrdiff_t>( reported ),
                             subjects_.end() );
        }
        readAll( Turn::further );
        for ( Subject &subject : subjects_ ) {
            callAll( subject, StepKind::order, subject.callbacks.orders, Turn::every );
        }
        return finished();
    }

  private:
    /// A device, and what is done with it.
    struct Subject {
        DeviceSteps device;
        Callbacks callbacks = {};
    };

    struct Poller {
        size_t subject;
        unsigned periodMs;
    };

    /// Runs a step of a device.
    /// @param call returns what went wrong; empty when nothing did
    void step( DeviceSteps &device, Step step, const std::function<std::string()> &call ) {
        const AbortNote note( { "while explaining '", device.entry->name, "' (",
                                device.entry->place, "): ", step.name } );
        step.from = server_.recorded();
        step.trouble = call();
        step.to = server_.recorded();
        device.steps.push_back( std::move( step ) );
    }

    void add( const Entry &entry ) {
        Subject &subject = subjects_.emplace_back( Subject{ { &entry } } );
        const ClassRow &row = rowOf( entry.deviceClass );
        if ( initialised_.insert( entry.deviceClass ).second ) {
            step( subject.device, { StepKind::init, row.initEntryPoint }, [&] {
                initialise( library_, row.initEntryPoint, board_ );
                return std::string();
            } );
        }
        step( subject.device, { StepKind::add, row.addEntryPoint }, [&] {
            subject.device.refusal = addTo( subject );
            return subject.device.refusal;
        } );
        const std::vector<int> periods = HostServices::get().pollPeriods();
        if ( periods.size() > pollers_.size() ) {
            pollers_.push_back( { subjects_.size() - 1, static_cast<unsigned>( periods.back() ) } );
        }
    }

    /// @return why the library does not have it; empty when it does
    std::string addTo( Subject &subject ) {
        try {
            const Device added = addDevice( library_, *subject.device.entry );
            if ( added.record ) {
                subject.callbacks = callbacksOf( added );
            }
            const std::string &refusal = added.refusal;
            return refusal.empty() ? ""
                                   : subject.device.entry->place + ": '" +
                                         subject.device.entry->name + "': " + refusal;
        } catch ( const Failure &failure ) {
            if ( failure.code() != ExitCode::badInput ) {
                throw;
            }
            return failure.what();
        }
    }

    void readAll( Turn turn ) {
        for ( Subject &subject : subjects_ ) {
            callAll( subject, StepKind::reading, subject.callbacks.readings, turn );
        }
    }

    void callAll( Subject &subject, StepKind kind, const std::vector<Callback> &callbacks,
                  Turn turn ) {
        for ( const Callback &each : callbacks ) {
            step( subject.device, { .kind = kind, .name = each.name, .turn = turn }, [&] {
                try {
                    const pl_status status = each.call();
                    return status == PL_STATUS_OK ? "" : HostTool::nameOf( status );
                } catch ( const std::exception &exception ) {
                    return printable( exception.what() );
                }
            } );
        }
    }

    void addOthersOfPolledChips() {
        std::set<unsigned> polled;
        std::set<const Entry *> known;
        for ( const Subject &subject : subjects_ ) {
            known.insert( subject.device.entry );
        }
        for ( const Poller &each : pollers_ ) {
            polled.insert( subjects_[each.subject].device.entry->did.value_or( 0 ) );
        }
        const size_t first = subjects_.size();
        for ( const Entry &entry : board_.entries ) {
            if ( entry.did && polled.contains( *entry.did ) && !known.contains( &entry ) ) {
                add( entry );
            }
        }
        for ( size_t i = first; i < subjects_.size(); ++i ) {
            callAll( subjects_[i], StepKind::reading, subjects_[i].callbacks.readings,
                     Turn::first );
        }
    }

    // All pollers have one period. So the first one that was armed fires first, and none fires for
    // the second time before all have fired once.
    void poll() {
        using Clock = std::chrono::steady_clock;
        constexpr std::chrono::seconds grace{ 5 };
        const auto end =
            Clock::now() + grace + std::chrono::milliseconds( pollers_.front().periodMs );
        if ( isatty( STDERR_FILENO ) == 1 ) {
            fprintf( stderr, "kavractl: waiting for the library to poll\n" );
        }
        for ( const Poller &poller : pollers_ ) {
            Subject &subject = subjects_[poller.subject];
            step( subject.device,
                  { .kind = StepKind::poll, .name = "poll", .periodMs = poller.periodMs }, [&] {
                      const uint64_t before = server_.recorded();
                      while ( server_.recorded() == before ) {
                          if ( Clock::now() > end ) {
                              throw Failure( ExitCode::unreachable,
                                             "the library does not poll as it said" );
                          }
                          runOneTimer();
                      }
                      return std::string();
                  } );
        }
    }

    /// Runs the event loop until one timer has fired, or for a while.
    static void runOneTimer() {
        constexpr uint64_t microseconds = 100'000;
        checkLoop( sd_event_run( HostServices::get().loop(), microseconds ) );
    }

    std::vector<DeviceSteps> finished() {
        std::vector<DeviceSteps> devices;
        for ( Subject &subject : subjects_ ) {
            devices.push_back( std::move( subject.device ) );
        }
        attribute( server_.stop(), devices );
        for ( DeviceSteps &device : devices ) {
            uniteTurns( device.steps );
        }
        return devices;
    }

    PrivateServer &server_;
    const Library &library_;
    const Board &board_;
    std::set<DeviceClass> initialised_;
    std::vector<Subject> subjects_;
    std::vector<Poller> pollers_;
};

} // namespace

std::vector<DeviceSteps> run( PrivateServer &server, const Library &library, const Board &board,
                              const std::vector<const Entry *> &entries ) {
    return Runner( server, library, board ).run( entries );
}

} // namespace HostTool::Explain
