#include "Conformance/Interruption.h"

#include "HostTool/Failure.h"

#include <array>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace Conformance::Interruption {

namespace {

constexpr std::array<int, 3> numbers = { SIGINT, SIGTERM, SIGHUP };

volatile sig_atomic_t interruption = 0;
std::array<int, 2> ends = { -1, -1 };
std::array<struct sigaction, numbers.size()> before;

// A byte in a pipe wakes whoever polls it, also when the signal comes just before he does.
void note( int number ) {
    const int kept = errno;
    interruption = number;
    const char byte = 0;
    [[maybe_unused]] const ssize_t count = write( ends[1], &byte, 1 );
    errno = kept;
}

} // namespace

void watch() {
    if ( pipe2( ends.data(), O_CLOEXEC | O_NONBLOCK ) != 0 ) {
        throw HostTool::Failure( HostTool::ExitCode::unreachable,
                                 std::string( "pipe: " ) + strerror( errno ) );
    }
    for ( size_t i = 0; i < numbers.size(); ++i ) {
        struct sigaction action = {};
        action.sa_handler = note;
        sigaction( numbers[i], nullptr, &before[i] );
        if ( before[i].sa_handler != SIG_IGN ) {
            sigaction( numbers[i], &action, nullptr );
        }
    }
}

void forget() {
    for ( size_t i = 0; ends[0] >= 0 && i < numbers.size(); ++i ) {
        sigaction( numbers[i], &before[i], nullptr );
    }
}

int descriptor() {
    return ends[0];
}

void wait( int milliseconds ) {
    pollfd waited = { ends[0], POLLIN, 0 };
    poll( &waited, 1, milliseconds );
    if ( interruption != 0 ) {
        throw Interrupted( interruption );
    }
}

} // namespace Conformance::Interruption
