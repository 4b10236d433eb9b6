#include "HostTool/Host/AbortNote.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <string_view>
#include <unistd.h>

namespace HostTool {

namespace {

// Plain memory: a signal handler may touch nothing that allocates.
std::array<char, 1024> note;
volatile sig_atomic_t noteLength = 0;
void ( *volatile runFirst )() = nullptr;

void writeNote( int ) {
    if ( runFirst ) {
        runFirst();
    }
    // Nothing can be done about a stderr that takes no text.
    [[maybe_unused]] const ssize_t written =
        write( STDERR_FILENO, note.data(), static_cast<size_t>( noteLength ) );
}

bool installHandler() {
    // abort() lets the handler return and then ends the process with the default action.
    struct sigaction action = {};
    action.sa_handler = writeNote;
    action.sa_flags = static_cast<int>( SA_RESETHAND );
    return sigaction( SIGABRT, &action, nullptr ) == 0;
}

// Once: a note is made for every reading, and a system call takes longer than most of them.
void handleAborts() {
    [[maybe_unused]] static const bool handled = installHandler();
}

} // namespace

void AbortNote::prelude( void ( *run )() ) {
    handleAborts();
    runFirst = run;
}

AbortNote::AbortNote( std::initializer_list<std::string_view> doing )
    : before_( static_cast<size_t>( noteLength ) ) {
    handleAborts();
    // A note within a note follows it, unless there is too little room for that.
    constexpr size_t worthwhile = 256;
    size_t length = before_ + worthwhile <= note.size() ? before_ : 0;
    const auto append = [&length]( std::string_view text, size_t roomBehind ) {
        const size_t taken = std::min( text.size(), note.size() - roomBehind - length );
        std::copy_n( text.begin(), taken, note.begin() + length );
        length += taken;
    };
    append( "kavractl: ", 1 );
    for ( const std::string_view piece : doing ) {
        append( piece, 1 );
    }
    append( "\n", 0 );
    noteLength = static_cast<sig_atomic_t>( length );
}

AbortNote::~AbortNote() {
    noteLength = static_cast<sig_atomic_t>( before_ );
}

} // namespace HostTool
