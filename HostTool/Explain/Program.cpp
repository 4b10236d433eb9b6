#include "HostTool/Explain/Program.h"

#include "HostTool/Failure.h"
#include "HostTool/Host/ProgramFolder.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sstream>

namespace HostTool::Explain {

namespace {

bool isProgram( const std::string &path ) {
    std::error_code ignored;
    return std::filesystem::is_regular_file( path, ignored ) && access( path.c_str(), X_OK ) == 0;
}

[[noreturn]] void cannotStart( const std::string &program, int reason ) {
    throw Failure( ExitCode::unreachable, program + " cannot be started: " + strerror( reason ) );
}

std::vector<char *> pointers( const std::vector<std::string> &texts ) {
    std::vector<char *> all;
    all.reserve( texts.size() + 1 );
    for ( const std::string &each : texts ) {
        all.push_back( const_cast<char *>( each.c_str() ) );
    }
    all.push_back( nullptr );
    return all;
}

// The socket and the readiness of a service manager are this program's, if anybody's.
std::vector<std::string> environment() {
    constexpr std::array<std::string_view, 5> ofServices = {
        "LISTEN_FDS=", "LISTEN_PID=", "LISTEN_FDNAMES=", "NOTIFY_SOCKET=", "WATCHDOG_USEC=",
    };
    std::vector<std::string> all;
    for ( char **each = environ; *each != nullptr; ++each ) {
        const std::string_view variable = *each;
        bool isInherited = true;
        for ( const std::string_view start : ofServices ) {
            isInherited = isInherited && !variable.starts_with( start );
        }
        if ( isInherited ) {
            all.emplace_back( variable );
        }
    }
    return all;
}

} // namespace

std::string findProgram( const std::string &name ) {
    std::string beside = programFolder() + "/" + name;
    if ( isProgram( beside ) ) {
        return beside;
    }
    const char *path = getenv( "PATH" );
    std::istringstream folders( path ? path : "" );
    for ( std::string folder; std::getline( folders, folder, ':' ); ) {
        if ( !folder.empty() && isProgram( folder.append( "/" ).append( name ) ) ) {
            return folder;
        }
    }
    throw Failure( ExitCode::unreachable, name + " is needed and is neither beside this program (" +
                                              beside + ") nor in $PATH" );
}

Program::Program( const std::vector<std::string> &command, int stream ) {
    std::array<int, 2> ends;
    if ( pipe2( ends.data(), O_CLOEXEC ) != 0 ) {
        cannotStart( command.front(), errno );
    }
    // A log that nobody reads just then must not hold the program up.
    if ( stream == STDERR_FILENO ) {
        fcntl( ends[1], F_SETFL, O_NONBLOCK );
    }
    const std::vector<char *> arguments = pointers( command );
    const std::vector<std::string> variables = environment();
    const std::vector<char *> entries = pointers( variables );
    const pid_t parent = getpid();
    pid_ = fork();
    if ( pid_ == 0 ) {
        // A group of its own: Ctrl-C is for us, and we end it.
        setpgid( 0, 0 );
        prctl( PR_SET_PDEATHSIG, SIGKILL );
        if ( getppid() == parent && dup2( ends[1], stream ) >= 0 ) {
            execve( arguments[0], arguments.data(), entries.data() );
        }
        _exit( 127 );
    }
    const int reason = errno;
    close( ends[1] );
    fd_ = ends[0];
    if ( pid_ < 0 ) {
        close( fd_ );
        cannotStart( command.front(), reason );
    }
}

Program::~Program() {
    if ( pid_ > 0 ) {
        kill( pid_, SIGKILL );
        collect();
    }
}

// @return false at the end of the stream, and when the time is over.
bool Program::readOn( int milliseconds ) {
    pollfd waited = { fd_, POLLIN, 0 };
    const int ready = poll( &waited, 1, milliseconds );
    if ( ready < 0 ) {
        return errno == EINTR;
    }
    std::array<char, 65536> buffer;
    const ssize_t count = ready == 0 ? 0 : read( fd_, buffer.data(), buffer.size() );
    if ( count > 0 ) {
        output_.append( buffer.data(), static_cast<size_t>( count ) );
    }
    return count > 0;
}

bool Program::waitFor( std::string_view text, int milliseconds ) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds( milliseconds );
    while ( output_.find( text ) == std::string::npos ) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>( end - Clock::now() ).count();
        if ( left <= 0 || !readOn( static_cast<int>( left ) ) ) {
            return false;
        }
    }
    return true;
}

void Program::terminate() const {
    if ( pid_ > 0 ) {
        kill( pid_, SIGTERM );
    }
}

int Program::finish() {
    constexpr int forEver = -1;
    while ( readOn( forEver ) ) {
    }
    return collect();
}

int Program::collect() {
    int status = 0;
    while ( waitpid( pid_, &status, 0 ) < 0 && errno == EINTR ) {
    }
    pid_ = -1;
    close( fd_ );
    return WIFSIGNALED( status ) ? -WTERMSIG( status ) : WEXITSTATUS( status );
}

} // namespace HostTool::Explain
