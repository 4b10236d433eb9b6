#include "Conformance/ProcessState.h"

#include <csignal>
#include <filesystem>
#include <iterator>

namespace Conformance {

size_t threads() {
    const std::filesystem::directory_iterator tasks( "/proc/self/task" );
    return static_cast<size_t>( std::distance( begin( tasks ), end( tasks ) ) );
}

std::map<int, Disposition> dispositions() {
    sigset_t blocked;
    sigprocmask( SIG_BLOCK, nullptr, &blocked );
    std::map<int, Disposition> all;
    for ( int number = 1; number < NSIG; ++number ) {
        struct sigaction action = {};
        sigaction( number, nullptr, &action );
        all[number] = { action.sa_handler, action.sa_flags, sigismember( &blocked, number ) == 1 };
    }
    return all;
}

} // namespace Conformance
