#include "Conformance/World.h"

#include "Conformance/Interruption.h"
#include "Conformance/Outcome.h"
#include "HostTool/Failure.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Conformance {

using HostTool::ExitCode;
using HostTool::Failure;

namespace {

constexpr int startMilliseconds = 20000;
constexpr int sliceMilliseconds = 100;
constexpr int graceMilliseconds = 1000;
constexpr const char *readyText = "listening on ";
constexpr int wrongDocument = 2; // the server's exit code

bool hasEnded( std::string_view answer ) {
    if ( !answer.ends_with( '\n' ) ) {
        return false;
    }
    answer.remove_suffix( 1 );
    const std::string_view last = answer.substr( answer.rfind( '\n' ) + 1 );
    return last == "ok" || last.starts_with( "error: " );
}

int connectTo( const std::string &path ) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy( address.sun_path, sizeof address.sun_path - 1 );
    const int fd = socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 );
    if ( fd >= 0 &&
         connect( fd, reinterpret_cast<const sockaddr *>( &address ), sizeof address ) != 0 ) {
        close( fd );
        return -1;
    }
    return fd;
}

/// Where the program to start lies.
std::string programAt( const std::string &given ) {
    if ( given.find( '/' ) == std::string::npos ) {
        return HostTool::Explain::findProgram( given.empty() ? "kavra-smbusd" : given );
    }
    std::error_code ignored;
    const int reason = std::filesystem::is_directory( given, ignored ) ? EISDIR
                       : access( given.c_str(), X_OK ) != 0            ? errno
                                                                       : 0;
    if ( reason != 0 ) {
        throw Failure( ExitCode::unreachable, given + " cannot be started: " + strerror( reason ) );
    }
    return given;
}

/// How a program of ours has ended, without collecting it. @param flags WNOHANG, or 0 to wait for
/// it
siginfo_t endingOf( pid_t pid, int flags ) {
    siginfo_t info = {};
    while ( waitid( P_PID, static_cast<id_t>( pid ), &info, WEXITED | WNOWAIT | flags ) != 0 &&
            errno == EINTR ) {
    }
    return info;
}

std::string endingText( const siginfo_t &ending ) {
    return ( ending.si_code == CLD_EXITED ? "exit code " : "signal " ) +
           std::to_string( ending.si_status );
}

} // namespace

std::string World::ask( const std::string &line ) const {
    const int fd = connectTo( controlPath_ );
    const std::string text = line + "\n";
    std::string answer;
    if ( fd < 0 || send( fd, text.data(), text.size(), MSG_NOSIGNAL ) < 0 ) {
        if ( fd >= 0 ) {
            close( fd );
        }
        throw ServerGone( "the emulated board's server is gone" );
    }
    std::array<char, 4096> buffer;
    ssize_t count = 0;
    while ( !hasEnded( answer ) && ( count = recv( fd, buffer.data(), buffer.size(), 0 ) ) > 0 ) {
        answer.append( buffer.data(), static_cast<size_t>( count ) );
    }
    close( fd );
    if ( !hasEnded( answer ) ) {
        throw ServerGone( "the emulated board's server breaks off" );
    }
    return answer;
}

std::optional<std::string> World::get( const std::string &knob ) const {
    const std::string answer = ask( "get " + knob );
    if ( !answer.ends_with( "\nok\n" ) ) {
        return {};
    }
    return answer.substr( 0, answer.find( '\n' ) );
}

std::optional<double> World::number( const std::string &knob ) const {
    const auto value = get( knob );
    if ( !value ) {
        return {};
    }
    constexpr int anyBase = 0;
    return value->starts_with( "0x" )
               ? static_cast<double>( strtoul( value->c_str(), nullptr, anyBase ) )
               : strtod( value->c_str(), nullptr );
}

void World::command( const std::string &line ) const {
    isAsDocumented_ = false;
    const std::string answer = ask( line );
    if ( !answer.ends_with( "ok\n" ) ) {
        throw Skipped( "the emulated board does not take '" + line + "': " + answer );
    }
}

void World::set( const std::string &knob, const std::string &value ) const {
    command( "set " + knob + " " + value );
}

BoardServer::BoardServer( std::string program, std::string emulation )
    : program_( programAt( program ) ), emulation_( std::move( emulation ) ) {
    std::error_code error;
    folder_ = std::filesystem::temp_directory_path( error ).string() + "/kavra-conformance-XXXXXX";
    // A socket's path has little room.
    if ( error || folder_.size() + strlen( "/s.lock" ) >= sizeof( sockaddr_un::sun_path ) ) {
        folder_ = "/tmp/kavra-conformance-XXXXXX";
    }
    if ( mkdtemp( folder_.data() ) == nullptr ) {
        throw Failure( ExitCode::unreachable,
                       "no temporary folder " + folder_ + ": " + strerror( errno ) );
    }
}

BoardServer::~BoardServer() {
    stop();
    std::error_code ignored;
    std::filesystem::remove_all( folder_, ignored );
}

void BoardServer::startAfresh() {
    stop();
    server_ = std::make_unique<HostTool::Explain::Program>(
        std::vector<std::string>{ program_, "--board", emulation_, "--socket", socketPath(),
                                  "--control", controlPath() },
        STDERR_FILENO );
    if ( !comesUp() ) {
        giveUp();
    }
}

bool BoardServer::answers() const {
    const int fd = connectTo( controlPath() );
    if ( fd >= 0 ) {
        close( fd );
    }
    return fd >= 0;
}

bool BoardServer::comesUp() {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds( startMilliseconds );
    while ( Clock::now() < end ) {
        if ( server_->waitFor( readyText, sliceMilliseconds ) ) {
            return true;
        }
        // What it has started may still speak for it.
        if ( endingOf( server_->pid(), WNOHANG ).si_pid != 0 ) {
            return server_->waitFor( readyText, graceMilliseconds );
        }
        constexpr int pauseMilliseconds = 10;
        Interruption::wait( pauseMilliseconds );
    }
    return false;
}

// A child of a wrapper may keep the stream open for ever: it is not read to its end.
void BoardServer::giveUp() {
    const bool wasOverdue = endingOf( server_->pid(), WNOHANG ).si_pid == 0;
    server_->terminate();
    const std::string neverSaid( 1, '\0' );
    server_->waitFor( neverSaid, graceMilliseconds );
    kill( -server_->pid(), SIGKILL );
    const siginfo_t ending = endingOf( server_->pid(), 0 );
    const std::string said = server_->output();
    stop();
    const bool isWrong = ending.si_code == CLD_EXITED && ending.si_status == wrongDocument;
    throw Failure( isWrong ? ExitCode::badInput : ExitCode::unreachable,
                   program_ + " does not come up: " +
                       ( wasOverdue ? "it did not say that it listens"
                                    : "it ended with " + endingText( ending ) ) +
                       ( said.empty() ? "" : ": " + said ) );
}

void BoardServer::stop() {
    if ( server_ ) {
        kill( -server_->pid(), SIGKILL ); // its group, for it may be a wrapper
        server_.reset();
    }
}

} // namespace Conformance
