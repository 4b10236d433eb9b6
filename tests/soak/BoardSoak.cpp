#include "tests/soak/BoardSoak.h"

#include "tests/soak/Sabotage.h"
#include "tests/soak/VirtualHost.h"
#include "tests/support/Sanitized.h"

#include <stdexcept>
#include <unistd.h>

namespace Soak {

constexpr uint64_t millisecondsPerSecond = 1000;
constexpr uint64_t changeOneSecondIn = 20;
constexpr uint64_t hostSetsOneSecondIn = 200;
constexpr int samplesOfRun = 200;
constexpr int comparisonsOfRun = 20;

namespace {

/// The system has no readings on this board: the library says so.
std::unique_ptr<Device> systemDevice( pl_system *system ) {
    return deviceOf( [system]( Judge &judge ) {
        char cause[100] = "";
        char detail[500] = "";
        long when = untouched<int>();
        const pl_status status = system->ops->get_reload_cause( system, cause, &when, detail );
        judge.checkStatus( "get_reload_cause", status, PL_STATUS_NOT_SUPPORTED );
    } );
}

} // namespace

BoardSoak::BoardSoak( const Options &options )
    : options_( options ), random_( options.seed ),
      server_( options.board + "/emulation.json", {}, options.server ),
      world_( server_.controlPath() ), library_( options.library, options.board ),
      faults_( random_, world_, options.faultsOneIn ),
      lamps_( world_ ), parts_{ &sensors_, &trays_, &supplies_, &cages_, &lamps_ },
      host_( "host", !isSanitized ), serverWatch_( "server", !isSanitized ) {
    judge_.seedIs( options.seed );
    lamps_.randomIs( random_ );
}

void BoardSoak::addDevices() {
    for ( const Library::Added &added : library_.addAll() ) {
        std::unique_ptr<Device> device;
        if ( added.entry.deviceClass == "system" ) {
            device = systemDevice( static_cast<pl_system *>( added.record ) );
        }
        for ( Part *part : parts_ ) {
            device = device ? std::move( device ) : part->device( added.entry, added.record );
        }
        if ( !device ) {
            throw std::runtime_error( "nothing is known about the truth of " + added.entry.name );
        }
        devices_.push_back( { added.entry.name, std::move( device ) } );
    }
}

// What the library polls is what it has been asked for before. Each kind of fault is met once, so
// that what the server makes with the first of them, such as lists and buffers, is there from now
// on.
void BoardSoak::begin() {
    VirtualHost &host = VirtualHost::get();
    host.keepsFailures( false );
    host.fired = [this]( bool isBlink ) { isBlink ? lamps_.blinked() : cages_.polled(); };
    for ( Part *part : parts_ ) {
        part->begin( world_ );
    }
    world_.send();
    cages_.askOnce();
    while ( const Fault *fault = faults_.startNext() ) {
        judge_.turnsTo( devices_.front().name, fault );
        devices_.front().device->read( judge_ );
        faults_.end();
    }
    transactionsBefore_ = host.transactions();
}

uint64_t BoardSoak::transactions() const {
    return VirtualHost::get().transactions() - transactionsBefore_;
}

double BoardSoak::progress() const {
    return options_.polls != 0
               ? static_cast<double>( seconds_ ) / static_cast<double>( options_.polls )
               : static_cast<double>( transactions() ) /
                     static_cast<double>( options_.transactions );
}

Report BoardSoak::run() {
    addDevices();
    begin();
    while ( progress() < 1 ) {
        second();
        if ( progress() * samplesOfRun >= samples_ ) {
            sample();
        }
    }
    sample();
    compareWorlds();
    progress_.end();
    return { "board",
             options_.seed,
             progress_.seconds(),
             { { "polls", seconds_ },
               { "transactions", transactions() },
               { "readings", judge_.readings() },
               { "changes of the world", changes_ },
               { "knobs turned", world_.turns() },
               { "faults started", faults_.started() },
               { "faults met", faults_.met() },
               { "readings failed by them", judge_.faultFailures() },
               { "readings of what is not there", judge_.absences() },
               { "readings right by the last poll only", cages_.staleReadings() } },
             judge_.wrongReadings(),
             { host_, serverWatch_ } };
}

void BoardSoak::second() {
    ++seconds_;
    judge_.timeIs( seconds_ );
    const bool changes = random_.oneIn( changeOneSecondIn );
    const bool beforePolls = random_.oneIn( 2 );
    if ( changes && beforePolls ) {
        somethingChanges();
    }
    pollsAreDue();
    if ( changes && !beforePolls ) {
        somethingChanges();
    }
    if ( random_.oneIn( hostSetsOneSecondIn ) ) {
        judge_.turnsTo( "a setting by the host", nullptr );
        parts_[random_.below( parts_.size() )]->setByHost( random_, judge_ );
    }
    sabotage();
    takeTurn( turn() );
}

void BoardSoak::pollsAreDue() {
    const Fault *fault = faults_.startForPoll();
    VirtualHost::get().advanceTo( seconds_ * millisecondsPerSecond );
    if ( fault != nullptr ) {
        faults_.end();
    }
}

void BoardSoak::somethingChanges() {
    parts_[random_.below( parts_.size() )]->change( random_, world_, turn().name );
    world_.send();
    ++changes_;
}

// After a fault the very next call has to be right.
void BoardSoak::takeTurn( NamedDevice &device ) {
    const Fault *fault = faults_.startFor( *device.device );
    judge_.turnsTo( device.name, fault );
    device.device->read( judge_ );
    if ( fault == nullptr ) {
        return;
    }
    if ( !faults_.end() && judge_.failuresOfTurn() != 0 ) {
        judge_.wrong( "it failed, and its fault was never met" );
    }
    judge_.turnsTo( device.name, nullptr );
    device.device->read( judge_ );
}

void BoardSoak::sample() {
    samples_ = static_cast<int>( progress() * samplesOfRun ) + 1;
    host_.add( Footprint::of( getpid() ), progress() );
    serverWatch_.add( Footprint::of( server_.pid() ), progress() );
    server_.forgetLog();
    progress_.show( progress(), seconds_ );
    if ( progress() * comparisonsOfRun >= worldsCompared_ ) {
        ++worldsCompared_;
        compareWorlds();
    }
}

// The truth is only as good as the knobs that it comes from.
void BoardSoak::compareWorlds() {
    judge_.turnsTo( "the emulated board", nullptr );
    if ( const std::string differences = world_.differences(); !differences.empty() ) {
        judge_.wrong( differences );
    }
}

void BoardSoak::sabotage() {
    if ( options_.sabotage == Sabotage::None || !isSabotaged( seconds_ ) ) {
        return;
    }
    leak( options_.sabotage, seconds_ );
    if ( options_.sabotage == Sabotage::Truth ) { // behind this program's back
        server_.control( "set rear.temperature 101.5" );
    }
}

} // namespace Soak
