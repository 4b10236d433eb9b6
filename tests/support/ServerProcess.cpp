#include "tests/support/ServerProcess.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

static constexpr std::chrono::seconds longestWait{ 20 };

static std::string privateFolder() {
    const char *base = getenv( "TMPDIR" );
    std::string pattern = std::string( base != nullptr ? base : "/tmp" ) + "/smbusd-XXXXXX";
    if ( mkdtemp( pattern.data() ) == nullptr ) {
        throw std::runtime_error( pattern + ": " + strerror( errno ) );
    }
    return pattern;
}

static bool servesSomethingElse( const std::vector<std::string> &arguments ) {
    return std::any_of( arguments.begin(), arguments.end(), []( const std::string &each ) {
        return each == "--replay" || each == "--i2c-dev";
    } );
}

ServerProcess::ServerProcess( std::string board, std::vector<std::string> arguments,
                              std::string program )
    : board_( std::move( board ) ), arguments_( std::move( arguments ) ),
      program_( program.empty() ? KAVRA_SMBUSD : std::move( program ) ), folder_( privateFolder() ),
      socketPath_( folder_ + "/smbusd.sock" ), controlPath_( socketPath_ + ".ctl" ) {
    if ( board_.empty() ) {
        board_ = SOURCE_DIR "/boards/VundaT/emulation.json";
    }
    const char *before = getenv( "SMBUSD_SOCKET" );
    oldSocket_ = before != nullptr ? before : "";
    setenv( "SMBUSD_SOCKET", socketPath_.c_str(), 1 );
    try {
        start();
    } catch ( ... ) {
        cleanUp();
        throw;
    }
}

ServerProcess::~ServerProcess() {
    stop();
    cleanUp();
}

void ServerProcess::cleanUp() {
    std::error_code ignored;
    std::filesystem::remove_all( folder_, ignored );
    if ( oldSocket_.empty() ) {
        unsetenv( "SMBUSD_SOCKET" );
    } else {
        setenv( "SMBUSD_SOCKET", oldSocket_.c_str(), 1 );
    }
}

// Between fork() and exec() only what is safe beside other threads. The server ends with the test,
// also when the test dies.
static pid_t spawn( const std::vector<std::string> &command, int log ) {
    std::vector<char *> arguments;
    for ( const std::string &each : command ) {
        arguments.push_back( const_cast<char *>( each.c_str() ) );
    }
    arguments.push_back( nullptr );
    const pid_t parent = getpid();
    const pid_t pid = fork();
    if ( pid == 0 ) {
        prctl( PR_SET_PDEATHSIG, SIGKILL );
        if ( getppid() == parent && dup2( log, STDERR_FILENO ) >= 0 ) {
            execv( arguments[0], arguments.data() );
        }
        _exit( 127 );
    }
    return pid;
}

void ServerProcess::start() {
    if ( running() ) {
        throw std::logic_error( "the server is running" );
    }
    std::array<int, 2> log;
    if ( pipe2( log.data(), O_CLOEXEC ) != 0 ) {
        throw std::runtime_error( std::string( "pipe: " ) + strerror( errno ) );
    }
    std::vector<std::string> command = { program_, "--socket", socketPath_, "--control",
                                         controlPath_ };
    if ( !servesSomethingElse( arguments_ ) ) {
        command.insert( command.end(), { "--board", board_ } );
    }
    command.insert( command.end(), arguments_.begin(), arguments_.end() );
    const std::string earlier = this->log();
    logEnded_ = false;
    stopped_ = false;
    pid_ = spawn( command, log[1] );
    close( log[1] );
    reader_ = std::thread( &ServerProcess::readLog, this, log[0] );
    if ( !waitForLogBehind( earlier.size(), "kavra-smbusd: listening on " ) ) {
        kill();
        throw std::runtime_error( "the server does not come up: " + this->log() );
    }
}

void ServerProcess::readLog( int fd ) {
    std::array<char, 4096> buffer;
    ssize_t count = 0;
    while ( ( count = read( fd, buffer.data(), buffer.size() ) ) > 0 ) {
        const std::lock_guard lock( mutex_ );
        log_.append( buffer.data(), static_cast<size_t>( count ) );
        changed_.notify_all();
    }
    close( fd );
    const std::lock_guard lock( mutex_ );
    logEnded_ = true;
    changed_.notify_all();
}

// The end of the log is the end of the process that writes it.
int ServerProcess::collect() {
    {
        std::unique_lock lock( mutex_ );
        if ( !changed_.wait_for( lock, longestWait, [this] { return logEnded_; } ) ) {
            ::kill( pid_, SIGKILL );
        }
    }
    int status = 0;
    waitpid( pid_, &status, 0 );
    reader_.join();
    pid_ = -1;
    return WIFSIGNALED( status ) ? -WTERMSIG( status ) : WEXITSTATUS( status );
}

int ServerProcess::stop() {
    if ( !running() ) {
        return 0;
    }
    ::kill( pid_, SIGTERM );
    if ( stopped_ ) {
        signal( SIGCONT );
    }
    return collect();
}

void ServerProcess::kill() {
    if ( running() ) {
        ::kill( pid_, SIGKILL );
        collect();
    }
}

void ServerProcess::restart() {
    stop();
    start();
}

void ServerProcess::signal( int number ) {
    if ( running() ) {
        ::kill( pid_, number );
        stopped_ = number == SIGSTOP || ( stopped_ && number != SIGCONT );
    }
}

std::string ServerProcess::log() {
    const std::lock_guard lock( mutex_ );
    return log_;
}

void ServerProcess::forgetLog() {
    const std::lock_guard lock( mutex_ );
    log_.clear();
}

bool ServerProcess::waitForLog( std::string_view text ) {
    return waitForLogBehind( 0, text );
}

bool ServerProcess::waitForLogBehind( size_t start, std::string_view text ) {
    std::unique_lock lock( mutex_ );
    const auto found = [&] { return log_.find( text, start ) != std::string::npos; };
    changed_.wait_for( lock, longestWait, [&] { return found() || logEnded_; } );
    return found();
}

static bool answerEnded( std::string_view answer ) {
    if ( !answer.ends_with( '\n' ) ) {
        return false;
    }
    answer.remove_suffix( 1 );
    const std::string_view last = answer.substr( answer.rfind( '\n' ) + 1 );
    return last == "ok" || last.starts_with( "error: " );
}

std::string ServerProcess::control( std::string_view line ) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    controlPath_.copy( address.sun_path, sizeof address.sun_path - 1 );
    const int fd = socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 );
    const timeval limit = { longestWait.count(), 0 };
    setsockopt( fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit );
    const std::string text = std::string( line ) + "\n";
    std::string answer;
    if ( connect( fd, reinterpret_cast<const sockaddr *>( &address ), sizeof address ) != 0 ||
         send( fd, text.data(), text.size(), MSG_NOSIGNAL ) < 0 ) {
        answer = std::string( "error: " ) + strerror( errno ) + "\n";
    }
    while ( !answerEnded( answer ) ) {
        std::array<char, 4096> buffer;
        const ssize_t count = recv( fd, buffer.data(), buffer.size(), 0 );
        if ( count < 0 && errno == EINTR ) {
            continue; // stopped and continued
        }
        if ( count <= 0 ) {
            answer = "error: no answer\n";
            break;
        }
        answer.append( buffer.data(), static_cast<size_t>( count ) );
    }
    close( fd );
    answer.pop_back();
    return answer;
}
