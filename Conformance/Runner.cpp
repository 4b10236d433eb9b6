#include "Conformance/Runner.h"

#include "Conformance/HostServices.h"
#include "Conformance/Interruption.h"
#include "Conformance/Subject.h"
#include "HostTool/Failure.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Conformance {

namespace {

using Clock = std::chrono::steady_clock;

struct Descriptor {
    explicit Descriptor( int fd ) : number( fd ) {}
    ~Descriptor() { reset(); }
    Descriptor( const Descriptor & ) = delete;
    Descriptor &operator=( const Descriptor & ) = delete;
    void reset() {
        if ( number >= 0 ) {
            close( number );
        }
        number = -1;
    }
    int number;
};

[[noreturn]] void cannotRun( const char *what ) {
    throw HostTool::Failure( HostTool::ExitCode::unreachable,
                             std::string( what ) + ": " + strerror( errno ) );
}

std::string contentOf( int file ) {
    std::string text;
    std::array<char, 4096> buffer;
    ssize_t count = 0;
    while ( ( count = pread( file, buffer.data(), buffer.size(),
                             static_cast<off_t>( text.size() ) ) ) > 0 ) {
        text.append( buffer.data(), static_cast<size_t>( count ) );
    }
    return text;
}

/// In the new process. What the function leaves behind is not torn down: nothing of it runs in a
/// host either.
[[noreturn]] void answer( const std::function<std::string()> &function, int pipe, int outputs ) {
    if ( dup2( outputs, STDOUT_FILENO ) < 0 || dup2( outputs, STDERR_FILENO ) < 0 ) {
        _exit( 1 );
    }
    std::string text;
    try {
        text = function();
    } catch ( const std::exception &exception ) {
        fprintf( stderr, "%s\n", exception.what() );
        _exit( 1 );
    }
    const ssize_t written = write( pipe, text.data(), text.size() );
    _exit( written == static_cast<ssize_t>( text.size() ) ? 0 : 1 );
}

enum class Reading { complete, overdue, interrupted };

/// Reads to the end of the pipe.
Reading readAll( int pipe, std::string &text, int seconds ) {
    const Clock::time_point end = Clock::now() + std::chrono::seconds( seconds );
    for ( ;; ) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>( end - Clock::now() ).count();
        std::array<pollfd, 2> waited = { { { pipe, POLLIN, 0 },
                                           { Interruption::descriptor(), POLLIN, 0 } } };
        const int ready =
            left > 0 ? poll( waited.data(), waited.size(), static_cast<int>( left ) ) : 0;
        if ( ready < 0 && errno == EINTR ) {
            continue;
        }
        if ( ready <= 0 ) {
            return Reading::overdue;
        }
        if ( waited[1].revents != 0 ) {
            return Reading::interrupted;
        }
        std::array<char, 4096> buffer;
        const ssize_t count = read( pipe, buffer.data(), buffer.size() );
        if ( count <= 0 ) {
            return Reading::complete;
        }
        text.append( buffer.data(), static_cast<size_t>( count ) );
    }
}

std::string lastLineOf( std::string text ) {
    while ( text.ends_with( '\n' ) ) {
        text.pop_back();
    }
    return text.substr( text.rfind( '\n' ) + 1 );
}

constexpr char passedMark = 'P';
constexpr char failedMark = 'F';
constexpr char skippedMark = 'S';
constexpr char goneMark = 'G';
constexpr char untouchedMark = '=';
constexpr char touchedMark = '!';

/// The outcome as one text: a mark, and why.
std::string judged( const Check &check, Subject &subject ) {
    try {
        check.run( subject );
        return { passedMark };
    } catch ( const Skipped &skipped ) {
        return skippedMark + std::string( skipped.what() );
    } catch ( const ServerGone &gone ) {
        return goneMark + std::string( gone.what() );
    } catch ( const std::exception &exception ) {
        return failedMark + std::string( exception.what() );
    }
}

} // namespace

std::string Ending::story() const {
    std::string text = isOverdue     ? "did not answer in time"
                       : signal != 0 ? "was ended by signal " + std::to_string( signal ) + " (" +
                                           strsignal( signal ) + ")"
                                     : "ended with exit code " + std::to_string( exitCode );
    if ( const std::string line = lastLineOf( said ); !line.empty() ) {
        text += ": " + line;
    }
    return text;
}

Ending runApart( const std::function<std::string()> &function, int seconds ) {
    std::array<int, 2> ends;
    if ( pipe2( ends.data(), O_CLOEXEC ) != 0 ) {
        cannotRun( "pipe" );
    }
    Descriptor reading( ends[0] );
    Descriptor writing( ends[1] );
    const Descriptor outputs( memfd_create( "outputs", MFD_CLOEXEC ) );
    if ( outputs.number < 0 ) {
        cannotRun( "memfd_create" );
    }
    fflush( nullptr );
    const pid_t parent = getpid();
    const pid_t child = fork();
    if ( child < 0 ) {
        cannotRun( "fork" );
    }
    if ( child == 0 ) {
        Interruption::forget();
        setpgid( 0, 0 ); // so that what a driver has started ends with it
        prctl( PR_SET_PDEATHSIG, SIGKILL );
        if ( getppid() != parent ) {
            _exit( 1 );
        }
        answer( function, writing.number, outputs.number );
    }
    setpgid( child, child );
    writing.reset();
    Ending ending = {};
    const Reading read = readAll( reading.number, ending.answer, seconds );
    ending.isOverdue = read == Reading::overdue;
    kill( -child, SIGKILL );
    int status = 0;
    while ( waitpid( child, &status, 0 ) < 0 && errno == EINTR ) {
    }
    if ( read == Reading::interrupted ) {
        constexpr int atOnce = 0;
        Interruption::wait( atOnce );
    }
    ending.signal = WIFSIGNALED( status ) && !ending.isOverdue ? WTERMSIG( status ) : 0;
    ending.exitCode = WIFEXITED( status ) ? WEXITSTATUS( status ) : 0;
    ending.said = contentOf( outputs.number );
    return ending;
}

Outcome runCheck( const Check &check, const std::string &library, const HostTool::Board &board,
                  const BoardServer &server, int deadlineSeconds ) {
    const Ending ending = runApart(
        [&] {
            setenv( "SMBUSD_SOCKET", server.socketPath().c_str(), 1 );
            unsetenv( "SIMULATION_VMID" );
            HostServices::watchEnvironmentOf( library );
            Subject subject( library, board, World( server.controlPath() ) );
            const std::string judgement = judged( check, subject );
            return ( subject.world().isAsDocumented() ? untouchedMark : touchedMark ) + judgement;
        },
        deadlineSeconds );
    if ( ending.isOverdue || ending.answer.size() < 2 ) {
        return { Verdict::failed, "the process with the library in it " + ending.story(), false,
                 false };
    }
    const Verdict verdict = ending.answer[1] == passedMark    ? Verdict::passed
                            : ending.answer[1] == skippedMark ? Verdict::skipped
                                                              : Verdict::failed;
    return { verdict, ending.answer.substr( 2 ), ending.answer[0] == untouchedMark,
             ending.answer[1] == goneMark };
}

} // namespace Conformance
