#include "HostTool/Watch/Terminal.h"

#include "HostTool/Failure.h"
#include "HostTool/Host/AbortNote.h"

#define NCURSES_NOMACROS
#include <curses.h>
#include <term.h>

#include <fcntl.h>
#include <langinfo.h>
#include <sys/mman.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

namespace HostTool::Watch {

namespace {

constexpr int escapeMilliseconds = 50;
constexpr off_t mostErrors = 1 << 20;
// An abort is met by the note that tells what was going on.
constexpr int fatalSignals[] = {
    SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGSEGV, SIGBUS, SIGFPE, SIGILL
};

// All that a signal handler needs, in plain memory: it may call nothing that allocates.
termios usualModes;
std::array<char, 256> goodbye;
size_t goodbyeLength = 0;
int realErrors = -1;
int keptErrors = -1;
volatile sig_atomic_t isOpen = 0;

std::array<struct sigaction, std::size( fatalSignals )> usualActions;

void writeErrors() {
    if ( keptErrors < 0 ) {
        return;
    }
    dup2( realErrors, STDERR_FILENO );
    std::array<char, 4096> part;
    off_t at = 0;
    for ( ssize_t size = 0; ( size = pread( keptErrors, part.data(), part.size(), at ) ) > 0;
          at += size ) {
        if ( write( STDERR_FILENO, part.data(), static_cast<size_t>( size ) ) != size ) {
            break;
        }
    }
    close( keptErrors );
    close( realErrors );
    keptErrors = -1;
}

/// Safe in a signal handler: curses itself is not.
void giveBack() {
    if ( isOpen == 0 ) {
        return;
    }
    isOpen = 0;
    [[maybe_unused]] const ssize_t written = write( STDOUT_FILENO, goodbye.data(), goodbyeLength );
    tcsetattr( STDIN_FILENO, TCSANOW, &usualModes );
    writeErrors();
}

void endBySignal( int number ) {
    giveBack();
    raise( number ); // the default action is back in place
}

void catchSignals() {
    for ( size_t i = 0; i < std::size( fatalSignals ); ++i ) {
        struct sigaction action = {};
        action.sa_handler = endBySignal;
        action.sa_flags = static_cast<int>( SA_RESETHAND ) | SA_NODEFER;
        sigaction( fatalSignals[i], &action, &usualActions[i] );
    }
    AbortNote::prelude( giveBack );
}

void leaveSignals() {
    AbortNote::prelude( nullptr );
    for ( size_t i = 0; i < std::size( fatalSignals ); ++i ) {
        sigaction( fatalSignals[i], &usualActions[i], nullptr );
    }
}

void keepErrors() {
    if ( isatty( STDERR_FILENO ) == 0 ) {
        return;
    }
    keptErrors = memfd_create( "stderr", MFD_CLOEXEC );
    realErrors = fcntl( STDERR_FILENO, F_DUPFD_CLOEXEC, 0 );
    if ( keptErrors >= 0 && realErrors >= 0 ) {
        dup2( keptErrors, STDERR_FILENO );
    }
}

void appendGoodbye( std::string_view text ) {
    const size_t size = std::min( text.size(), goodbye.size() - goodbyeLength );
    std::copy_n( text.begin(), size, goodbye.begin() + goodbyeLength );
    goodbyeLength += size;
}

/// Without the pauses, "$<2>", that terminals of old want.
std::string capability( const char *name ) {
    const char *found = tigetstr( name );
    const bool isThere = found && found != reinterpret_cast<const char *>( -1 );
    std::string text = isThere ? found : "";
    size_t begin = text.find( "$<" );
    while ( begin != std::string::npos ) {
        const size_t end = text.find( '>', begin );
        text.erase( begin, end == std::string::npos ? end : end - begin + 1 );
        begin = text.find( "$<" );
    }
    return text;
}

void prepareGoodbye() {
    goodbyeLength = 0;
    for ( const char *name : { "sgr0", "rmkx", "cnorm", "rmcup" } ) {
        appendGoodbye( capability( name ) );
    }
    appendGoodbye( "\r\n" );
}

} // namespace

static std::string kindOfTerminal() {
    const char *kind = getenv( "TERM" );
    return kind ? kind : "";
}

bool isTerminal() {
    const std::string kind = kindOfTerminal();
    return isatty( STDIN_FILENO ) == 1 && isatty( STDOUT_FILENO ) == 1 && !kind.empty() &&
           kind != "dumb";
}

Terminal::Terminal() {
    // Numbers keep their points: the locale is asked about characters alone.
    setlocale( LC_CTYPE, "" );
    tcgetattr( STDIN_FILENO, &usualModes );
    if ( !newterm( nullptr, stdout, stdin ) ) {
        throw Failure( ExitCode::badInput, "nothing is known of a terminal '" + kindOfTerminal() +
                                               "'; TERM=vt100 may do, or kavractl watch | cat" );
    }
    prepareGoodbye();
    cbreak();
    noecho();
    nonl();
    keypad( stdscr, TRUE );
    nodelay( stdscr, TRUE );
    set_escdelay( escapeMilliseconds );
    curs_set( 0 );
    if ( hasColour() ) {
        start_color();
        use_default_colors();
    }
    isOpen = 1;
    catchSignals();
    keepErrors();
}

Terminal::~Terminal() {
    leaveSignals();
    isOpen = 0;
    endwin();
    writeErrors();
}

bool Terminal::hasColour() {
    const char *noColour = getenv( "NO_COLOR" );
    return has_colors() && !( noColour && *noColour );
}

bool Terminal::hasUtf8() {
    return strcmp( nl_langinfo( CODESET ), "UTF-8" ) == 0;
}

void Terminal::boundErrors() {
    if ( keptErrors >= 0 && lseek( keptErrors, 0, SEEK_CUR ) > mostErrors &&
         ftruncate( keptErrors, 0 ) == 0 ) {
        lseek( keptErrors, 0, SEEK_SET );
    }
}

} // namespace HostTool::Watch
