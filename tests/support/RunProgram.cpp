#include "tests/support/RunProgram.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

static std::vector<char *> pointers( const std::vector<std::string> &texts ) {
    std::vector<char *> all;
    for ( const std::string &each : texts ) {
        all.push_back( const_cast<char *>( each.c_str() ) );
    }
    all.push_back( nullptr );
    return all;
}

// Our own environment, less what is given anew: programs differ in which entry of a name counts.
static std::vector<std::string> completed( const std::vector<std::string> &environment ) {
    std::vector<std::string> all = environment;
    for ( char **each = environ; *each != nullptr; ++each ) {
        const std::string_view inherited = *each;
        const std::string_view name = inherited.substr( 0, inherited.find( '=' ) + 1 );
        if ( std::none_of( environment.begin(), environment.end(), [&]( const std::string &given ) {
                 return given.starts_with( name );
             } ) ) {
            all.emplace_back( inherited );
        }
    }
    return all;
}

// Reads both pipes to their ends, whichever has something.
static void drain( int out, int err, ProgramResult &result ) {
    std::array<pollfd, 2> pipes = { pollfd{ out, POLLIN, 0 }, pollfd{ err, POLLIN, 0 } };
    const std::array<std::string *, 2> texts = { &result.out, &result.err };
    while ( pipes[0].fd >= 0 || pipes[1].fd >= 0 ) {
        if ( poll( pipes.data(), pipes.size(), -1 ) < 0 && errno != EINTR ) {
            break;
        }
        for ( size_t i = 0; i < pipes.size(); ++i ) {
            if ( pipes[i].fd < 0 || pipes[i].revents == 0 ) {
                continue;
            }
            std::array<char, 4096> buffer;
            const ssize_t count = read( pipes[i].fd, buffer.data(), buffer.size() );
            if ( count > 0 ) {
                texts[i]->append( buffer.data(), static_cast<size_t>( count ) );
            } else {
                close( pipes[i].fd );
                pipes[i].fd = -1;
            }
        }
    }
}

ProgramResult runProgram( const std::vector<std::string> &command,
                          const std::vector<std::string> &environment ) {
    std::array<int, 2> out;
    std::array<int, 2> err;
    if ( pipe2( out.data(), O_CLOEXEC ) != 0 || pipe2( err.data(), O_CLOEXEC ) != 0 ) {
        throw std::runtime_error( std::string( "pipe: " ) + strerror( errno ) );
    }
    const std::vector<std::string> variables = completed( environment );
    const std::vector<char *> arguments = pointers( command );
    const std::vector<char *> entries = pointers( variables );
    const pid_t pid = fork();
    if ( pid == 0 ) {
        prctl( PR_SET_PDEATHSIG, SIGKILL );
        if ( dup2( out[1], STDOUT_FILENO ) >= 0 && dup2( err[1], STDERR_FILENO ) >= 0 ) {
            execve( arguments[0], arguments.data(), entries.data() );
        }
        _exit( 127 );
    }
    close( out[1] );
    close( err[1] );
    ProgramResult result = {};
    drain( out[0], err[0], result );
    int status = 0;
    waitpid( pid, &status, 0 );
    result.status = WIFSIGNALED( status ) ? -WTERMSIG( status ) : WEXITSTATUS( status );
    return result;
}
