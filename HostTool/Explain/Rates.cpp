#include "HostTool/Explain/Rates.h"

#include "HostTool/Failure.h"
#include "HostTool/Output/Nearest.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <map>

namespace HostTool::Explain {

namespace {

constexpr double shortest = 0.001;
constexpr double longest = 86400;
constexpr double millisecondsPerSecond = 1000;

[[noreturn]] void refuse( const std::string &text ) {
    throw Failure( ExitCode::badInput, text );
}

std::string everyText( double seconds ) {
    if ( seconds <= 0 ) {
        return "never";
    }
    std::array<char, 32> text;
    snprintf( text.data(), text.size(), "every %g s", seconds );
    return text.data();
}

/// Sums up what devices put on busses.
class Loads {
  public:
    /// @param seconds between two runs of the step
    void add( const Entry &entry, const Step &step, double seconds ) {
        for ( const Transaction &transaction : step.transactions ) {
            std::map<BusName, WireCost> costs;
            for ( const Request &each : transaction.requests ) {
                costs[each.bus] += costOf( each );
            }
            if ( !costs.empty() ) {
                costs[transaction.requests.front().bus].transactions = 1;
            }
            for ( const auto &[bus, cost] : costs ) {
                BusLoad &load = busses_.try_emplace( bus, BusLoad{ bus } ).first->second;
                load.load.add( cost, 1 / seconds );
                deviceIn( load, entry, step.kind == StepKind::poll, seconds )
                    .load.add( cost, 1 / seconds );
            }
        }
    }

    std::vector<BusLoad> sorted() {
        std::vector<BusLoad> all;
        for ( auto &[bus, load] : busses_ ) {
            sort( load.devices );
            all.push_back( std::move( load ) );
        }
        sort( all );
        return all;
    }

  private:
    static DeviceLoad &deviceIn( BusLoad &bus, const Entry &entry, bool isPoll, double seconds ) {
        const auto found =
            std::find_if( bus.devices.begin(), bus.devices.end(), [&]( const DeviceLoad &each ) {
                return each.entry == &entry && each.isPoll == isPoll;
            } );
        return found == bus.devices.end()
                   ? bus.devices.emplace_back( DeviceLoad{ &entry, isPoll, seconds } )
                   : *found;
    }

    template <class Loaded>
    static void sort( std::vector<Loaded> &all ) {
        std::stable_sort( all.begin(), all.end(), []( const Loaded &one, const Loaded &other ) {
            return one.load.bits > other.load.bits;
        } );
    }

    std::map<BusName, BusLoad> busses_;
};

} // namespace

Rates::Rates( double everySeconds, const std::vector<std::string> &changes )
    : every_( everySeconds ) {
    seconds_.fill( everySeconds );
    for ( const std::string &each : changes ) {
        change( each );
    }
}

void Rates::change( const std::string &text ) {
    const size_t equals = text.find( '=' );
    const std::string name = text.substr( 0, equals );
    std::vector<std::string> known;
    double *place = nullptr;
    for ( size_t i = 0; i < std::size( classNames ); ++i ) {
        known.emplace_back( classNames[i].name );
        place = name == classNames[i].name ? &seconds_[i] : place;
    }
    if ( equals == std::string::npos ) {
        refuse( "--rate takes CLASS=SECONDS, such as psu=10, not '" + text + "'" );
    }
    if ( !place ) {
        refuse( "--rate: no class '" + name + "'; the nearest is '" + nearest( name, known ) +
                "'" );
    }
    double seconds = 0;
    const char *begin = text.data() + equals + 1;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars( begin, end, seconds, std::chars_format::fixed );
    const bool isRate = seconds == 0 || ( seconds >= shortest && seconds <= longest );
    if ( error != std::errc() || stop != end || !isRate ) {
        refuse( "--rate takes seconds from 0.001 to 86400, or 0 for never, not '" +
                std::string( begin ) + "'" );
    }
    *place = seconds;
}

double Rates::secondsOf( DeviceClass deviceClass ) const {
    for ( size_t i = 0; i < std::size( classNames ); ++i ) {
        if ( classNames[i].deviceClass == deviceClass ) {
            return seconds_[i];
        }
    }
    return every_;
}

std::string Rates::text() const {
    std::string text = everyText( every_ );
    for ( size_t i = 0; i < std::size( classNames ); ++i ) {
        if ( seconds_[i] != every_ ) {
            text += std::string( "; " ) + classNames[i].name + " " + everyText( seconds_[i] );
        }
    }
    return text;
}

void Load::add( const WireCost &cost, double timesASecond ) {
    transactions += static_cast<double>( cost.transactions ) * timesASecond;
    requests += static_cast<double>( cost.requests ) * timesASecond;
    bytes += static_cast<double>( cost.bytes ) * timesASecond;
    bits += static_cast<double>( cost.bits ) * timesASecond;
}

std::vector<BusLoad> loadsOf( const std::vector<DeviceSteps> &devices, const Rates &rates ) {
    Loads loads;
    for ( const DeviceSteps &device : devices ) {
        const double every = rates.secondsOf( device.entry->deviceClass );
        for ( const Step &step : device.steps ) {
            if ( step.kind == StepKind::poll ) {
                loads.add( *device.entry, step, step.periodMs / millisecondsPerSecond );
            } else if ( step.kind == StepKind::reading && step.turn != Turn::first && every > 0 ) {
                loads.add( *device.entry, step, every );
            }
        }
    }
    return loads.sorted();
}

} // namespace HostTool::Explain
