#include "HostTool/AbortNote.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstring>
#include <unistd.h>

namespace HostTool {

namespace {

// Plain memory: a signal handler may touch nothing that allocates.
std::array<char, 1024> note;
volatile sig_atomic_t noteLength = 0;

void writeNote( int ) {
    // Nothing can be done about a stderr that takes no text.
    [[maybe_unused]] const ssize_t written =
        write( STDERR_FILENO, note.data(), static_cast<size_t>( noteLength ) );
}

} // namespace

AbortNote::AbortNote( const std::string &doing ) {
    const std::string text = "kavractl: " + doing.substr( 0, note.size() - 12 ) + "\n";
    std::copy( text.begin(), text.end(), note.begin() );
    noteLength = static_cast<sig_atomic_t>( text.size() );

    // abort() lets the handler return and then ends the process with the default action.
    struct sigaction action = {};
    action.sa_handler = writeNote;
    action.sa_flags = static_cast<int>( SA_RESETHAND );
    sigaction( SIGABRT, &action, nullptr );
}

AbortNote::~AbortNote() {
    signal( SIGABRT, SIG_DFL );
    noteLength = 0;
}

} // namespace HostTool
