#include "tests/soak/SimulationSoak.h"

#include "tests/soak/Sabotage.h"
#include "tests/soak/VirtualHost.h"
#include "tests/support/Sanitized.h"

#include <cstdlib>
#include <fstream>
#include <unistd.h>

namespace Soak {

constexpr uint64_t changeOneTurnIn = 8;
constexpr uint64_t samplesOfRun = 200;
constexpr uint64_t millisecondsPerSecond = 1000;

// The library looks for both when it makes its first device.
SimulationSoak::SimulationSoak( const Options &options )
    : options_( options ), random_( options.seed ),
      server_( options.board + "/emulation.json", {}, options.server ),
      folder_( server_.folder() + "/registers" ), library_( options.library, options.board ),
      host_( "host", !isSanitized ) {
    setenv( "SIMULATION_VMID", "1", 1 );
    setenv( "KAVRALIB_SIMDIR", folder_.c_str(), 1 );
    judge_.seedIs( options.seed );
}

void SimulationSoak::addDevices() {
    const std::vector<Library::Added> added = library_.addAll();
    parts_ = simulatedParts( folder_ );
    for ( const Library::Added &each : added ) {
        for ( const auto &part : parts_ ) {
            if ( auto device = part->device( each.entry, each.record ) ) {
                devices_.push_back( { each.entry.name, std::move( device ), part.get() } );
                break;
            }
        }
    }
    VirtualHost::get().keepsFailures( false );
}

uint64_t SimulationSoak::accesses() const {
    uint64_t sum = 0;
    for ( const auto &part : parts_ ) {
        sum += part->accesses();
    }
    return sum;
}

double SimulationSoak::progress() const {
    return static_cast<double>( accesses() ) / static_cast<double>( options_.accesses );
}

Report SimulationSoak::run() {
    addDevices();
    while ( progress() < 1 ) {
        takeTurn();
        if ( progress() * samplesOfRun >= samples_ ) {
            sample();
        }
    }
    sample();
    compareFiles();
    progress_.end();
    return { "simulation",
             options_.seed,
             progress_.seconds(),
             { { "accesses", accesses() },
               { "readings", judge_.readings() },
               { "changes of the files", changes_ } },
             judge_.wrongReadings(),
             { host_ } };
}

void SimulationSoak::takeTurn() {
    ++turns_;
    judge_.timeIs( turns_ );
    VirtualHost::get().advanceTo( turns_ * millisecondsPerSecond );
    NamedDevice &turn = devices_[turns_ % devices_.size()];
    if ( random_.oneIn( changeOneTurnIn ) ) {
        turn.part->change( random_ );
        ++changes_;
    }
    sabotage();
    judge_.turnsTo( turn.name, nullptr );
    turn.device->read( judge_ );
}

void SimulationSoak::sabotage() {
    if ( options_.sabotage == Sabotage::None || !isSabotaged( turns_ ) ) {
        return;
    }
    leak( options_.sabotage, turns_ );
    if ( options_.sabotage == Sabotage::Truth ) {
        std::ofstream( folder_ / "LM75-rear", std::ios::in ) << ( turns_ % 4 == 0 ? "00" : "ff" );
    }
}

void SimulationSoak::sample() {
    samples_ = static_cast<int>( progress() * samplesOfRun ) + 1;
    host_.add( Footprint::of( getpid() ), progress() );
    server_.forgetLog();
    progress_.show( progress(), accesses() );
}

void SimulationSoak::compareFiles() {
    judge_.turnsTo( "the simulation files", nullptr );
    for ( const auto &part : parts_ ) {
        if ( !part->file().isRight() ) {
            judge_.wrong( "a file does not hold what was written to it" );
        }
    }
}

} // namespace Soak
