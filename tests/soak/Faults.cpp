#include "tests/soak/Faults.h"

#include <cstdlib>
#include <iterator>
#include <string_view>

namespace Soak {

namespace {

struct Kind {
    std::string_view words;
    std::optional<pl_status> failure;
};

// Reads that come too short end the process in a driver that asked for a word, so they are left to
// the block reads of the modules; a wire that reads as ones gives values that nobody can tell from
// real ones.
constexpr Kind kinds[] = {
    { "fault bus any nack", PL_STATUS_FAILED },
    { "fault bus any nack", PL_STATUS_FAILED },
    { "fault bus any time-out", PL_STATUS_FAILED },
    { "fault bus any stuck", PL_STATUS_FAILED },
    { "fault bus any no-select", PL_STATUS_FAILED },
    { "fault bus any no-release", PL_STATUS_FAILED },
    { "fault server hang-up", PL_STATUS_IO_ERROR },
    { "fault server hang-up-after", std::nullopt },
    { "fault server slow 1", std::nullopt },
    { "fault server responses 0", PL_STATUS_FAILED },
    { "fault server responses 40", PL_STATUS_FAILED },
    { "fault server fail", PL_STATUS_FAILED },
};
constexpr Kind moduleKinds[] = {
    { "fault bus 1 chip 0x50 reg 196 short-read", PL_STATUS_IO_ERROR },
    { "fault bus 1 chip 0x50 reg 196 empty-read", PL_STATUS_IO_ERROR },
    { "fault bus 1 chip 0x50 reg 196 long-read", PL_STATUS_IO_ERROR },
    { "fault bus 1 chip 0x50 bad-count", PL_STATUS_FAILED },
};
constexpr Kind pollKinds[] = {
    { "fault bus 5 chip 0x32 nack", std::nullopt },
    { "fault bus 5 chip 0x32 time-out", std::nullopt },
    { "fault server hang-up-after", std::nullopt },
};
constexpr int mostTriesThatPass = 3;

} // namespace

std::string Faults::place() {
    std::string place = " at " + std::to_string( random_.between( 1, 8 ) );
    if ( !random_.oneIn( 3 ) ) {
        place += " count " + std::to_string( random_.between( 1, 6 ) );
    }
    return place;
}

const Fault *Faults::start( Fault fault ) {
    fault_ = std::move( fault );
    world_.ask( { fault_.line } );
    ++started_;
    return &fault_;
}

const Fault *Faults::startNext() {
    if ( next_ == std::size( kinds ) ) {
        return nullptr;
    }
    const Kind &kind = kinds[next_++];
    return start( { std::string( kind.words ) + " count 1", kind.failure } );
}

const Fault *Faults::startFor( const Device &device ) {
    if ( !device.meetsFaults() || !random_.oneIn( oneTurnIn_ ) ) {
        return nullptr;
    }
    const bool forModule = device.isModule() && random_.oneIn( 3 );
    const Kind &kind = forModule ? moduleKinds[random_.below( std::size( moduleKinds ) )]
                                 : kinds[random_.below( std::size( kinds ) )];
    const bool once = kind.words.starts_with( "fault server" ) || forModule;
    return start( { std::string( kind.words ) + ( once ? " count 1" : place() ), kind.failure,
                    device.isSlot() } );
}

const Fault *Faults::startForPoll() {
    if ( !random_.oneIn( oneTurnIn_ ) ) {
        return nullptr;
    }
    const Kind &kind = pollKinds[random_.below( std::size( pollKinds ) )];
    const bool ofServer = kind.words.starts_with( "fault server" );
    const int count = ofServer ? 1 : random_.between( 1, mostTriesThatPass );
    return start(
        { std::string( kind.words ) + " at 1 count " + std::to_string( count ), std::nullopt } );
}

// The server answers "1 hits 3: fault …".
bool Faults::end() {
    const std::string list = world_.ask( { "fault", "clear" } );
    const size_t hits = list.find( "hits " );
    const bool met = hits != std::string::npos &&
                     strtoul( list.c_str() + hits + sizeof "hits", nullptr, 10 ) > 0;
    met_ += met;
    return met;
}

} // namespace Soak
