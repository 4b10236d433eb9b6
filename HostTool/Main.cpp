#include "HostTool/Commands.h"
#include "HostTool/Host/HostServices.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace HostTool {

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
        fputs( help().c_str(), stdout );
        return ExitCode::fine;
    }
    const CommandRow &command = findCommand( options.command );
    if ( options.help ) {
        fputs( helpOf( command ).c_str(), stdout );
        return ExitCode::fine;
    }
    return runCommand( command, options );
}

} // namespace HostTool

int main( int count, char **values ) {
    using namespace HostTool;
    try {
        const ExitCode code = run( parseOptions( { values + 1, values + count } ) );
        if ( fflush( stdout ) != 0 ) {
            throw Failure( ExitCode::badInput,
                           std::string( "cannot write to standard output: " ) + strerror( errno ) );
        }
        return static_cast<int>( code );
    } catch ( const Failure &failure ) {
        fprintf( stderr, "kavractl: %s\n", failure.what() );
        return static_cast<int>( failure.code() );
    }
}
