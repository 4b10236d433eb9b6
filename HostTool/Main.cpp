#include "HostTool/Commands.h"
#include "HostTool/Host/HostServices.h"
#include "HostTool/Output/Print.h"

#include <cstdio>
#include <exception>
#include <fcntl.h>
#include <unistd.h>

namespace HostTool {

// A descriptor that was closed would be given to the next file that is opened, and what is printed
// would go into the connection to the server. In its place stands a file that takes no text.
static void reserveStandardDescriptors() {
    for ( const int each : { STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO } ) {
        if ( fcntl( each, F_GETFD ) < 0 ) {
            open( "/dev/null", each == STDIN_FILENO ? O_WRONLY : O_RDONLY );
        }
    }
}

static ExitCode runCommand( const CommandRow &command, const Options &options ) {
    setEnvironment( options );
    HostServices::get().traceLevelIs( options.traceLevel );

    if ( command.needs == Needs::nothing ) {
        Task task = { options, {}, {}, {} };
        return command.run( task );
    }
    Task task = { options, readBoard( findBoardFolder( options.board ) ), {}, {} };
    if ( command.needs == Needs::library ) {
        const Library library( options.library );
        task.library = &library;
        return command.run( task );
    }
    task.entries = selectEntries( task.board, options.operands );
    if ( command.needs == Needs::devices ) {
        const Library library( options.library );
        task.devices = addDevices( library, options, task.board, task.entries );
    }
    return command.run( task );
}

static ExitCode run( const Options &options ) {
    if ( options.version ) {
        puts( "kavractl " KAVRA_VERSION );
        return ExitCode::fine;
    }
    if ( options.command.empty() ) {
        if ( !options.help ) {
            throw Failure( ExitCode::badInput, "no command; kavractl --help lists them" );
        }
        print( help() );
        return ExitCode::fine;
    }
    const CommandRow &command = findCommand( options.command );
    if ( options.help ) {
        print( helpOf( command ) );
        return ExitCode::fine;
    }
    return runCommand( command, options );
}

} // namespace HostTool

int main( int count, char **values ) {
    using namespace HostTool;
    reserveStandardDescriptors();
    try {
        const ExitCode code = run( parseOptions( { values + 1, values + count } ) );
        print( "" ); // what is still in the buffer
        if ( ferror( stdout ) != 0 ) {
            throw Failure( ExitCode::badInput, "cannot write all of it to standard output" );
        }
        return static_cast<int>( code );
    } catch ( const Failure &failure ) {
        fprintf( stderr, "kavractl: %s\n", failure.what() );
        return static_cast<int>( failure.code() );
    } catch ( const std::exception &exception ) { // no memory, for one
        fprintf( stderr, "kavractl: %s\n", exception.what() );
        return static_cast<int>( ExitCode::boardTrouble );
    }
}
