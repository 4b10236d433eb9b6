#include "tests/property/Outcome.h"

#include <cerrno>
#include <csignal>
#include <sys/resource.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace Property {

namespace {

constexpr unsigned secondsAtMost = 10;

[[noreturn]] void runInChild( const std::function<int()> &run, int errors ) {
    const rlimit noCore{ 0, 0 };
    ::setrlimit( RLIMIT_CORE, &noCore );
    ::alarm( secondsAtMost );
    ::dup2( errors, STDERR_FILENO );
    ::_exit( run() );
}

std::string everythingFrom( int descriptor ) {
    std::string text;
    char piece[4096];
    for ( ;; ) {
        const ssize_t count = ::read( descriptor, piece, sizeof piece );
        if ( count > 0 ) {
            text.append( piece, static_cast<size_t>( count ) );
        } else if ( count == 0 || errno != EINTR ) {
            return text;
        }
    }
}

std::string assertionIn( const std::string &errors ) {
    constexpr char before[] = "Assertion `";
    constexpr char behind[] = "' failed.";
    const size_t first = errors.find( before );
    const size_t last = errors.rfind( behind );
    if ( first == std::string::npos || last == std::string::npos ) {
        return {};
    }
    const size_t start = first + sizeof before - 1;
    return errors.substr( start, last - start );
}

} // namespace

Outcome outcomeOf( const std::function<int()> &run ) {
    int ends[2];
    if ( ::pipe( ends ) != 0 ) {
        throw std::system_error( errno, std::generic_category(), "pipe" );
    }
    const pid_t child = ::fork();
    if ( child == 0 ) {
        runInChild( run, ends[1] );
    }
    ::close( ends[1] );
    const std::string errors = everythingFrom( ends[0] );
    ::close( ends[0] );
    int status = 0;
    if ( child < 0 || ::waitpid( child, &status, 0 ) != child ) {
        throw std::system_error( errno, std::generic_category(), "fork" );
    }
    return { WIFEXITED( status ) ? WEXITSTATUS( status ) : -1,
             WIFSIGNALED( status ) ? WTERMSIG( status ) : 0, assertionIn( errors ) };
}

std::string describe( const Outcome &outcome ) {
    return "exit code " + std::to_string( outcome.exitCode ) + ", signal " +
           std::to_string( outcome.signal ) + ", assertion " + outcome.assertion;
}

} // namespace Property
